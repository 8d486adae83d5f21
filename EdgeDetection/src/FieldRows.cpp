#include "FieldRows.h"

#include <algorithm>
#include <limits>

#include <rix/access/BorderConditions.h>
#include <rix/access/BorderPolicy.h>

namespace rix::edge_detection {

namespace {

/// What slots hold that hold no plane, or what lies beyond the image.
constexpr std::int64_t nothing = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t outside = nothing + 1;

/// Sums are taken of whole vectors: windows can be read so far, and own rows have the room.
template <class T>
std::size_t wholeLines(std::size_t samples) {
    constexpr std::size_t line = access::readableBytesBehindWindow / sizeof(T);
    return (samples + line - 1) / line * line;
}

/// From row to row: lines of the cache, not a page apart.
template <class T>
std::size_t strideOf(std::size_t samples) {
    const std::size_t stride = wholeLines<T>(samples);
    return stride * sizeof(T) % 4096 == 0 ? stride + wholeLines<T>(1) : stride;
}

/// Rows of planes that are computed at a time: enough that those around them, which move on, don't count.
template <class T>
std::size_t rowsAtOnce(const FieldPlan<T>& plan) {
    return std::clamp<std::size_t>(3 * plan.reach[1], 16, 64);
}

template <class T>
std::size_t rowsOf(const FieldPlan<T>& plan, std::size_t rows) {
    return plan.isFlat ? std::min(rowsAtOnce(plan), rows + 2 * plan.margin[1]) : rows + 2 * plan.margin[1];
}

/// Planes of fields that are held: around two, and one more beyond the image where that has a value of its own.
template <class T>
std::size_t slotsOf(const FieldPlan<T>& plan, std::size_t planes) {
    return plan.isFlat ? 1
                       : std::min(2 * plan.reach[2] + 2, planes) + (plan.border == access::BorderPolicy::FIXED ? 1 : 0);
}

/// What windows look at around a tile that reaches over the planes that are summed.
template <class T>
access::Reach windowReach(const FieldPlan<T>& plan) {
    const std::size_t x = plan.reach[0] + plan.margin[0];
    const std::size_t y = plan.reach[1] + plan.margin[1];
    return {{x, x}, {y, y}, {}};
}

}  // namespace

template <class T>
TileSize tileSize(const FieldPlan<T>& plan) {
    constexpr std::size_t firstCache = 49152;
    constexpr std::size_t lastCache = 3145728;
    constexpr std::size_t least = 128;
    constexpr std::size_t most = 256;
    if (plan.isFlat) {
        const std::size_t fitting = firstCache / ((2 * plan.reach[1] + 1) * sizeof(T)) / 64 * 64;
        return {std::clamp<std::size_t>(fitting, least, 2048), std::numeric_limits<std::size_t>::max() / 4};
    }
    const std::size_t fitting = lastCache / ((2 * plan.reach[2] + 2) * plan.fields.size() * most * sizeof(T));
    return {most, std::max<std::size_t>({fitting, 2 * plan.reach[1], 16})};
}

template <class T>
FieldRows<T>::Layout::Layout(const FieldPlan<T>& plan, std::size_t columns, std::size_t tileRows, std::size_t planes)
    : stride(strideOf<T>(columns + 2 * plan.margin[0])),
      rows(rowsOf(plan, tileRows)),
      slots(slotsOf(plan, planes)),
      ofLine(rows + 2 * plan.reach[1]),
      fields(plan.lines.size() * ofLine),
      results(fields + slots * plan.fields.size() * rows),
      all(results + (plan.isFlat ? 0 : 2 * plan.components.size() * rows)),
      lead(wholeLines<T>(plan.reach[0]) + besideRow<T>),
      ofRow(stride + 2 * lead) {}

template <class T>
FieldRows<T>::FieldRows(const FieldPlan<T>& plan, const std::vector<const ImageModel*>& images,
                        const access::Block& tile, const FieldKernels<T>& kernels)
    : m_plan(plan),
      m_kernels(kernels),
      m_tile(tile),
      m_rows(static_cast<std::int64_t>(images[0]->getNumOf(ROWS))),
      m_planes(static_cast<std::int64_t>(images[0]->getNumOf(PLANS))),
      m_layout(plan, tile.columns().length(), tile.rows().length(), images[0]->getNumOf(PLANS)),
      m_memory(m_layout.bytes()),
      m_row(rowAt(m_layout.all) + m_layout.lead),
      m_list(2 * plan.reach[2] + 2),
      m_slots(2 * plan.reach[2] + 2),
      m_components(plan.components.size()),
      m_planesOf(m_layout.slots, nothing),
      m_plane(nothing) {
    m_sums.reserve(plan.lines.size());
    m_first[0].resize(plan.components.size());
    m_first[1].resize(plan.components.size());
    m_border = access::borderOf<T>(plan.border, plan.borderValue);
    const std::size_t z = plan.reach[2] + plan.margin[2];
    const access::Block looked = access::withReach(tile, {{}, {}, {z, z}}, helper::getExtents(*images[0]));
    for (std::size_t i = 0; i < plan.sources; ++i) {
        m_windows.push_back(
            std::make_unique<access::WindowRows<T>>(*images[i], m_border.get(), looked, windowReach(plan)));
    }
}

template <class T>
void FieldRows<T>::computeLines(std::int64_t row, std::int64_t plane, std::size_t index) {
    const std::size_t around = m_plan.reach[0] + m_plan.margin[0];
    const std::size_t count = m_tile.columns().length() + 2 * m_plan.margin[0];
    // Rows of parts of an image lie too far apart for the processor to see which comes next.
    const std::int64_t ahead = row + static_cast<std::int64_t>(std::min(m_layout.rows, 2 * m_plan.reach[1]));
    const bool comes =
        ahead > row &&
        ahead < std::min(static_cast<std::int64_t>(m_tile.rows().end + m_plan.margin[1] + m_plan.reach[1]), m_rows);
    std::size_t line = 0;
    for (std::size_t source = 0; source < m_plan.sources; ++source) {
        access::WindowRows<T>& window = *m_windows[source];
        const T* from = window.row(row, plane) - m_plan.margin[0];
        if (m_plan.reach[0] > shortReach) {
            std::copy_n(from - m_plan.reach[0], count + 2 * m_plan.reach[0], m_row - m_plan.reach[0]);
            from = m_row;
        }
        if (comes) {
            const T* const next = window.row(ahead, plane) - around;
            for (std::size_t x = 0; x < count + 2 * m_plan.reach[0]; x += 64 / sizeof(T)) {
                __builtin_prefetch(next + x, 0, 0);
            }
        }
        m_sums.clear();
        for (; line < m_plan.lines.size() && m_plan.lines[line].source == source; ++line) {
            m_sums.push_back({&m_plan.kernels[m_plan.lines[line].kernel], lineAt(line) + index * m_layout.stride});
        }
        takeRowSums(m_kernels, from, m_sums, wholeLines<T>(count));
    }
}

template <class T>
void FieldRows<T>::computeFields(std::int64_t first, std::int64_t last, std::int64_t plane, std::size_t slot,
                                 bool goesOn) {
    const std::size_t stride = m_layout.stride;
    const auto reach = static_cast<std::int64_t>(m_plan.reach[1]);
    const std::int64_t top = first - reach;
    std::int64_t begin = top;
    if (goesOn) {  // the rows around the last ones are there
        begin = first + reach;
        const auto before = static_cast<std::size_t>(m_end - m_begin);
        for (std::size_t line = 0; line < m_plan.lines.size(); ++line) {
            std::copy_n(lineAt(line) + before * stride, 2 * m_plan.reach[1] * stride, lineAt(line));
        }
    }
    for (std::int64_t y = std::max<std::int64_t>(begin, 0); y < std::min(last + reach, m_rows); ++y) {
        computeLines(y, plane, static_cast<std::size_t>(y - top));
    }
    for (std::int64_t y = begin; y < last + reach; ++y) {
        const std::int64_t like = access::borderSource(m_plan.border, y, m_rows);
        if (like == y && y >= 0) {
            continue;
        }
        for (std::size_t line = 0; line < m_plan.lines.size(); ++line) {
            T* const out = lineAt(line) + static_cast<std::size_t>(y - top) * stride;
            if (like >= 0) {
                std::copy_n(lineAt(line) + static_cast<std::size_t>(like - top) * stride, stride, out);
            } else {
                const auto& kernel = m_plan.kernels[m_plan.lines[line].kernel];
                std::fill_n(out, stride, kernel.ofConstant(static_cast<T>(m_plan.borderValue)));
            }
        }
    }
    const auto rows = static_cast<std::size_t>(last - first);
    for (std::size_t field = 0; field < m_plan.fields.size(); ++field) {
        bool isMore = false;
        for (const auto& term : m_plan.fields[field]) {
            const auto& kernel = m_plan.kernels[term.kernel];
            const T* const from = lineAt(term.of) + (m_plan.reach[1] - kernel.reach()) * stride;
            (kernel.isOdd ? m_kernels.stackOdd : m_kernels.stackEven)(from, stride, kernel.half.data(), kernel.reach(),
                                                                      fieldAt(slot, field), rows, isMore);
            isMore = true;
        }
    }
    // As many products as there are between two looks at a whole row of results take about as long.
    constexpr double ofStep = 1.0 / 64.0;
    m_looks.add(static_cast<std::size_t>(static_cast<double>(rows * stride) * m_plan.products() * ofStep));
}

template <class T>
std::size_t FieldRows<T>::slotOf(std::int64_t plane) {
    const std::int64_t like = access::borderSource(m_plan.border, plane, m_planes);
    const std::size_t held = m_layout.slots - (m_plan.border == access::BorderPolicy::FIXED ? 1U : 0U);
    if (like < 0) {
        if (m_planesOf[held] != outside) {
            for (std::size_t field = 0; field < m_plan.fields.size(); ++field) {
                std::fill_n(fieldAt(held, field), m_layout.rows * m_layout.stride, m_plan.beyond(m_plan.fields[field]));
            }
            m_planesOf[held] = outside;
        }
        return held;
    }
    const std::size_t slot = static_cast<std::size_t>(like) % held;
    if (m_planesOf[slot] != like) {
        m_planesOf[slot] = nothing;
        computeFields(m_begin, m_end, like, slot, false);
        m_planesOf[slot] = like;
    }
    return slot;
}

template <class T>
void FieldRows<T>::sumAlongZ(std::int64_t plane) {
    const std::size_t reach = m_plan.reach[2];
    const auto last = static_cast<std::int64_t>(m_tile.planes().end + m_plan.margin[2]);
    m_computed = plane + 1 < std::min(last, m_planes) ? 2 : 1;
    const std::size_t around = 2 * reach + static_cast<std::size_t>(m_computed);
    for (std::size_t k = 0; k < around; ++k) {
        m_slots[k] = slotOf(plane + static_cast<std::int64_t>(k) - static_cast<std::int64_t>(reach));
    }
    const std::size_t count = m_layout.rows * m_layout.stride;
    for (std::size_t i = 0; i < m_components.size(); ++i) {
        const auto& sum = m_plan.components[i];
        if (sum.size() == 1 && m_plan.kernels[sum[0].kernel].isIdentity) {
            m_first[0][i] = fieldAt(m_slots[reach], sum[0].of);
            m_first[1][i] = m_computed > 1 ? fieldAt(m_slots[reach + 1], sum[0].of) : nullptr;
            continue;
        }
        T* const outs[] = {resultAt(0, i), resultAt(1, i)};
        m_first[0][i] = outs[0];
        m_first[1][i] = outs[1];
        bool isMore = false;
        for (const auto& term : sum) {
            const auto& kernel = m_plan.kernels[term.kernel];
            for (std::size_t k = 0; k < around; ++k) {
                m_list[k] = fieldAt(m_slots[k], term.of);
            }
            const T* const* const from = m_list.data() + reach - kernel.reach();
            const T* const half = kernel.half.data();
            if (m_computed > 1) {
                (kernel.isOdd ? m_kernels.twoOdd : m_kernels.twoEven)(from, half, kernel.reach(), outs, count, isMore);
            } else {
                (kernel.isOdd ? m_kernels.sumOdd : m_kernels.sumEven)(from, half, kernel.reach(), outs[0], count,
                                                                      isMore);
            }
            isMore = true;
        }
    }
}

template <class T>
const T* const* FieldRows<T>::compute(std::int64_t row, std::int64_t plane) {
    const bool isThere = m_plane != nothing && plane >= m_plane && plane < m_plane + m_computed;
    if (!m_plan.isFlat && !isThere) {
        const auto margin = static_cast<std::int64_t>(m_plan.margin[1]);
        m_begin = static_cast<std::int64_t>(m_tile.rows().begin) - margin;
        m_end = static_cast<std::int64_t>(m_tile.rows().end) + margin;
        m_plane = nothing;
        sumAlongZ(plane);
        m_plane = plane;
    } else if (m_plan.isFlat && (!isThere || row < m_begin || row >= m_end)) {
        const bool goesOn = isThere && row == m_end;
        const auto last = static_cast<std::int64_t>(m_tile.rows().end + m_plan.margin[1]);
        const std::int64_t end = std::min(row + static_cast<std::int64_t>(m_layout.rows), last);
        m_plane = nothing;
        computeFields(row, end, plane, 0, goesOn);
        for (std::size_t i = 0; i < m_components.size(); ++i) {
            m_first[0][i] = fieldAt(0, m_plan.components[i][0].of);
        }
        m_begin = row;
        m_end = end;
        m_plane = plane;
        m_computed = 1;
    }
    const std::size_t offset = static_cast<std::size_t>(row - m_begin) * m_layout.stride + m_plan.margin[0];
    const auto& first = m_first[static_cast<std::size_t>(plane - m_plane)];
    for (std::size_t i = 0; i < m_components.size(); ++i) {
        m_components[i] = first[i] + offset;
    }
    return m_components.data();
}

template <class T>
std::size_t FieldRows<T>::bytes(const FieldPlan<T>& plan, const ImageModel& image, const TileSize& tile) {
    const access::Reach reach = windowReach(plan);
    constexpr std::size_t placeOfRow = 24;
    const std::size_t row = (tile.columns + reach.columns.sum()) * sizeof(T) + 3 * access::readableBytesBehindWindow;
    const std::size_t rows = reach.rows.sum() + 1;
    const std::size_t window =
        access::Scratch::held(rows * row) + access::Scratch::held(rows * placeOfRow) + access::Scratch::held(row);
    return access::Scratch::held(Layout(plan, tile.columns, tile.rows, image.getNumOf(PLANS)).bytes()) +
           plan.sources * window;
}

template TileSize tileSize<float>(const FieldPlan<float>&);
template TileSize tileSize<double>(const FieldPlan<double>&);
template class FieldRows<float>;
template class FieldRows<double>;

}  // namespace rix::edge_detection
