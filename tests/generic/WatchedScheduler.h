#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include <rix/access/BlockScheduler.h>

namespace rix::test {

/// Runs blocks as another scheduler does, and calls a function before each one with its number, from 1.
class WatchedScheduler : public access::BlockScheduler {
public:
    WatchedScheduler(std::shared_ptr<access::BlockScheduler> inner, std::function<void(std::size_t)> beforeBlock);
    void forEach(std::size_t count, access::FunctionRef<void(std::size_t)> block) override;
    std::size_t blocks() const { return m_blocks; }

private:
    void next();

    std::shared_ptr<access::BlockScheduler> m_inner;
    std::function<void(std::size_t)> m_beforeBlock;
    std::atomic<std::size_t> m_blocks{0};
};

/// The library's own schedulers, as something to be shared.
std::shared_ptr<access::BlockScheduler> sharedParallelScheduler();
std::shared_ptr<access::BlockScheduler> sharedSerialScheduler();

}  // namespace rix::test
