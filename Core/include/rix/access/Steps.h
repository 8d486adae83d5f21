#pragma once

#include <cstddef>
#include <initializer_list>
#include <span>

#include <rix/Export.h>
#include <rix/access/ExecutionContext.h>

namespace rix::access {

/// Divides the next step of a run into steps of its own while it lives.
///
/// Each `startStep` of the context from then on takes the next of them; a `Steps` made meanwhile divides that next one
/// further. At the end of its life the part of the progress that it divided counts as done, however many of its steps
/// were taken: fewer than declared jump to its end, more than declared wait there. Belongs to the thread that runs the
/// algorithm.
class RIX_EXPORT Steps {
public:
    /// `count` steps of equal weight.
    Steps(ExecutionContext& context, std::size_t count) : m_context(context) { context.openSteps(count, {}); }
    /// Steps of the given weights, in any unit. Negative weights count as 0; all 0 means equal.
    Steps(ExecutionContext& context, std::initializer_list<double> weights)
        : Steps(context, std::span<const double>(weights.begin(), weights.size())) {}
    Steps(ExecutionContext& context, std::span<const double> weights) : m_context(context) {
        context.openSteps(weights.size(), weights);
    }
    ~Steps() { m_context.closeSteps(); }
    Steps(const Steps&) = delete;
    Steps& operator=(const Steps&) = delete;

private:
    ExecutionContext& m_context;
};

}  // namespace rix::access
