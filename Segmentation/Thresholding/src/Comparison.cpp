#include "Comparison.h"

#include <cmath>
#include <limits>
#include <type_traits>

#include <rix/access/VoxelTypeLists.h>
#include <rix/properties/Scalar.h>

namespace rix::segmentation {

namespace {

using Criterion = ThresholdingByCriterion;
using Kind = Comparison::Kind;

/// Voxels are integers of type T: only the integers next to the value matter.
template <class T>
Comparison reduceForIntegers(Criterion::CriterionType criterion, double value) {
    constexpr double lowest = std::numeric_limits<T>::min();
    constexpr double highest = std::numeric_limits<T>::max();
    const auto never = [] { return Comparison{Kind::Never}; };
    const auto always = [] { return Comparison{Kind::Always}; };
    const auto compare = [&](double threshold) {
        return Comparison{Kind::Compare, criterion, threshold, access::voxelTypeOf<T>};
    };
    if (std::isnan(value)) {
        return criterion == Criterion::NOT_EQUAL_TO ? always() : never();
    }
    const double up = std::ceil(value);
    const double down = std::floor(value);
    switch (criterion) {
        case Criterion::LESS_THAN: return up > highest ? always() : up <= lowest ? never() : compare(up);
        case Criterion::LESS_THAN_OR_EQUAL_TO:
            return down >= highest ? always() : down < lowest ? never() : compare(down);
        case Criterion::GREATER_THAN_OR_EQUAL_TO: return up <= lowest ? always() : up > highest ? never() : compare(up);
        case Criterion::GREATER_THAN: return down < lowest ? always() : down >= highest ? never() : compare(down);
        case Criterion::EQUAL_TO:
        case Criterion::NOT_EQUAL_TO:
            if (up == down && up >= lowest && up <= highest) {
                return compare(up);
            }
            return criterion == Criterion::EQUAL_TO ? never() : always();
    }
    return never();
}

/// Voxels are single-precision numbers, the value may lie between two of them.
Comparison reduceForSingle(Criterion::CriterionType criterion, double value) {
    const auto compare = [](Criterion::CriterionType same, double threshold) {
        return Comparison{Kind::Compare, same, threshold, RIX_FLOAT32};
    };
    constexpr float infinity = std::numeric_limits<float>::infinity();
    // Above the largest finite float the conversion itself is undefined; infinity is the next float.
    const float nearest = std::isfinite(value) && std::abs(value) > std::numeric_limits<float>::max()
                              ? (value > 0 ? infinity : -infinity)
                              : static_cast<float>(value);
    if (std::isnan(value) || static_cast<double>(nearest) == value) {
        return compare(criterion, value);
    }
    const float up = static_cast<double>(nearest) > value ? nearest : std::nextafter(nearest, infinity);
    const float down = static_cast<double>(nearest) < value ? nearest : std::nextafter(nearest, -infinity);
    switch (criterion) {
        case Criterion::LESS_THAN:
        case Criterion::LESS_THAN_OR_EQUAL_TO: return compare(Criterion::LESS_THAN, up);
        case Criterion::GREATER_THAN:
        case Criterion::GREATER_THAN_OR_EQUAL_TO: return compare(Criterion::GREATER_THAN, down);
        case Criterion::EQUAL_TO: return {Kind::Never};
        case Criterion::NOT_EQUAL_TO: break;
    }
    return {Kind::Always};
}

}  // namespace

Comparison reduceComparison(VoxelTypes voxelType, Criterion::CriterionType criterion, double value) {
    const VoxelTypes common = helper::lesserCommonType(Scalar(value).smallestContainingType(false), voxelType);
    // The one common type that does not hold every voxel: the voxels are then the wrapped ones.
    const bool wraps = voxelType == RIX_UINT32 && common == RIX_INT32;
    const bool fits =
        value >= std::numeric_limits<std::int32_t>::min() && value <= std::numeric_limits<std::int32_t>::max();
    Comparison result;
    access::dispatch(access::Reals{}, wraps && fits ? common : voxelType, [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (std::is_integral_v<T>) {
            result = reduceForIntegers<T>(criterion, value);
        } else if constexpr (std::is_same_v<T, float>) {
            result = reduceForSingle(criterion, value);
        } else {
            result = {Kind::Compare, criterion, value, RIX_FLOAT64};
        }
    });
    return result;
}

}  // namespace rix::segmentation
