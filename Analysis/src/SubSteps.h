#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>

namespace rix::analysis {

/// Divides the current step of a run, which was started with 1 unit of work, into equal steps of its own.
class SubSteps final : public access::ExecutionContext {
public:
    SubSteps(access::ExecutionContext& context, std::size_t steps) : m_context(context) { declareSteps(steps); }

    bool isCancelled() const override { return m_context.isCancelled(); }
    void blockDone(double work) override { m_context.blockDone(work / (m_work * m_steps)); }
    /// Only before the first step.
    void declareSteps(std::size_t steps) override { m_steps = static_cast<double>(steps); }
    void startStep(double work) override { m_work = work > 0.0 ? work : 1.0; }
    access::BlockScheduler& scheduler() const override { return m_context.scheduler(); }
    std::size_t maximumThreads() const override { return m_context.maximumThreads(); }

private:
    access::ExecutionContext& m_context;
    double m_steps = 1.0;
    double m_work = 1.0;
};

}  // namespace rix::analysis
