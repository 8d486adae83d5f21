#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

/// What other modules ask of the grey values of an image without a run of an algorithm. The samples are taken as they
/// are, whatever the image's interpretation; NaN and infinities have no part. Each call is one step of the run.
namespace rix::analysis {

struct GreyRange {
    double minimum;
    double maximum;

    /// False when no voxel is finite: both are NaN.
    bool hasValues() const { return minimum <= maximum; }
};

/// The extreme values of an image of a real type.
GreyRange extremesOf(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image);

/// Quantiles of an image of a real type, as `ImageStatistics` has them; NaN when no voxel is finite.
/// @param shares from 0 to 1
std::vector<double> quantilesOf(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
                                std::span<const double> shares);
/// Peak bytes of working memory.
std::size_t quantilesMemory(const ImageModel& image, std::size_t shares, std::size_t threads);

using GreyCounts = access::CountedVector<std::uint64_t>;

/// Whether every value of an image's type is counted by itself: those of 8 and 16 bits.
bool hasValueCounts(VoxelTypes type);
/// How often each value of a type of 8 or 16 bits occurs, from the lowest value of the type on.
GreyCounts countsOfValues(access::ExecutionContext& context, const ImageModel& image);

/// How many voxels lie in each of 1 to 65535 classes of equal width over a range, as `math::Histogram` has them.
GreyCounts countsOfClasses(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
                           const GreyRange& range, std::size_t classes);

/// Peak bytes of working memory of either kind of counts, with what is returned.
std::size_t countsMemory(const ImageModel& image, std::size_t classes, std::size_t threads);

}  // namespace rix::analysis
