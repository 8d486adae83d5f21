#include "CannyThresholds.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <mutex>
#include <numeric>
#include <optional>
#include <type_traits>

#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/Steps.h>

namespace rix::edge_detection {

namespace {

/// Calls `use` with the segments of one image of a job.
template <class Use>
void forEachRowOf(const ImageModel& all, std::size_t image, std::size_t axes, const Use& use) {
    const auto extents = helper::getExtents(all);
    const std::size_t planes = axes == 3 ? 1 : extents[PLANS];
    access::RowSegment segment;
    segment.count = extents[COLUMNS];
    segment.sequence = image / planes % extents[SEQUENCE];
    segment.spectral = image / planes / extents[SEQUENCE];
    const std::size_t first = axes == 3 ? 0 : image % planes;
    for (segment.plane = first; segment.plane < (axes == 3 ? extents[PLANS] : first + 1); ++segment.plane) {
        for (segment.row = 0; segment.row < extents[ROWS]; ++segment.row) {
            use(segment);
        }
    }
}

/// The quantile of the magnitudes of an image, by their bits, which for reals above 0 have the same order: digit after
/// digit. NaN has no part; 0 where there is nothing else.
template <class T>
T quantileOf(const ImageModel& magnitudes, std::size_t image, std::size_t axes, double quantile) {
    using Key = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    constexpr unsigned digits = 11;
    constexpr unsigned bits = sizeof(T) * 8;
    access::RowReader<T> reader(magnitudes);
    access::Looks looks;
    Key found = 0;
    std::uint64_t rank = 0;
    unsigned known = 0;
    while (known < bits) {
        const unsigned width = std::min(digits, bits - known);
        const unsigned shift = bits - known - width;
        const access::Scratch memory((std::size_t{1} << width) * sizeof(std::uint64_t));
        auto* const counts = memory.as<std::uint64_t>();
        std::fill_n(counts, std::size_t{1} << width, std::uint64_t{0});
        forEachRowOf(magnitudes, image, axes, [&](const access::RowSegment& segment) {
            const T* const row = reader.read(segment);
            for (std::size_t x = 0; x < segment.count; ++x) {
                const auto key = std::bit_cast<Key>(row[x]);
                if (known == 0 ? row[x] == row[x] : key >> (shift + width) == found) {
                    ++counts[key >> shift & ((Key{1} << width) - 1)];
                }
            }
            looks.add(segment.count / 64 + 1);
        });
        if (known == 0) {
            const auto all = std::accumulate(counts, counts + (std::size_t{1} << width), std::uint64_t{0});
            if (all == 0) {
                return T{0};
            }
            rank = static_cast<std::uint64_t>(quantile * static_cast<double>(all - 1));
        }
        Key digit = 0;
        while (rank >= counts[digit]) {
            rank -= counts[digit++];
        }
        found = static_cast<Key>(found << width | digit);
        known += width;
    }
    return std::bit_cast<T>(found);
}

/// The greatest magnitude of each image; NaN is none.
template <class T>
void findGreatest(access::ExecutionContext& context, const ImageModel& input, const FieldJob& job,
                  const EdgeMap& layout, OptimLevelType level, access::CountedVector<T>& greatest) {
    const auto kernels = fieldKernels<T>(level);
    std::mutex mutex;
    computeField<T>(context, {&input}, job, {}, level,
                    [&](const T* const* components, T* const* /*outs*/, const access::RowSegment& segment) {
                        const access::Scratch memory(segment.count * sizeof(T));
                        T* const row = memory.as<T>();
                        kernels.magnitude(components, job.components.size(), row, segment.count,
                                          access::Stores::Cached);
                        T most = 0;
                        for (std::size_t x = 0; x < segment.count; ++x) {
                            most = row[x] > most ? row[x] : most;
                        }
                        const std::lock_guard lock(mutex);
                        T& all = greatest[layout.imageOf(segment.plane, segment.sequence, segment.spectral)[0]];
                        all = std::max(all, most);
                    });
}

}  // namespace

template <class T>
access::CountedVector<std::array<T, 2>> cannyThresholds(access::ExecutionContext& context, const ImageModel& input,
                                                        const FieldJob& job, const ThresholdRule& rule,
                                                        const EdgeMap& layout, OptimLevelType level) {
    const std::size_t axes = job.components.size();
    const std::array<double, 2> given{rule.lower, rule.upper};
    const std::array<T, 2> fixed{static_cast<T>(rule.lower), static_cast<T>(rule.upper)};
    access::CountedVector<std::array<T, 2>> thresholds(layout.images(), fixed);
    if (!rule.needsGreatest() && !rule.needsMagnitudes()) {
        return thresholds;
    }
    const access::Steps steps(context, (rule.needsGreatest() ? 1U : 0U) + (rule.needsMagnitudes() ? 1U : 0U));
    if (rule.needsGreatest()) {
        access::CountedVector<T> greatest(layout.images(), T{0});
        findGreatest(context, input, job, layout, level, greatest);
        const std::array<double, 2> parts{lowerPart, upperPart};
        for (std::size_t image = 0; image < thresholds.size(); ++image) {
            for (const std::size_t k : {0U, 1U}) {
                if (given[k] < 0.0) {
                    thresholds[image][k] = static_cast<T>(parts[k] * static_cast<double>(greatest[image]));
                }
            }
        }
    }
    if (rule.needsMagnitudes()) {
        access::TemporaryImage magnitudes(input, access::voxelTypeOf<T>);
        static_cast<void>(magnitudes.image().setInterpretation(RIX_VALUE));
        const auto kernels = fieldKernels<T>(level);
        computeField<T>(context, {&input}, job, {{&magnitudes.image()}}, level,
                        [&](const T* const* components, T* const* outs, const access::RowSegment& segment) {
                            kernels.magnitude(components, axes, outs[0], segment.count, access::Stores::Cached);
                        });
        const auto extents = helper::getExtents(input);
        std::size_t voxels = 1;
        for (const std::size_t extent : extents) {
            voxels *= extent;
        }
        voxels /= layout.images();
        access::forEachPart(context, layout.images(), static_cast<double>(voxels) * 10.0, [&](std::size_t image) {
            for (const std::size_t k : {0U, 1U}) {
                if (given[k] >= 0.0) {
                    thresholds[image][k] = quantileOf<T>(magnitudes.image(), image, axes, given[k]);
                }
            }
        });
    }
    return thresholds;
}

template access::CountedVector<std::array<float, 2>> cannyThresholds<float>(access::ExecutionContext&,
                                                                            const ImageModel&, const FieldJob&,
                                                                            const ThresholdRule&, const EdgeMap&,
                                                                            OptimLevelType);
template access::CountedVector<std::array<double, 2>> cannyThresholds<double>(access::ExecutionContext&,
                                                                              const ImageModel&, const FieldJob&,
                                                                              const ThresholdRule&, const EdgeMap&,
                                                                              OptimLevelType);

}  // namespace rix::edge_detection
