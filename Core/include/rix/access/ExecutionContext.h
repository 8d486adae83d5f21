#pragma once

#include <cstddef>
#include <span>

#include <rix/Export.h>

namespace rix::access {

class BlockScheduler;

/// What the processing of image data needs to know of the run that it is part of: who distributes the blocks, how
/// many threads there may be, whether the run was cancelled, where progress goes.
///
/// The execution frame implements it; the access layer and the bodies of algorithms only use it.
class RIX_EXPORT ExecutionContext {
public:
    virtual ~ExecutionContext();

    /// True from the moment at which the run, or a run above it, was asked to stop.
    virtual bool isCancelled() const = 0;

    /// Called after each block by the thread that processed it. Adds to the progress of the current step and, when
    /// the run has no waiting caller to do so, polls the interaction interface. Safe from any thread.
    /// @param work units of work done, in the unit announced with `startStep`
    virtual void blockDone(double work) = 0;

    /// Starts the next step, whose whole work is `work` units: the next of the innermost `Steps` alive. Without one,
    /// the first step is the whole run.
    virtual void startStep(double work) = 0;

    /// Who runs the blocks.
    virtual BlockScheduler& scheduler() const = 0;

    /// Largest number of threads of this run, at least 1.
    virtual std::size_t maximumThreads() const = 0;

    /// Throws `ExceptionCancelation` when the run was asked to stop.
    void throwIfCancelled() const;

private:
    friend class Steps;
    /// Divides the next step into `count` steps, of equal weight when `weights` is empty. A context that reports no
    /// progress leaves both out.
    virtual void openSteps(std::size_t count, std::span<const double> weights);
    /// Ends the innermost division.
    virtual void closeSteps() noexcept;
};

}  // namespace rix::access
