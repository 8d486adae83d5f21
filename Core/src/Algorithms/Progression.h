#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>
#include <span>
#include <vector>

namespace rix::algorithms {

/// The progress of one run, from 0 to 1. It never falls.
///
/// A run is a number of passes of equal width (one, unless it iterates over axes of its images), a pass one step, which
/// may be divided into steps, and each of these again. Within a step, progress is the work done over the work
/// announced. The progress of a child algorithm is the progress of its parent's current step.
class Progression {
public:
    /// Starts a run. @param parent the progression whose current step this run is; null for a run of its own.
    void reset(Progression* parent);
    /// Starts pass `index` of `count`. All divisions have been closed.
    void startPass(std::size_t index, std::size_t count);
    /// Divides the next step into `count` steps, of equal width unless weights are given.
    void openSteps(std::size_t count, std::span<const double> weights);
    /// What the innermost division divided is done.
    void closeSteps() noexcept;
    /// Ends the current step and starts the next, whose whole work is `work` units.
    void startStep(double work);
    /// Adds done work to the current step. Safe from any thread.
    void add(double work);
    /// The run is complete.
    void finish();
    double value() const { return m_value.load(std::memory_order_relaxed); }

private:
    /// A part of the progress.
    struct Range {
        double begin = 0.0;
        double end = 1.0;
    };
    /// A range that is cut into steps. Taken in order; after the last one, empty steps at the end.
    class Division {
    public:
        Division() = default;
        Division(std::size_t count, std::span<const double> weights);
        void setRange(Range range) { m_range = range; }
        Range range() const { return m_range; }
        Range takeNext();

    private:
        double boundary(std::size_t step) const;

        Range m_range;
        std::size_t m_count = 1;
        std::size_t m_next = 0;
        std::vector<double> m_ends;  ///< of the steps, as parts of the range; empty for equal steps
    };

    Division& innermost() { return m_divisions.empty() ? m_pass : m_divisions.back(); }
    void childProgressed(double fraction);
    // With the lock held:
    void begin(Range step, double work);
    void publish();

    std::mutex m_mutex;
    std::atomic<double> m_value{0.0};
    Progression* m_parent = nullptr;
    Division m_pass;                    ///< the current pass as its one step
    std::vector<Division> m_divisions;  ///< the later ones are inside the earlier ones
    Range m_step;                       ///< the current one
    double m_work = 1.0;                ///< of the current step
    double m_done = 0.0;                ///< of that work
};

}  // namespace rix::algorithms
