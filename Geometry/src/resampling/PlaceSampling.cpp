#include "resampling/PlaceSampling.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>

#include <rix/access/Plan.h>
#include <rix/access/RoundedCast.h>
#include <rix/access/RoundingKernels.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/SampleCast.h>
#include <rix/access/Scratch.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WholeImage.h>
#include <rix/image/ImageHeader.h>
#include <rix/image/SampleMemory.h>

#include "resampling/PlaceKernels.h"
#include "resampling/PlaceRegions.h"
#include "resampling/PlaceTable.h"
#include "resampling/SplineCoefficients.h"

namespace rix::geometry {

namespace {

using access::Block;
using access::Interval;
using access::Plan;
using access::Position;
using access::RowSegment;
using access::Scratch;
using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// The tiles of an output: of so many elements that what they read of the input fits the caches.
constexpr std::size_t tileColumns = 128;
constexpr std::size_t tileRows = 64;
constexpr std::size_t brickColumns = 64;
constexpr std::size_t brickRows = 16;
constexpr std::size_t brickPlanes = 16;

/// The bytes of a region that is copied, if it need not be larger.
std::size_t regionBytes() {
    return std::min(access::blockBytes(), access::usualBlockBytes);
}

Plan cutTiles(const Extents& extents, const PlaceJob& job) {
    Plan plan(extents, access::JoinedAxes::None);
    const bool isPlanar = job.axes == 2;
    const auto step = [&](Components axis, std::size_t planar, std::size_t spatial) {
        const std::size_t usual = isPlanar ? planar : spatial;
        plan.cut(axis, {1, std::min(extents[axis],
                                    std::max(access::scaledToBlocks(usual), std::min<std::size_t>(usual, 4)))});
    };
    step(COLUMNS, tileColumns, brickColumns);
    step(ROWS, tileRows, brickRows);
    if (isPlanar) {
        plan.cut(PLANS, {1, 1});  // each reads a plane of its own
    } else {
        step(PLANS, brickPlanes, brickPlanes);
    }
    plan.cut(SEQUENCE, {1, 1});
    plan.cut(SPECTRAL_SERIES, {1, 1});
    const double nanoseconds = std::pow(job.degree + 1.0, static_cast<double>(job.axes)) * 0.5 + 1.0;
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanoseconds < access::smallWorkNanoseconds());
    return plan;
}

/// The smallest place of a block on an axis, and the greatest: those of corners, since each rounding keeps the order of
/// values.
std::pair<double, double> placesOf(const Block& block, const access::RegionMap& map, std::size_t axis) {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (unsigned corner = 0; corner < 8; ++corner) {
        const auto index = [&](Components i) {
            return (corner >> i & 1U) != 0 ? block.axes[i].end - 1 : block.axes[i].begin;
        };
        const double place = map.place(axis, index(COLUMNS), index(ROWS), index(PLANS));
        low = std::min(low, place);
        high = std::max(high, place);
    }
    return {low, high};
}

/// Goes through the elements of a tile, in parts whose regions fit.
template <class Sample, class Reader = RegionReader<Sample>>
class TileSampler {
public:
    TileSampler(const ImageModel& input, const PlaceJob& job, const Plan& plan)
        : m_job(job), m_extents(helper::getExtents(input)), m_reader(input, regionBytes()) {
        if (job.makeFinder) {
            m_table.emplace(job, largestTile(plan));
        }
    }

    static std::size_t bytes(const PlaceJob& job, const Plan& plan) {
        return Reader::held(regionBytes()) +
               (job.makeFinder ? Scratch::held(PlaceTable::bytes(job, largestTile(plan))) + job.finderBytes : 0);
    }

    /// Calls `use(row, position)` for rows of elements.
    template <class Use>
    void forEachRow(const Block& block, const Use& use) {
        if (m_table) {
            m_table->fill(block);
        }
        forEachRowOf(block, use);
    }

private:
    static std::size_t largestTile(const Plan& plan) {
        return plan.largestPart(COLUMNS) * plan.largestPart(ROWS) * plan.largestPart(PLANS);
    }

    template <class Use>
    void forEachRowOf(const Block& block, const Use& use) {
        Position at;
        at.plane = block.planes().begin;
        at.sequence = block.sequence();
        at.spectral = block.spectral();
        const Ranges ranges = rangesOf(block);
        const Region region = regionOf(ranges);
        PlaceRow row = rowOf(ranges);
        if (block.voxels() > 1 && (!m_reader.fits(region) || isScattered(region, block))) {
            split(block, use);
            return;
        }
        m_reader.copy(region, at, m_job.axes, row);
        block.forEachRow([&](const Position& place) {
            row.first = static_cast<double>(place.column);
            row.count = block.columns().length();
            for (std::size_t axis = 0; axis < m_job.axes; ++axis) {
                row.start[axis] = m_job.map.start(axis, place.row, place.plane);
                row.table[axis] = m_table ? m_table->at(place, axis) : nullptr;
            }
            use(row, place);
        });
    }

