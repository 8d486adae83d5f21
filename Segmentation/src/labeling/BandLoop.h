#pragma once

#include <cstddef>

#include <rix/access/BlockScheduler.h>
#include <rix/access/ExecutionContext.h>

namespace rix::segmentation {

/// Runs the parts of a phase: on the run's threads, or on this one where the image is too small for them. Phases can't
/// be blocks of a point operation: they work on the table of runs, whose bands belong to no image.
class BandLoop {
public:
    BandLoop(access::ExecutionContext& context, bool small)
        : m_context(context), m_scheduler(small ? access::serialScheduler() : context.scheduler()) {}

    access::ExecutionContext& context() const { return m_context; }

    /// Calls `part(i)` for every i below `count`, each after a look at a request to cancel.
    template <class F>
    void forEach(std::size_t count, F&& part) const {
        m_scheduler.forEach(count, [&](std::size_t i) {
            m_context.throwIfCancelled();
            part(i);
        });
        m_context.throwIfCancelled();
    }

private:
    access::ExecutionContext& m_context;
    access::BlockScheduler& m_scheduler;
};

}  // namespace rix::segmentation
