#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "distance/DistanceTask.h"

namespace rix::morphology {

/// Where both sides get distances, those of the background are negative.
inline void giveSigns(const DistanceTask& task, const ClassRun* runs, std::size_t runCount, float* distances) {
    for (std::size_t i = 0; i < runCount && task.side == DistanceSide::SIGNED; ++i) {
        for (std::uint32_t x = runs[i].begin; !runs[i].isObject && x < runs[i].end; ++x) {
            distances[x] = -distances[x];
        }
    }
}

/// Takes one more axis into the heights of a line; made once a block.
template <class Class, class Height>
class LineTransform {
public:
    LineTransform(const DistanceTask& task, const LineCosts<Height>& costs, std::size_t length, OptimLevelType level)
        : m_task(task),
          m_costs(costs),
          m_classes(classKernels<Class>(level)),
          m_kernels(heightKernels<Height>(level)),
          m_rows(length) {
        m_rows.memory.take();
    }

    static std::size_t bytes(std::size_t length) { return access::Scratch::held(Rows(length).memory.bytes()); }

    /// Where the heights of the axes before are to be put.
    Height* heights() const { return m_rows.memory.template row<Height>(m_rows.heights); }
    const HeightKernels<Height>& kernels() const { return m_kernels; }

    /// @return the heights, with a margin behind them
    const Height* operator()(const Class* classes, std::size_t length) {
        Height* const out = m_rows.memory.template row<Height>(m_rows.out);
        if (findNear(classes, length, out)) {
            return out;
        }
        m_runCount = m_classes.findRuns(classes, length, runs());
        m_kernels.transform(heights(), runs(), m_runCount, m_task.template lineNeeds<Height>(), m_costs,
                            m_rows.memory.template row<std::uint32_t>(m_rows.bounds), out, length);
        return out;
    }

    /// The distances of the heights that were found last, with their sign.
    void finish(const Height* heights, float* distances, std::size_t length) const {
        m_kernels.toDistances(heights, m_task.isSquared(), distances, length);
        giveSigns(m_task, runs(), m_runCount, distances);
    }

private:
    /// Where what is far away counts the next lines are taken run by run without asking.
    static constexpr std::size_t linesUnasked = 15;

    bool findNear(const Class* classes, std::size_t length, Height* out) {
        if constexpr (sizeof(Class) == 1) {
            if (m_task.isOneSided() && m_unasked == 0) {
                m_kernels.clearOthers(classes, m_task.ofObjects(), heights(), length);
                const Height beyond = beyondEnds<Height>(m_task);
                std::fill_n(heights() - nearSteps, nearSteps, beyond);
                std::fill_n(heights() + length, nearSteps, beyond);
                if (m_kernels.transformNear(heights(), 1, m_costs, out, length)) {
                    return true;
                }
                m_unasked = linesUnasked + 1;
            }
            m_unasked -= m_unasked > 0 ? 1 : 0;
        }
        return false;
    }

    struct Rows {
        explicit Rows(std::size_t length)
            : runs(memory.template add<ClassRun>(length)),
              heights(memory.template add<Height>(length)),
              bounds(memory.template add<std::uint32_t>(length / 16 + 3)),
              out(memory.template add<Height>(length)) {}

        RowMemory memory;
        std::size_t runs;
        std::size_t heights;
        std::size_t bounds;
        std::size_t out;
    };

    ClassRun* runs() const { return m_rows.memory.template row<ClassRun>(m_rows.runs); }

    const DistanceTask& m_task;
    const LineCosts<Height>& m_costs;
    ClassKernels<Class> m_classes;
    HeightKernels<Height> m_kernels;
    Rows m_rows;
    std::size_t m_runCount = 0;
    std::size_t m_unasked = 0;
};

}  // namespace rix::morphology
