#include "NetworkSelection.h"

#include <algorithm>
#include <cstdint>

#include <rix/access/Buffer.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>

#include "KeyTile.h"
#include "NetworkKernels.h"

namespace rix::filtering::rank {

namespace {

constexpr std::size_t vectorBytes = 64;

/// What a row is cut into, so that the lines of a network stay in the first-level cache, and the room that a line has.
struct LineSize {
    LineSize(const RankNetwork& network, std::size_t keyBytes) {
        constexpr std::size_t cacheBytes = 24 << 10;
        constexpr std::size_t least = 256;
        constexpr std::size_t most = 1024;
        const std::size_t behind = network.more() * keyBytes + vectorBytes;
        const std::size_t room = cacheBytes / std::max<std::size_t>(network.lines() + network.inputs(), 1);
        const std::size_t bytes = std::clamp(room > behind ? room - behind : 0, least, most);
        count = bytes / vectorBytes * vectorBytes / keyBytes;
        strideBytes = (count * keyBytes + behind + vectorBytes - 1) / vectorBytes * vectorBytes;
        strideBytes += strideBytes / vectorBytes % 2 == 0 ? vectorBytes : 0;  // lines must not lie a page apart
    }
    std::size_t count;
    std::size_t strideBytes;
};

access::Plan cutForNetwork(const ImageModel& input, const RankJob& job, const RankNetwork& network,
                           std::size_t keyBytes) {
    const bool ofVolumes = job.window.planes > 1;
    // Half a nanosecond an operation on a vector, and the copy of the tile.
    const double nanoseconds =
        0.2 + 0.5 * static_cast<double>(network.operations() * keyBytes) / static_cast<double>(vectorBytes);
    const std::size_t columns = std::size_t{ofVolumes ? 512U : 1024U} / std::max<std::size_t>(keyBytes / 4, 1);
    return cutTiles(input, job.window, ofVolumes ? TileSize{columns, 32, 8} : TileSize{columns, 64, 1}, nanoseconds);
}

template <class T>
class NetworkTile {
public:
    using Key = KeyOf<T>;

    NetworkTile(const ImageModel& input, const RankJob& job, const access::Block& block, const RankNetwork& network,
                NetworkKernel<Key> kernel)
        : m_window(job.window),
          m_network(network),
          m_kernel(kernel),
          m_tile(input, job, block),
          m_size(network, sizeof(Key)) {
        m_run = {network.steps().data(), network.steps().size(), network.inputs(),
                 m_lines.reserve(network.lines() * m_size.strideBytes / sizeof(Key)), m_size.strideBytes / sizeof(Key)};
        m_rows.reserve(network.inputs());
    }

    /// @param row,plane of the block
    void write(std::size_t row, std::size_t plane, T* out, std::size_t count) {
        const Key** const rows = m_rows.data();
        for (std::size_t x = 0; x < count; x += m_size.count) {
            for (std::size_t i = 0; i < m_network.inputs(); ++i) {
                rows[i] = m_tile.keysOf(row + i % m_window.rows, plane + i / m_window.rows) + x;
            }
            const std::size_t n = std::min(m_size.count, count - x);
            m_kernel(m_run, rows, n);
            const std::size_t result = m_network.result();
            const Key* const keys =
                result < m_run.inputs ? rows[result] : m_run.lines + (result - m_run.inputs) * m_run.lineStride;
            for (std::size_t i = 0; i < n; ++i) {
                out[x + i] = sampleOf<T>(keys[i]);
            }
        }
    }

private:
    const RankWindow& m_window;
    const RankNetwork& m_network;
    NetworkKernel<Key> m_kernel;
    KeyTile<T> m_tile;
    LineSize m_size;
    access::Buffer<Key> m_lines;
    access::Buffer<const Key*> m_rows;
    NetworkRun<Key> m_run{};
};

}  // namespace

std::optional<RankNetwork> networkFor(const RankJob& job, std::size_t keyBytes) {
    if (job.mask != nullptr || job.window.boxVoxels() > 2 * RankNetwork::mostVoxels ||
        job.window.voxels() > RankNetwork::mostVoxels) {
        return std::nullopt;
    }
    RankNetwork network(job.window, indexOfRank(job.rank, job.window.voxels()));
    // Where counting begins to win, measured: later for boxes of several planes, of which each is counted, and later
    // still for discs and balls, which are counted chord by chord.
    const bool isFlat = job.window.planes == 1 && !job.window.isRound;
    const std::size_t most = (keyBytes == 1 ? (isFlat ? 1000U : 1400U)
                              : isFlat      ? 2600U
                                            : 5000U) *
                             (job.window.isRound ? std::size_t{2} : std::size_t{1});
    return network.operations() * keyBytes > most ? std::nullopt : std::optional(std::move(network));
}

template <class T>
void selectByNetwork(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const RankJob& job,
                     const RankNetwork& network, OptimLevelType level) {
    const access::Plan plan = cutForNetwork(input, job, network, sizeof(T));
    const auto kernel = networkKernel<KeyOf<T>>(level);
    access::run(context, plan, [&](const access::Block& block) {
        access::RowWriter<T> writer(output, plan);
        NetworkTile<T> tile(input, job, block, network, kernel);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            tile.write(segment.row - block.rows().begin, segment.plane - block.planes().begin, writer.open(segment),
                       segment.count);
            writer.flush();
        });
    });
}

template <class T>
std::size_t networkBytes(const ImageModel& input, const RankJob& job, const RankNetwork& network, std::size_t threads) {
    const access::Plan plan = cutForNetwork(input, job, network, sizeof(T));
    using access::Scratch;
    const std::size_t bytes = KeyTile<T>::bytes(largestTile(plan, job.window), false) +
                              Scratch::held(network.lines() * LineSize(network, sizeof(T)).strideBytes) +
                              Scratch::held(network.inputs() * sizeof(void*));
    return workingBytes(plan, bytes, sizeof(T), threads);
}

#define RIX_INSTANTIATE(T)                                                                                      \
    template void selectByNetwork<T>(access::ExecutionContext&, const ImageModel&, ImageModel&, const RankJob&, \
                                     const RankNetwork&, OptimLevelType);                                       \
    template std::size_t networkBytes<T>(const ImageModel&, const RankJob&, const RankNetwork&, std::size_t);
RIX_INSTANTIATE(std::uint8_t)
RIX_INSTANTIATE(std::uint16_t)
RIX_INSTANTIATE(std::uint32_t)
RIX_INSTANTIATE(std::int8_t)
RIX_INSTANTIATE(std::int16_t)
RIX_INSTANTIATE(std::int32_t)
RIX_INSTANTIATE(float)
RIX_INSTANTIATE(double)
#undef RIX_INSTANTIATE

}  // namespace rix::filtering::rank
