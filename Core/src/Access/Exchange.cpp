#include <rix/access/Exchange.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include <rix/access/BlockScheduler.h>
#include <rix/access/Looks.h>
#include <rix/access/MemoryAccount.h>

#include "Access/Cutting.h"

namespace rix::access {

namespace {

/// Rows of tiles that are long enough hold a multiple of this: whole vectors, also of bytes.
constexpr std::size_t vectorColumns = 64;

/// The blocks of a plan as a grid of the axes on which work spreads.
class Tiles {
public:
    Tiles(const Plan& plan, std::size_t axes) : m_axes(axes), m_isActive(plan.blockCount(), 1) {
        std::size_t stride = 1;
        for (std::size_t axis = 0; axis < m_parts.size(); ++axis) {
            m_parts[axis] = plan.parts(static_cast<Components>(axis));
            m_strides[axis] = stride;
            stride *= m_parts[axis];
        }
        for (std::size_t tile = 0; tile < plan.blockCount(); ++tile) {
            m_waiting[colourOf(tile)].push_back(tile);
        }
    }

    std::size_t colours() const { return std::size_t{1} << m_axes; }

    /// The blocks of a colour that wait for a visit; they wait no longer.
    const CountedVector<std::size_t>& take(std::size_t colour) {
        m_taken.clear();
        std::swap(m_taken, m_waiting[colour]);
        // In the order of memory, which whoever let them wait did not know.
        std::sort(m_taken.begin(), m_taken.end());
        for (const std::size_t tile : m_taken) {
            m_isActive[tile] = 0;
        }
        return m_taken;
    }

    bool isStable() const {
        return std::all_of(m_waiting.begin(), m_waiting.end(), [](const auto& tiles) { return tiles.empty(); });
    }

    void activate(std::size_t tile, NeighbourSet neighbours) {
        for (int plane = -1; plane <= 1; ++plane) {
            for (int row = -1; row <= 1; ++row) {
                for (int column = -1; column <= 1; ++column) {
                    if ((neighbours & neighbourAt(column, row, plane)) != 0) {
                        activateAt(tile, {column, row, plane});
                    }
                }
            }
        }
    }

private:
    std::size_t placeOf(std::size_t tile, std::size_t axis) const { return tile / m_strides[axis] % m_parts[axis]; }

    std::size_t colourOf(std::size_t tile) const {
        std::size_t colour = 0;
        for (std::size_t axis = 0; axis < m_axes; ++axis) {
            colour |= (placeOf(tile, axis) % 2) << axis;
        }
        return colour;
    }

    void activateAt(std::size_t tile, const std::array<int, 3>& step) {
        std::size_t neighbour = tile;
        for (std::size_t axis = 0; axis < m_axes; ++axis) {
            const std::size_t place = placeOf(tile, axis);
            if ((step[axis] < 0 && place == 0) || (step[axis] > 0 && place + 1 == m_parts[axis])) {
                return;
            }
            neighbour = step[axis] < 0   ? neighbour - m_strides[axis]
                        : step[axis] > 0 ? neighbour + m_strides[axis]
                                         : neighbour;
        }
        if (neighbour != tile && m_isActive[neighbour] == 0) {
            m_isActive[neighbour] = 1;
            m_waiting[colourOf(neighbour)].push_back(neighbour);
        }
    }

    std::size_t m_axes;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_parts{};
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_strides{};
    CountedVector<std::uint8_t> m_isActive;
    std::array<CountedVector<std::size_t>, 8> m_waiting;
    CountedVector<std::size_t> m_taken;
};

}  // namespace

Plan cutTiles(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const ExchangeNeeds& needs) {
    Plan plan(extents, JoinedAxes::None);
    if (plan.voxelCount() == 0) {
        return plan;
    }
    const double cost = std::max(needs.nanosecondsPerVoxel, 1e-3);
    plan.setSmall(isSmallWork(plan.voxelCount(), cost));
    double voxels =
        std::min(static_cast<double>(blockBytes()) / static_cast<double>(std::max<std::size_t>(needs.bytesPerVoxel, 1)),
                 longestBlockNanoseconds / cost);
    // The shortest axis first: what it does not use is left to the others.
    std::array<Components, 3> order{COLUMNS, ROWS, PLANS};
    const auto end = order.begin() + static_cast<std::ptrdiff_t>(needs.axes);
    std::stable_sort(order.begin(), end, [&](Components a, Components b) { return extents[a] < extents[b]; });
    std::size_t left = needs.axes;
    for (auto axis = order.begin(); axis != end; ++axis, --left) {
        const double edge = std::max(std::pow(voxels, 1.0 / static_cast<double>(left)), 1.0);
        const std::size_t extent = extents[*axis];
        std::size_t length = edge >= static_cast<double>(extent) ? extent : static_cast<std::size_t>(edge);
        std::size_t group = 1;
        if (*axis == COLUMNS && 2 * length > vectorColumns && length < extent) {
            group = vectorColumns;
            length = std::max<std::size_t>((length + group / 2) / group, 1) * group;
        }
        plan.cut(*axis, {ceilDivide(extent, length), 0, group});
        voxels /= static_cast<double>(length);
    }
    for (std::size_t axis = needs.axes; axis < extents.size(); ++axis) {
        plan.cut(static_cast<Components>(axis), {extents[axis], 0, 1});
    }
    return plan;
}

void exchangeUntilStable(ExecutionContext& context, const Plan& tiles, std::size_t axes,
                         FunctionRef<NeighbourSet(const Block&, bool)> body) {
    const auto work = static_cast<double>(tiles.voxelCount());
    context.startStep(work);
    Tiles grid(tiles, axes);
    CountedVector<NeighbourSet> given;
    BlockScheduler& scheduler = tiles.isSmall() ? serialScheduler() : context.scheduler();
    // How many rounds there will be nobody knows: each is half of what is left.
    double left = work;
    for (bool isFirst = true; !grid.isStable(); isFirst = false) {
        const double share = left / 2;
        for (std::size_t colour = 0; colour < grid.colours(); ++colour) {
            const auto& waiting = grid.take(colour);
            given.assign(waiting.size(), 0);
            const double each = share / static_cast<double>(grid.colours() * std::max<std::size_t>(waiting.size(), 1));
            scheduler.forEach(waiting.size(), [&](std::size_t i) {
                context.throwIfCancelled();
                const RunOfThread runOfThread(context);
                given[i] = body(tiles.block(waiting[i]), isFirst);
                context.blockDone(each);
            });
            context.throwIfCancelled();
            for (std::size_t i = 0; i < waiting.size(); ++i) {
                grid.activate(waiting[i], given[i]);
                left -= each;
            }
        }
    }
    context.blockDone(std::max(left, 0.0));
}

}  // namespace rix::access