    template <class Use>
    void split(const Block& block, const Use& use) {
        Components longest = COLUMNS;
        for (const Components axis : {ROWS, PLANS}) {
            longest = block.axes[axis].length() > block.axes[longest].length() ? axis : longest;
        }
        Block half = block;
        const std::size_t middle = block.axes[longest].begin + block.axes[longest].length() / 2;
        half.axes[longest].end = middle;
        forEachRowOf(half, use);
        half.axes[longest] = {middle, block.axes[longest].end};
        forEachRowOf(half, use);
    }

    /// Places that come from everywhere are read one by one rather than with all that lies between them.
    bool isScattered(const Region& region, const Block& block) const {
        constexpr double mostSamplesOfPlace = 256;
        return m_table && region.samples() > mostSamplesOfPlace * static_cast<double>(block.voxels());
    }

    bool clamps() const { return m_job.border != access::BorderPolicy::MIRROR; }

    /// The smallest places of a block, and the greatest.
    using Ranges = std::array<std::pair<double, double>, 3>;
    Ranges rangesOf(const Block& block) const {
        Ranges ranges{};
        for (std::size_t axis = 0; axis < m_job.axes; ++axis) {
            ranges[axis] = m_table ? m_table->range(block, axis) : placesOf(block, m_job.map, axis);
        }
        return ranges;
    }

    /// What is the same for all rows of a block.
    PlaceRow rowOf(const Ranges& ranges) const {
        PlaceRow row{};
        row.axes = m_job.axes;
        bool isInside = true;
        for (std::size_t axis = 0; axis < m_job.axes; ++axis) {
            row.slope[axis] = m_job.map.matrix[axis][COLUMNS];
            row.last[axis] = static_cast<double>(m_extents[axis] - 1);
            isInside = isInside && ranges[axis].first >= 0.0 && ranges[axis].second <= row.last[axis];
        }
        row.clamps = clamps() && !isInside;
        row.mixes = row.clamps && m_job.border == access::BorderPolicy::FIXED;
        return row;
    }

    Region regionOf(const Ranges& ranges) const {
        Region region;
        region.count = {1, 1, 1};
        for (std::size_t axis = 0; axis < m_job.axes; ++axis) {
            auto [low, high] = ranges[axis];
            const auto last = static_cast<double>(m_extents[axis] - 1);
            if (clamps()) {
                low = std::clamp(low, 0.0, last);
                high = std::clamp(high, 0.0, last);
            }
            const double offset = m_job.degree % 2 == 0 ? 0.5 : 0.0;
            region.begin[axis] = static_cast<std::int64_t>(std::floor(low + offset)) - tapsBefore(m_job.degree);
            const auto end = static_cast<std::int64_t>(std::floor(high + offset)) + tapsAfter(m_job.degree) + 1;
            region.count[axis] = static_cast<std::size_t>(end - region.begin[axis]);
        }
        return region;
    }

