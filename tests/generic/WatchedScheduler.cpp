#include "WatchedScheduler.h"

namespace rix::test {

namespace {

/// A partial result that tells of each of its parts.
class WatchedBody : public access::ReductionBody {
public:
    WatchedBody(access::ReductionBody& body, access::FunctionRef<void()> beforePart)
        : m_body(&body), m_beforePart(beforePart) {}
    WatchedBody(std::unique_ptr<access::ReductionBody> body, access::FunctionRef<void()> beforePart)
        : m_owned(std::move(body)), m_body(m_owned.get()), m_beforePart(beforePart) {}

    std::unique_ptr<access::ReductionBody> split() const override {
        return std::make_unique<WatchedBody>(m_body->split(), m_beforePart);
    }
    void process(std::size_t first, std::size_t last) override {
        m_beforePart();
        m_body->process(first, last);
    }
    void join(access::ReductionBody& right) override { m_body->join(*static_cast<WatchedBody&>(right).m_body); }

private:
    std::unique_ptr<access::ReductionBody> m_owned;
    access::ReductionBody* m_body;
    access::FunctionRef<void()> m_beforePart;
};

}  // namespace

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

void WatchedScheduler::reduce(std::size_t count, std::size_t grain, access::ReductionBody& body) {
    const auto beforePart = [this] { next(); };
    WatchedBody watched(body, beforePart);
    m_inner->reduce(count, grain, watched);
}

std::shared_ptr<access::BlockScheduler> sharedParallelScheduler() {
    return {std::shared_ptr<void>(), &access::parallelScheduler()};
}

std::shared_ptr<access::BlockScheduler> sharedSerialScheduler() {
    return {std::shared_ptr<void>(), &access::serialScheduler()};
}
}  // namespace rix::test
