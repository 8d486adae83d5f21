#pragma once

#include <cstddef>

#include <rix/access/MemoryAccount.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/analysis/GreyCounts.h>

namespace rix::manipulation {

/// How the grey values of an image are distributed: how many voxels lie in classes of equal width between a minimum and
/// a maximum, or have each value of a small type.
struct GreyDistribution {
    analysis::GreyRange range;
    bool isOfValues;              ///< class k holds the value `range.minimum` + k alone
    analysis::GreyCounts counts;  ///< none when no voxel is finite
};

/// Of a type of 8 or 16 bits by values, of others in classes between the extreme values. Two steps of the run.
GreyDistribution distributionOf(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
                                std::size_t classes);

/// Peak bytes of working memory of `distributionOf`, with what is returned.
std::size_t distributionMemory(const ImageModel& image, std::size_t classes, std::size_t threads);

/// The smallest and the largest value of the type of an image of 8 or 16 bits; of others the range of its values.
analysis::GreyRange fullRangeOf(const ImageModel& image, const analysis::GreyRange& range);

/// What grey values become: entries at equal distances from a minimum to a maximum, linear between them, the ends
/// beyond. NaN stays.
struct GreyMap {
    double minimum;
    double maximum;
    access::CountedVector<double> entries;  ///< two or more

    double at(double value) const;
};

/// Replaces all grey values of an image; see `applyFunction`. One step of the run.
void applyMap(BaseAlgorithm& algorithm, const ImageModel& input, const GreyMap& map, ImageModel& output,
              OptimLevelType level);

}  // namespace rix::manipulation
