#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "distance/ChamferKernels.h"
#include "distance/ChamferScans.h"
#include "distance/DistanceTask.h"

namespace rix::morphology {

/// Rows of a plane or volume in the order of a scan: as many as steps lead back, in a frame of places around the image.
/// Backwards the order is that of the rows turned around, and columns stay as they are.
template <class Price>
class ScanRing {
public:
    ScanRing(const DistanceTask& task, const ChamferWeights& weights)
        : m_columns(task.extents[COLUMNS]),
          m_padded((m_columns + ChamferKernels<Price>::vector - 1) / ChamferKernels<Price>::vector *
                   ChamferKernels<Price>::vector),
          m_pitch(m_padded + 2 * lineMargin),
          m_planePitch(task.axes == 3 ? task.extents[ROWS] + 2 : 0),
          m_kept(task.axes == 3 ? m_planePitch + 2 : 3),
          m_place(m_memory.add<Price>(m_kept * m_pitch)) {
        for (const ChamferStep& step : weights.steps()) {
            if (!step.isWithinRow()) {
                const auto planePitch = static_cast<std::int64_t>(m_planePitch);
                m_steps.push_back({step.kind, static_cast<Price>(step.price), step.offset[0],
                                   static_cast<std::size_t>(-step.offset[1] - step.offset[2] * planePitch)});
            }
        }
    }

    std::size_t bytes() const { return access::Scratch::held(m_memory.bytes()); }
    void take() { m_memory.take(); }
    /// Of a row, in whole vectors.
    std::size_t padded() const { return m_padded; }

    /// @param outside what places of the frame are worth
    void begin(Price outside) {
        m_outside = outside;
        m_next = 0;
        for (std::size_t i = 0; i < (m_planePitch == 0 ? 2 : m_planePitch); ++i) {
            addFrame();
        }
    }
    /// Before and behind the rows of each plane of a volume.
    void endPlane() {
        if (m_planePitch != 0) {
            addFrame();
        }
    }
    /// The next row, to be filled.
    Price* add() { return rowAt(m_next++); }
    /// Sets what is beside the places of a row.
    void frame(Price* row) const {
        std::fill_n(row - lineMargin, lineMargin, m_outside);
        std::fill(row + m_columns, row + m_padded + lineMargin, m_outside);
    }
    /// From where steps lead to the row that was added last. @return how many kinds there are
    std::size_t stepsTo(ChamferSteps<Price>* kinds) const {
        std::size_t count = 0;
        std::size_t kind = 0;
        for (const Step& step : m_steps) {
            if (count == 0 || step.kind != kind) {
                kinds[count++] = {step.price, 0, {}};
                kind = step.kind;
            }
            ChamferSteps<Price>& all = kinds[count - 1];
            all.from[all.count++] = rowAt(m_next - 1 - step.rowsBack) + step.column;
        }
        return count;
    }

private:
    struct Step {
        std::size_t kind;
        Price price;
        std::int64_t column;
        std::size_t rowsBack;
    };

    Price* rowAt(std::size_t number) const {
        return m_memory.row<Price>(m_place) + number % m_kept * m_pitch + lineMargin;
    }
    void addFrame() { std::fill_n(add() - lineMargin, m_pitch, m_outside); }

    std::size_t m_columns;
    std::size_t m_padded;
    std::size_t m_pitch;
    std::size_t m_planePitch;  ///< rows from plane to plane; 0 where there is one plane
    std::size_t m_kept;
    RowMemory m_memory;
    std::size_t m_place;
    std::vector<Step> m_steps;
    std::size_t m_next = 0;
    Price m_outside = 0;
};

}  // namespace rix::morphology
