#include "RawOrder.h"

#include <algorithm>
#include <array>

#include "../SampleRows.h"

namespace rix::io {

Placer::Placer(MemoryImage& image, const std::vector<Components>& axes)
    : m_image(image.getInternalBuffer()), m_bytes(helper::getSizeOf(image.getVoxelType())) {
    const auto extents = helper::getExtents(image);
    std::array<std::size_t, RIX_COMPONENTS_SIZE> steps{};
    std::size_t step = 1;
    for (std::size_t axis = 0; axis < steps.size(); ++axis) {
        steps[axis] = step;
        step *= extents[axis];
    }
    for (const Components component : axes) {
        const auto index = static_cast<std::size_t>(component);
        const Axis axis{extents[index], steps[index]};
        if (!m_axes.empty() && axis.step == m_axes.back().extent * m_axes.back().step) {
            m_axes.back().extent *= axis.extent;
        } else if (axis.extent > 1 || m_axes.empty()) {
            m_axes.push_back(axis);
        }
    }
    m_at.resize(m_axes.size());
}

void Placer::place(const std::uint8_t* samples, std::size_t count) {
    while (count > 0) {
        const std::size_t run = std::min(count, m_axes[0].extent - m_at[0]);
        std::size_t offset = 0;
        for (std::size_t i = 0; i < m_axes.size(); ++i) {
            offset += m_at[i] * m_axes[i].step;
        }
        copySamples(samples, 1, m_image + offset * m_bytes, m_axes[0].step, run, m_bytes);
        samples += run * m_bytes;
        count -= run;
        m_at[0] += run;
        for (std::size_t i = 0; i + 1 < m_at.size() && m_at[i] == m_axes[i].extent; ++i) {
            m_at[i] = 0;
            ++m_at[i + 1];
        }
    }
}

Runs::Runs(const RawLayout& layout, const PartialImage& image) {
    std::uint64_t step = 1;
    bool joins = true;  // all axes so far are kept whole
    for (const Components component : layout.axes) {
        const Indices& kept = image.kept(component);
        const std::size_t extent = layout.info.extents[static_cast<std::size_t>(component)];
        m_next.begin += kept.first * step;
        if (joins) {
            m_next.count *= kept.count;
            joins = kept.count == extent;
        } else {
            m_axes.push_back({kept.count, step, 0});
        }
        step *= extent;
    }
}

std::optional<Runs::Run> Runs::next() {
    if (m_ended) {
        return std::nullopt;
    }
    const Run run = m_next;
    m_ended = true;
    for (Axis& axis : m_axes) {
        m_next.begin += axis.step;
        if (++axis.at < axis.count) {
            m_ended = false;
            break;
        }
        m_next.begin -= axis.count * axis.step;
        axis.at = 0;
    }
    return run;
}

}  // namespace rix::io
