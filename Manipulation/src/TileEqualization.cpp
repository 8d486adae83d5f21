#include "TileEqualization.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <rix/access/RoundingKernels.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

#include "GreyMap.h"
#include "TileKernels.h"

namespace rix::manipulation {

namespace {

constexpr std::size_t classes = TileClasses::count;
constexpr std::size_t entries = TileClasses::entries;
constexpr double nanosecondsPerCount = 1.0;
constexpr double nanosecondsPerVoxel = 3.0;
constexpr std::size_t pieceLength = TileKernels::mostValues;

using Shares = access::CountedVector<SharePair>;

/// Neighbours are often alike, and a count waits for the one before of its class: two tables take turns.
constexpr std::size_t countTables = 2;
/// Tables of so many tiles lie in the first-level cache.
constexpr std::size_t tilesAtATime = 8;

/// As many values as whole vectors hold.
std::size_t inVectors(std::size_t count) {
    return (count + TileKernels::vector - 1) / TileKernels::vector * TileKernels::vector;
}

/// Calls `use(first, values, n)` for pieces of a row, whose values fill whole vectors up.
template <class Use>
void inPieces(const double* row, std::size_t count, const Use& use) {
    double values[pieceLength];
    for (std::size_t first = 0; first < count; first += pieceLength) {
        const std::size_t n = std::min(pieceLength, count - first);
        std::copy_n(row + first, n, values);
        std::fill(values + n, values + inVectors(n), 0.0);
        use(first, values, n);
    }
}

/// The shares of a tile from the counts of its classes.
void setShares(const std::uint32_t* counts, double clipLimit, bool areValues, float* shares) {
    double total = 0.0;
    for (std::size_t k = 0; k < classes; ++k) {
        total += counts[k];
    }
    const double limit = std::max(1.0, clipLimit * total);
    double excess = 0.0;
    for (std::size_t k = 0; k < classes; ++k) {
        excess += std::max(0.0, counts[k] - limit);
    }
    double below = 0.0;
    for (std::size_t k = 0; k < classes; ++k) {
        const double lower = total > 0.0 ? below / total : static_cast<double>(k) / classes;
        below += std::min<double>(counts[k], limit) + excess / classes;
        const double upper = total > 0.0 ? below / total : static_cast<double>(k + 1) / classes;
        shares[k] = static_cast<float>(areValues ? upper : lower);
    }
    shares[classes] = 1.0F;
}

/// Counts the finite values of a row of a tile.
void countValues(const double* row, std::size_t count, const TileClasses& of, const TileKernels& kernels,
                 std::uint32_t* counts) {
    inPieces(row, count, [&](std::size_t /*first*/, const double* values, std::size_t n) {
        std::int32_t classOf[pieceLength];
        kernels.classesOf(values, inVectors(n), of, classOf);
        for (std::size_t i = 0; i < n; ++i) {
            const bool isCounted = of.areValues || std::isfinite(values[i]);
            counts[i % countTables * classes + static_cast<std::size_t>(classOf[i])] += isCounted ? 1U : 0U;
        }
    });
}

/// The shares of all tiles, those of a row of tiles one behind the other.
Shares sharesOf(access::ExecutionContext& context, const ImageModel& input, const TileClasses& of,
                const TileKernels& kernels, const std::array<TileAxis, 3>& axes, double clipLimit) {
    const auto& [columns, rows, planes] = axes;
    Shares shares(columns.tiles() * rows.tiles() * planes.tiles() * entries);
    const double voxels =
        static_cast<double>(input.getNumOf(COLUMNS)) * static_cast<double>(rows.end(0) * planes.end(0));
    access::forEachPart(context, rows.tiles() * planes.tiles(), voxels * nanosecondsPerCount, [&](std::size_t part) {
        access::RowReader<double> reader(input);
        const std::size_t tileRow = part % rows.tiles();
        const std::size_t tilePlane = part / rows.tiles();
        for (std::size_t first = 0; first < columns.tiles(); first += tilesAtATime) {
            const std::size_t end = std::min(first + tilesAtATime, columns.tiles());
            std::uint32_t counts[tilesAtATime][countTables * classes] = {};
            access::RowSegment segment;
            segment.column = columns.begin(first);
            segment.count = columns.end(end - 1) - segment.column;
            for (segment.plane = planes.begin(tilePlane); segment.plane < planes.end(tilePlane); ++segment.plane) {
                for (segment.row = rows.begin(tileRow); segment.row < rows.end(tileRow); ++segment.row) {
                    const double* const row = reader.read(segment);
                    for (std::size_t tile = first; tile < end; ++tile) {
                        const std::size_t begin = columns.begin(tile);
                        countValues(row + (begin - segment.column), columns.end(tile) - begin, of, kernels,
                                    counts[tile - first]);
                    }
                }
            }
            for (std::size_t tile = first; tile < end; ++tile) {
                std::uint32_t* const ofTile = counts[tile - first];
                std::transform(ofTile, ofTile + classes, ofTile + classes, ofTile, std::plus<>());
                float ofClasses[entries];
                setShares(ofTile, clipLimit, of.areValues, ofClasses);
                SharePair* const pairs = shares.data() + (part * columns.tiles() + tile) * entries;
                for (std::size_t k = 0; k < entries; ++k) {
                    pairs[k].ofTile = ofClasses[k];
                    if (tile > 0) {
                        (pairs + k - entries)->ofNext = ofClasses[k];
                    }
                }
            }
        }
    });
    return shares;
}

}  // namespace

TileAxis::TileAxis(std::size_t extent, std::size_t size)
    : m_extent(extent), m_size(std::min(extent, size)), m_tiles((extent - 1) / m_size + 1) {}

std::size_t TileAxis::end(std::size_t tile) const {
    return std::min(m_extent, (tile + 1) * m_size);
}

double TileAxis::centre(std::size_t tile) const {
    return 0.5 * static_cast<double>(begin(tile) + end(tile) - 1);
}

TileAxis::Between TileAxis::at(std::size_t element) const {
    const auto place = static_cast<double>(element);
    const std::size_t tile = element / m_size;
    const std::size_t first = place < centre(tile) && tile > 0 ? tile - 1 : tile;
    if (place <= centre(first) || first + 1 == m_tiles) {
        return {first, first, 0.0F};
    }
    const double distance = (place - centre(first)) / (centre(first + 1) - centre(first));
    return {first, first + 1, static_cast<float>(distance)};
}

void TileEqualization::run(BaseAlgorithm& algorithm, OptimLevelType level, const ImageModel& input,
                           ImageModel& output) const {
    access::ExecutionContext& context = algorithm.executionContext();
    const bool areValues = helper::getSizeOf(input.getVoxelType()) == 1;
    analysis::GreyRange range = areValues ? fullRangeOf(input, {}) : analysis::extremesOf(context, level, input);
    if (!range.hasValues()) {
        range = {0.0, 0.0};
    }
    const analysis::GreyRange full = fullRangeOf(input, range);
    const TileClasses of{range.minimum, range.maximum, areValues};
    const TileKernels kernels = tileKernels(level);
    const std::array<TileAxis, 3> axes{TileAxis(input.getNumOf(COLUMNS), m_sizes[0]),
                                       TileAxis(input.getNumOf(ROWS), m_sizes[1]),
                                       TileAxis(input.getNumOf(PLANS), m_sizes[2])};
    const Shares shares = sharesOf(context, input, of, kernels, axes, m_clipLimit);
    const auto& [columns, rows, planes] = axes;
    const std::size_t width = input.getNumOf(COLUMNS);
    access::CountedVector<std::int32_t> tiles(width + TileKernels::vector);
    access::CountedVector<float> ways(tiles.size());
    for (std::size_t x = 0; x < tiles.size(); ++x) {
        const TileAxis::Between between = columns.at(std::min(x, width - 1));
        tiles[x] = static_cast<std::int32_t>(between.first);
        ways[x] = between.share;
    }
    const access::RoundingRow round = access::roundingRow(RIX_FLOAT64, output.getVoxelType(), level);
    const std::size_t outputBytes = helper::getElementSize(output);
    const access::Plan plan =
        access::cutBoxes({&input}, {&output}, {.reach = {}, .nanosecondsPerVoxel = nanosecondsPerVoxel});
    access::run(context, plan, [&](const access::Block& block) {
        access::RowReader<double> reader(input, plan);
        access::RawRowWriter writer(output, plan);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const double* const in = reader.read(segment);
            const TileAxis::Between y = rows.at(segment.row);
            const TileAxis::Between z = planes.at(segment.plane);
            TileRow tileRows[4];
            TileMap map{of, full.minimum, full.maximum, tileRows, 0};
            const auto add = [&](std::size_t tileRow, std::size_t tilePlane, float weight) {
                if (weight != 0.0F) {
                    const std::size_t first = (tilePlane * rows.tiles() + tileRow) * columns.tiles() * entries;
                    tileRows[map.numberOfTileRows++] = {shares.data() + first, weight};
                }
            };
            add(y.first, z.first, (1.0F - y.share) * (1.0F - z.share));
            add(y.second, z.first, y.share * (1.0F - z.share));
            add(y.first, z.second, (1.0F - y.share) * z.share);
            add(y.second, z.second, y.share * z.share);
            const RawData out = writer.open(segment);
            inPieces(in, segment.count, [&](std::size_t first, double* values, std::size_t n) {
                const std::size_t column = segment.column + first;
                kernels.map(values, inVectors(n), map, tiles.data() + column, ways.data() + column);
                round(values, out + first * outputBytes, n);
            });
            writer.flush();
        });
    });
}

std::size_t TileEqualization::memory(const std::array<std::size_t, 3>& extents, std::size_t threads) const {
    const std::array<TileAxis, 3> axes{TileAxis(extents[0], m_sizes[0]), TileAxis(extents[1], m_sizes[1]),
                                       TileAxis(extents[2], m_sizes[2])};
    const std::size_t tiles = axes[0].tiles() * axes[1].tiles() * axes[2].tiles();
    // Rows as they are, in double precision, and in the output's type.
    const std::size_t rows = 3 * access::Scratch::held(extents[0] * sizeof(double));
    const std::size_t columns = (extents[0] + TileKernels::vector) * (sizeof(std::int32_t) + sizeof(float));
    return tiles * entries * sizeof(SharePair) + columns + threads * rows;
}

}  // namespace rix::manipulation
