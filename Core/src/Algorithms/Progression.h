#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>

namespace rix::algorithms {

/// The progress of one run, from 0 to 1. It never falls.
///
/// A run is a number of passes of equal width (one, unless it iterates over axes of its images), a pass a number of
/// steps of equal width; within a step, progress is the work done over the work announced. The progress of a child
/// algorithm is the progress of its parent's current step.
class Progression {
public:
    /// Starts a run. @param parent the progression whose current step this run is; null for a run of its own.
    void reset(Progression* parent);
    /// Starts pass `index` of `count`.
    void startPass(std::size_t index, std::size_t count);
    /// Divides what is left of the pass into `steps` steps.
    void declareSteps(std::size_t steps);
    /// Ends the current step and starts the next, whose whole work is `work` units.
    void startStep(double work);
    /// Adds done work to the current step. Safe from any thread.
    void add(double work);
    /// The run is complete.
    void finish();
    double value() const { return m_value.load(std::memory_order_relaxed); }

private:
    void childProgressed(double fraction);
    void publish();  // with the lock held

    std::mutex m_mutex;
    std::atomic<double> m_value{0.0};
    Progression* m_parent = nullptr;
    double m_end = 1.0;    ///< of the current pass
    double m_begin = 0.0;  ///< where the current step begins
    double m_width = 1.0;  ///< of a step
    double m_work = 1.0;   ///< of the current step
    double m_done = 0.0;   ///< of that work
    bool m_started = false;
};

}  // namespace rix::algorithms
