#include "WatchedScheduler.h"

namespace rix::test {

WatchedScheduler::WatchedScheduler(std::shared_ptr<access::BlockScheduler> inner,
                                   std::function<void(std::size_t)> beforeBlock)
    : m_inner(std::move(inner)), m_beforeBlock(std::move(beforeBlock)) {}

void WatchedScheduler::next() {
    const std::size_t number = ++m_blocks;
    if (m_beforeBlock) {
        m_beforeBlock(number);
    }
}

void WatchedScheduler::forEach(std::size_t count, access::FunctionRef<void(std::size_t)> block) {
    m_inner->forEach(count, [&](std::size_t i) {
        next();
        block(i);
    });
}

std::shared_ptr<access::BlockScheduler> sharedParallelScheduler() {
    return {std::shared_ptr<void>(), &access::parallelScheduler()};
}

std::shared_ptr<access::BlockScheduler> sharedSerialScheduler() {
    return {std::shared_ptr<void>(), &access::serialScheduler()};
}
}  // namespace rix::test