    const PlaceJob& m_job;
    Extents m_extents;
    Reader m_reader;
    std::optional<PlaceTable> m_table;
};

/// @param interpolate makes a row
template <class T, class Sampler, class Interpolate>
void interpolateTiles(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                      const PlaceJob& job, OptimLevelType level, const Interpolate& interpolate) {
    // Rows of results end with a vector of four.
    constexpr std::size_t vector = 4;
    const Plan plan = cutTiles(helper::getExtents(output), job);
    const access::RoundingRow round = access::roundingRow(access::voxelTypeOf<T>, output.getVoxelType(), level);
    const bool isRounded = output.getVoxelType() != access::voxelTypeOf<T>;
    access::run(context, plan, [&](const Block& block, access::BlockProgress& progress) {
        Sampler sampler(input, job, plan);
        ResultRows rows(output, plan);
        const Scratch results((plan.largestPart(COLUMNS) + vectorSpace) * sizeof(T));
        sampler.forEachRow(block, [&](const PlaceRow& row, const Position& at) {
            const RawData to = rows.open({at, row.count});
            if (isRounded || row.count % vector != 0) {
                interpolate(row, results.as<T>());
                round(results.as<T>(), to, row.count);
            } else {
                interpolate(row, reinterpret_cast<T*>(to));
            }
            rows.flush();
            progress.add(row.count);
        });
    });
}

/// Whether an image is sampled linearly in its bytes.
bool samplesBytes(const ImageModel& input, const PlaceJob& job) {
    return job.axes == 2 && job.degree == 1 && input.getVoxelType() == RIX_UINT8 &&
           input.getInterpretation() != RIX_BINARY;
}

template <class T>
void interpolatePlaces(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                       const PlaceJob& job, OptimLevelType level) {
    const auto value = static_cast<T>(job.borderValue);
    if constexpr (std::is_same_v<T, float>) {
        if (samplesBytes(input, job)) {
            const BytesRow bytes = bytesRow(level);
            interpolateTiles<T, TileSampler<std::uint8_t, BytePairReader>>(
                context, input, output, job, level, [&](const PlaceRow& row, float* out) { bytes(row, value, out); });
            return;
        }
    }
    const PlaceKernels<T> kernels = placeKernels<T>(level);
    interpolateTiles<T, TileSampler<T>>(context, input, output, job, level, [&](const PlaceRow& row, T* out) {
        kernels.interpolate(row, job.degree, value, out);
    });
}

template <class T>
void pickNearest(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const PlaceJob& job,
                 OptimLevelType level) {
    const Plan plan = cutTiles(helper::getExtents(output), job);
    const NearestRow nearest = nearestRow(sizeof(T), level);
    T value = access::roundedSample<T>(job.borderValue);
    if (input.getInterpretation() == RIX_BINARY) {
        value = value != T(0) ? T(1) : T(0);
    }
    access::run(context, plan, [&](const Block& block, access::BlockProgress& progress) {
        TileSampler<T> sampler(input, job, plan);
        ResultRows rows(output, plan);
        sampler.forEachRow(block, [&](const PlaceRow& row, const Position& at) {
            nearest(row, &value, rows.open({at, row.count}));
            rows.flush();
            progress.add(row.count);
        });
    });
}

SplineAxes splineAxesOf(const PlaceJob& job) {
    return {true, true, job.axes == 3};
}

template <class T, class Sampler = TileSampler<T>>
std::size_t bytesOfTiles(const ImageModel& input, const Extents& extents, const PlaceJob& job, std::size_t threads) {
    const Plan plan = cutTiles(extents, job);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    // A row of a region that is converted is as long as the image at most.
    const bool isConverted = input.getVoxelType() != access::voxelTypeOf<T> || input.getInterpretation() == RIX_BINARY;
    const std::size_t converted = std::min(input.getNumOf(COLUMNS) * sizeof(T), RegionReader<T>::bytes(regionBytes()));
    // Where parts are cut by what is found there, a longer row takes the place of a shorter one that is still held.
    const std::size_t rows = job.makeFinder ? 2 : 1;
    return atOnce * (Sampler::bytes(job, plan) + (isConverted ? rows * Scratch::held(converted) : 0) +
                     (job.degree > 0 ? Scratch::held((plan.largestPart(COLUMNS) + vectorSpace) * sizeof(T)) : 0));
}

}  // namespace

std::size_t placeTileColumns(const Extents& extents, std::size_t axes) {
    PlaceJob job;
    job.axes = axes;
    return cutTiles(extents, job).largestPart(COLUMNS);
}

bool placesAreNear(const access::RegionMap& map, const Extents& extents) {
    Block all;
    for (std::size_t axis = 0; axis < extents.size(); ++axis) {
        all.axes[axis] = {0, extents[axis]};
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto [low, high] = placesOf(all, map, axis);
        if (!(low >= -farthestPlace && high <= farthestPlace)) {
            return false;
        }
        for (const double part : map.matrix[axis]) {
            if (!std::isfinite(part)) {
                return false;
            }
        }
    }
    return true;
}

void samplePlaces(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const PlaceJob& job,
                  OptimLevelType level) {
    if (job.degree == 0) {
        access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
            pickNearest<typename decltype(tag)::type>(context, input, output, job, level);
        });
        return;
    }
    const VoxelTypes work = splineWorkType(input.getVoxelType());
    const auto sample = [&](const ImageModel& from) {
        if (work == RIX_FLOAT64) {
            interpolatePlaces<double>(context, from, output, job, level);
        } else {
            interpolatePlaces<float>(context, from, output, job, level);
        }
    };
    if (job.degree == 1) {
        sample(input);
        return;
    }
    const access::Steps steps(context, {1.0, 2.0});
    access::TemporaryImage coefficients(input, work);
    computeSplineCoefficients(context, input, coefficients.image(), job.degree, splineAxesOf(job), level);
    sample(coefficients.image());
}

std::size_t placeSamplingMemory(const ImageModel& input, const Extents& extents, const PlaceJob& job,
                                std::size_t threads) {
    if (job.degree == 0) {
        std::size_t bytes = 0;
        access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
            bytes = bytesOfTiles<typename decltype(tag)::type>(input, extents, job, threads);
        });
        return bytes;
    }
    const VoxelTypes work = splineWorkType(input.getVoxelType());
    const auto tiles = [&](const ImageModel& from) {
        return work == RIX_FLOAT64 ? bytesOfTiles<double>(from, extents, job, threads)
                                   : bytesOfTiles<float>(from, extents, job, threads);
    };
    if (samplesBytes(input, job)) {
        return bytesOfTiles<float, TileSampler<std::uint8_t, BytePairReader>>(input, extents, job, threads);
    }
    if (job.degree == 1) {
        return tiles(input);
    }
    ImageHeader header = helper::headerOf(input);
    header.voxelType = work;
    return access::TemporaryImage::bytes(input, work) +
           std::max(splineCoefficientsMemory(input, work, splineAxesOf(job), threads), tiles(HeaderImage(header)));
}

}  // namespace rix::geometry
