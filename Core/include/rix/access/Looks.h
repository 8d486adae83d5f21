#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/Export.h>
#include <rix/access/ExecutionContext.h>

namespace rix::access {

/// Makes a run the one for which this thread works, while it lives; then the one before is it again. The frame does so
/// for the thread of the run, `run` and `forEachPart` for every thread that takes a block or a part.
class RIX_EXPORT RunOfThread {
public:
    /// The context outlives this.
    explicit RunOfThread(const ExecutionContext& context) noexcept;
    ~RunOfThread();
    RunOfThread(const RunOfThread&) = delete;
    RunOfThread& operator=(const RunOfThread&) = delete;

private:
    const ExecutionContext* m_before;
};

/// Looks whether the run for which this thread works was asked to stop; outside of runs there is nothing to look for.
/// @throws ExceptionCancelation when it was
RIX_EXPORT void throwIfRunCancelled();

/// Looks for a request to cancel now and then, for loops over tables and corners that belong to no image: they may be
/// far below what knows the context of the run. A step is what takes up to a tenth of a microsecond.
class Looks {
public:
    void add(std::size_t steps) {
        m_steps += steps;
        if (m_steps >= stepsBetweenLooks) {
            m_steps = 0;
            throwIfRunCancelled();
        }
    }

    static constexpr std::size_t stepsBetweenLooks = std::size_t{1} << 16;

private:
    std::size_t m_steps = 0;
};

/// Makes a table longer, as its `resize` does, and looks for a request to cancel meanwhile: to fill memory that was
/// never touched takes long. Memory for all is reserved at once.
template <class Table, class... Value>
void resizeWithLooks(Table& table, std::size_t count, const Value&... value) {
    constexpr std::size_t bytesBetweenLooks = std::size_t{1} << 23;
    constexpr std::size_t step = bytesBetweenLooks / sizeof(typename Table::value_type);
    table.reserve(count);
    while (table.size() < count) {
        throwIfRunCancelled();
        table.resize(table.size() + std::min(step, count - table.size()), value...);
    }
}

}  // namespace rix::access
