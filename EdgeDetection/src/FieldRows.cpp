#include "FieldRows.h"

#include <algorithm>

namespace rix::edge_detection {

namespace {

/// Rows that are no part of an image: sums along z, lines, components.
template <class T>
std::size_t ownRows(const FieldPlan<T>& plan) {
    std::size_t rows = plan.lines.size() + plan.components.size();
    for (const auto& plane : plan.planes) {
        rows += plane.kernel == FieldPlan<T>::none ? 0 : 2 * plane.reachY + 1;
    }
    return rows;
}

/// Sums are taken of whole vectors: windows can be read so far, and own rows have the room.
template <class T>
constexpr std::size_t lineSamples = access::readableBytesBehindWindow / sizeof(T);

template <class T>
std::size_t wholeLines(std::size_t samples) {
    return (samples + lineSamples<T> - 1) / lineSamples<T> * lineSamples<T>;
}

/// From row to row: lines of the cache, not a page apart.
template <class T>
std::size_t strideOf(std::size_t samples) {
    const std::size_t stride = wholeLines<T>(samples);
    return stride * sizeof(T) % 4096 == 0 ? stride + lineSamples<T> : stride;
}

template <class T>
access::Reach reachOf(const FieldPlan<T>& plan, const typename FieldPlan<T>::Window& window) {
    return {{plan.reachX, plan.reachX}, {window.reachY, window.reachY}, {window.reachZ, window.reachZ}};
}

}  // namespace

template <class T>
FieldRows<T>::FieldRows(const FieldPlan<T>& plan, const std::vector<FieldSource<T>>& sources,
                        const access::Block& block, const FieldKernels<T>& kernels)
    : m_plan(plan),
      m_kernels(kernels),
      m_count(block.columns().length() + 2 * plan.margin[0]),
      m_extended(wholeLines<T>(block.columns().length() + 2 * plan.reachX)),
      m_stride(strideOf<T>(m_extended)),
      m_memory((ownRows(plan) * m_stride + lineSamples<T>)*sizeof(T)),
      m_rows(plan.mostRows),
      m_lines(plan.lines.size()),
      m_components(plan.components.size()) {
    m_sums.reserve(plan.lines.size());
    for (std::size_t i = 0; i < plan.windows.size(); ++i) {
        m_windows.push_back(std::make_unique<access::WindowRows<T>>(*sources[i].image, sources[i].border.get(), block,
                                                                    reachOf(plan, plan.windows[i])));
    }
    for (const auto& plane : plan.planes) {
        m_planeRows.emplace_back(2 * plane.reachY + 1);
    }
}

template <class T>
T* FieldRows<T>::rowAt(std::size_t index) const {
    return m_memory.template as<T>() + index * m_stride;
}

template <class T>
void FieldRows<T>::computePlane(std::size_t index, std::int64_t row, std::int64_t z, bool goesOn) {
    const auto& plane = m_plan.planes[index];
    access::WindowRows<T>& window = *m_windows[plane.window];
    std::vector<const T*>& rows = m_planeRows[index];
    std::size_t own = m_plan.lines.size() + m_plan.components.size();
    for (std::size_t before = 0; before < index; ++before) {
        own += m_plan.planes[before].kernel == FieldPlan<T>::none ? 0 : m_planeRows[before].size();
    }
    std::size_t first = 0;
    if (goesOn) {  // all but the last row are there; its sum takes the place of the first
        std::rotate(rows.begin(), rows.begin() + 1, rows.end());
        first = rows.size() - 1;
    }
    for (std::size_t i = first; i < rows.size(); ++i) {
        const std::int64_t y = row + static_cast<std::int64_t>(i) - static_cast<std::int64_t>(plane.reachY);
        if (plane.kernel == FieldPlan<T>::none) {
            rows[i] = window.row(y, z) - m_plan.reachX;
            continue;
        }
        const auto& kernel = m_plan.kernels[plane.kernel];
        const auto reachZ = static_cast<std::int64_t>(kernel.reach());
        for (std::int64_t dz = -reachZ; dz <= reachZ; ++dz) {
            m_rows[static_cast<std::size_t>(dz + reachZ)] = window.row(y, z + dz) - m_plan.reachX;
        }
        T* const sum = goesOn ? const_cast<T*>(rows[i]) : rowAt(own + i);
        (kernel.isOdd ? m_kernels.sumOdd : m_kernels.sumEven)(m_rows.data(), kernel.half.data(), kernel.reach(), sum,
                                                              m_extended);
        rows[i] = sum;
    }
}

template <class T>
const T* const* FieldRows<T>::compute(std::int64_t row, std::int64_t plane) {
    const bool goesOn = plane == m_plane && row == m_row + 1;
    for (std::size_t i = 0; i < m_plan.planes.size(); ++i) {
        computePlane(i, row, plane, goesOn);
    }
    m_row = row;
    m_plane = plane;
    for (std::size_t p = 0; p < m_plan.planes.size(); ++p) {
        const T* const* const middle = m_planeRows[p].data() + m_plan.planes[p].reachY;
        m_sums.clear();
        for (std::size_t i = 0; i < m_lines.size(); ++i) {
            const auto& line = m_plan.lines[i];
            const auto& kernel = m_plan.kernels[line.kernel];
            if (line.plane == p && kernel.isIdentity) {
                m_lines[i] = *middle;
            } else if (line.plane == p) {
                m_sums.push_back({&kernel, rowAt(i)});
                m_lines[i] = rowAt(i);
            }
        }
        takeSums(m_kernels, middle, m_sums, m_extended);
    }
    for (std::size_t i = 0; i < m_components.size(); ++i) {
        const auto& component = m_plan.components[i];
        const auto& kernel = m_plan.kernels[component.kernel];
        const T* const first = m_lines[component.line] + (m_plan.reachX - m_plan.margin[0] - kernel.reach());
        if (kernel.isIdentity) {
            m_components[i] = first + m_plan.margin[0];
            continue;
        }
        for (std::size_t k = 0; k <= 2 * kernel.reach(); ++k) {
            m_rows[k] = first + k;
        }
        T* const out = rowAt(m_lines.size() + i);
        (kernel.isOdd ? m_kernels.sumOdd : m_kernels.sumEven)(m_rows.data(), kernel.half.data(), kernel.reach(), out,
                                                              wholeLines<T>(m_count));
        m_components[i] = out + m_plan.margin[0];
    }
    return m_components.data();
}

template <class T>
std::size_t FieldRows<T>::bytes(const FieldPlan<T>& plan, std::size_t columns) {
    return access::Scratch::held((ownRows(plan) * strideOf<T>(columns + 2 * plan.reachX) + lineSamples<T>)*sizeof(T));
}

template class FieldRows<float>;
template class FieldRows<double>;

}  // namespace rix::edge_detection
