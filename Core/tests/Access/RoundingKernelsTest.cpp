// Reals become integers by the definition, on every level and at every length of a row.

#include <rix/access/RoundingKernels.h>
#include <rix/access/VoxelTypeLists.h>

#include "Levels.h"
#include "Testing.h"

namespace rix::access {
namespace {

/// Values beside the ends of a type, ties, and what is no number.
template <class Real, class Out>
std::vector<Real> hardValues() {
    using Limits = std::numeric_limits<Real>;
    std::vector<Real> values{Limits::quiet_NaN(), Limits::infinity(),   -Limits::infinity(), Limits::max(),
                             Limits::lowest(),    Limits::denorm_min(), Real(-0.0)};
    for (const double centre : {0.0, 7.0, static_cast<double>(std::numeric_limits<Out>::min()),
                                static_cast<double>(std::numeric_limits<Out>::max())}) {
        for (const double step : {0.0, 0.5, 1.0, 1.5, 2.5, 0.499, 0.501}) {
            values.push_back(static_cast<Real>(centre + step));
            values.push_back(static_cast<Real>(centre - step));
        }
    }
    return values;
}

template <class Real, class Out>
Out nearest(Real value) {
    using Limits = std::numeric_limits<Out>;
    if (std::isnan(value)) {
        return 0;
    }
    const double within =
        std::clamp(static_cast<double>(value), static_cast<double>(Limits::min()), static_cast<double>(Limits::max()));
    return static_cast<Out>(std::nearbyint(within));
}

TEST(RoundingKernels, RoundToNearestAndClampOnEveryLevel) {
    for (const VoxelTypes from : {RIX_FLOAT32, RIX_FLOAT64}) {
        for (const VoxelTypes to : {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT16, RIX_UINT32, RIX_INT32}) {
            dispatch(Floatings{}, from, Integers{}, to, [&](auto fromTag, auto toTag) {
                using Real = typename decltype(fromTag)::type;
                using Out = typename decltype(toTag)::type;
                const std::vector<Real> hard = hardValues<Real, Out>();
                for (const OptimLevelType level : test::runnableLevels()) {
                    for (std::size_t count = 0; count < 3 * hard.size(); ++count) {
                        std::vector<Real> values;
                        for (std::size_t i = 0; i < count; ++i) {
                            values.push_back(hard[(i + count) % hard.size()]);
                        }
                        std::vector<Out> rounded(count + 1, Out{99});
                        roundingRow(from, to, level)(values.data(), rounded.data(), count);
                        std::vector<Out> expected(count + 1, Out{99});
                        std::transform(values.begin(), values.end(), expected.begin(), &nearest<Real, Out>);
                        ASSERT_EQ(rounded, expected) << from << " to " << to << " level " << level;
                    }
                }
            });
        }
    }
}

}  // namespace
}  // namespace rix::access
