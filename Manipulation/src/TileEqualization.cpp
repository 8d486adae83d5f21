#include "TileEqualization.h"

#include <algorithm>
#include <cmath>

#include <rix/access/RoundingKernels.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

#include "GreyMap.h"

namespace rix::manipulation {

namespace {

constexpr std::size_t classes = 256;
/// Shares at the lower ends of the classes, and 1; of values, shares up to each, and one that is not looked at.
constexpr std::size_t entries = classes + 1;
constexpr double nanosecondsPerCount = 2.0;
constexpr double nanosecondsPerVoxel = 8.0;

using Shares = access::CountedVector<float>;

/// The place of a grey value among the classes.
class Classes {
public:
    Classes(const analysis::GreyRange& range, bool areValues)
        : m_range(range), m_length(range.maximum * 0.5 - range.minimum * 0.5), m_areValues(areValues) {}

    /// From 0 to the number of classes; NaN for NaN.
    double placeOf(double value) const {
        if (m_areValues) {
            return value - m_range.minimum;
        }
        if (!(value > m_range.minimum)) {
            return value == value ? 0.0 : value;
        }
        return value < m_range.maximum ? (value * 0.5 - m_range.minimum * 0.5) / m_length * classes : double{classes};
    }
    static std::size_t classAt(double place) { return std::min(static_cast<std::size_t>(place), classes - 1); }
    bool areValues() const { return m_areValues; }

private:
    analysis::GreyRange m_range;
    double m_length;
    bool m_areValues;
};

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

/// The shares of all tiles, those of a row of tiles one behind the other.
Shares sharesOf(access::ExecutionContext& context, const ImageModel& input, const Classes& place,
                const std::array<TileAxis, 3>& axes, double clipLimit) {
    const auto& [columns, rows, planes] = axes;
    Shares shares(columns.tiles() * rows.tiles() * planes.tiles() * entries);
    const std::size_t width = input.getNumOf(COLUMNS);
    const double voxels = static_cast<double>(width) * static_cast<double>(rows.end(0) * planes.end(0));
    access::forEachPart(context, rows.tiles() * planes.tiles(), voxels * nanosecondsPerCount, [&](std::size_t part) {
        access::CountedVector<std::uint32_t> counts(columns.tiles() * classes);
        access::RowReader<double> reader(input);
        const std::size_t tileRow = part % rows.tiles();
        const std::size_t tilePlane = part / rows.tiles();
        access::RowSegment segment;
        segment.count = width;
        for (segment.plane = planes.begin(tilePlane); segment.plane < planes.end(tilePlane); ++segment.plane) {
            for (segment.row = rows.begin(tileRow); segment.row < rows.end(tileRow); ++segment.row) {
                const double* const row = reader.read(segment);
                for (std::size_t tile = 0; tile < columns.tiles(); ++tile) {
                    std::uint32_t* const ofTile = counts.data() + tile * classes;
                    for (std::size_t x = columns.begin(tile); x < columns.end(tile); ++x) {
                        if (std::isfinite(row[x])) {
                            ++ofTile[Classes::classAt(place.placeOf(row[x]))];
                        }
                    }
                }
            }
        }
        for (std::size_t tile = 0; tile < columns.tiles(); ++tile) {
            setShares(counts.data() + tile * classes, clipLimit, place.areValues(),
                      shares.data() + (part * columns.tiles() + tile) * entries);
        }
    });
    return shares;
}

/// A row of shares of tiles, of which the tiles around a voxel are looked up, and its weight.
struct TileRow {
    const float* shares;
    float weight;
};

/// Replaces a row of values by their shares.
void mapRow(double* row, std::size_t firstColumn, std::size_t count, const Classes& classesOf, const TileAxis& columns,
            const std::array<TileRow, 4>& tileRows, const analysis::GreyRange& full) {
    for (std::size_t i = 0; i < count; ++i) {
        const double place = classesOf.placeOf(row[i]);
        if (place != place) {
            continue;
        }
        const std::size_t k = Classes::classAt(place);
        const auto way = classesOf.areValues() ? 0.0F : static_cast<float>(place - static_cast<double>(k));
        const TileAxis::Between between = columns.at(firstColumn + i);
        float share = 0.0F;
        for (const TileRow& tileRow : tileRows) {
            if (tileRow.weight == 0.0F) {
                continue;
            }
            const float* const first = tileRow.shares + between.first * entries + k;
            const float* const second = tileRow.shares + between.second * entries + k;
            const float ofFirst = first[0] + (first[1] - first[0]) * way;
            const float ofSecond = second[0] + (second[1] - second[0]) * way;
            share += tileRow.weight * (ofFirst + (ofSecond - ofFirst) * between.share);
        }
        const double bounded = std::min(static_cast<double>(share), 1.0);
        row[i] = full.minimum * (1.0 - bounded) + full.maximum * bounded;
    }
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
    const Classes place(range, areValues);
    const std::array<TileAxis, 3> axes{TileAxis(input.getNumOf(COLUMNS), m_sizes[0]),
                                       TileAxis(input.getNumOf(ROWS), m_sizes[1]),
                                       TileAxis(input.getNumOf(PLANS), m_sizes[2])};
    const Shares shares = sharesOf(context, input, place, axes, m_clipLimit);
    const auto& [columns, rows, planes] = axes;
    const access::RoundingRow round = access::roundingRow(RIX_FLOAT64, output.getVoxelType(), level);
    const access::Plan plan =
        access::cutBoxes({&input}, {&output}, {.reach = {}, .nanosecondsPerVoxel = nanosecondsPerVoxel});
    access::run(context, plan, [&](const access::Block& block) {
        access::RowReader<double> reader(input, plan);
        access::RawRowWriter writer(output, plan);
        const access::Scratch values(block.columns().length() * sizeof(double));
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const double* const in = reader.read(segment);
            std::copy_n(in, segment.count, values.as<double>());
            const TileAxis::Between y = rows.at(segment.row);
            const TileAxis::Between z = planes.at(segment.plane);
            const auto rowOf = [&](std::size_t tileRow, std::size_t tilePlane, float weight) {
                return TileRow{shares.data() + (tilePlane * rows.tiles() + tileRow) * columns.tiles() * entries,
                               weight};
            };
            const std::array<TileRow, 4> tileRows{rowOf(y.first, z.first, (1.0F - y.share) * (1.0F - z.share)),
                                                  rowOf(y.second, z.first, y.share * (1.0F - z.share)),
                                                  rowOf(y.first, z.second, (1.0F - y.share) * z.share),
                                                  rowOf(y.second, z.second, y.share * z.share)};
            mapRow(values.as<double>(), segment.column, segment.count, place, columns, tileRows, full);
            round(values.data(), writer.open(segment), segment.count);
            writer.flush();
        });
    });
}

std::size_t TileEqualization::memory(const std::array<std::size_t, 3>& extents, std::size_t threads) const {
    const std::array<TileAxis, 3> axes{TileAxis(extents[0], m_sizes[0]), TileAxis(extents[1], m_sizes[1]),
                                       TileAxis(extents[2], m_sizes[2])};
    const std::size_t tiles = axes[0].tiles() * axes[1].tiles() * axes[2].tiles();
    // Rows as they are, in double precision, their results, and those in the output's type.
    const std::size_t rows = 4 * access::Scratch::held(extents[0] * sizeof(double));
    const std::size_t counts = axes[0].tiles() * classes * sizeof(std::uint32_t);
    return tiles * entries * sizeof(float) + threads * (rows + counts);
}

}  // namespace rix::manipulation
