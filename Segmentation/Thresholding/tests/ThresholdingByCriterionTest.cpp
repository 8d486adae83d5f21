// Thresholding against a reference that follows the definition: the value's smallest type and the voxel's type meet in
// a common type, both are converted to it and compared there.

#include <rix/properties/Scalar.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

#include "Testing.h"

namespace rix::segmentation {
namespace {

constexpr ThresholdingByCriterion::CriterionType allComparisons[] = {
    ThresholdingByCriterion::LESS_THAN,    ThresholdingByCriterion::LESS_THAN_OR_EQUAL_TO,
    ThresholdingByCriterion::EQUAL_TO,     ThresholdingByCriterion::GREATER_THAN_OR_EQUAL_TO,
    ThresholdingByCriterion::GREATER_THAN, ThresholdingByCriterion::NOT_EQUAL_TO,
};

template <class T>
bool compare(T voxel, T value, ThresholdingByCriterion::CriterionType criterion) {
    switch (criterion) {
        case ThresholdingByCriterion::LESS_THAN: return voxel < value;
        case ThresholdingByCriterion::LESS_THAN_OR_EQUAL_TO: return voxel <= value;
        case ThresholdingByCriterion::EQUAL_TO: return voxel == value;
        case ThresholdingByCriterion::GREATER_THAN_OR_EQUAL_TO: return voxel >= value;
        case ThresholdingByCriterion::GREATER_THAN: return voxel > value;
        case ThresholdingByCriterion::NOT_EQUAL_TO: return voxel != value;
    }
    return false;
}

/// One voxel by the definition. Every conversion here is one of the language that is defined for its operands.
template <class T>
bool referenceVoxel(T voxel, double value, ThresholdingByCriterion::CriterionType criterion) {
    const VoxelTypes common =
        helper::lesserCommonType(Scalar(value).smallestContainingType(false), access::voxelTypeOf<T>);
    bool result = false;
    access::dispatch(access::Reals{}, common, [&](auto tag) {
        using C = typename decltype(tag)::type;
        if constexpr (std::is_integral_v<C>) {
            const bool fits = value >= static_cast<double>(std::numeric_limits<C>::min()) &&
                              value <= static_cast<double>(std::numeric_limits<C>::max());
            if constexpr (std::is_integral_v<T>) {
                result = fits ? compare<C>(static_cast<C>(voxel), static_cast<C>(value), criterion)
                              : compare<double>(voxel, value, criterion);
            } else {
                ADD_FAILURE() << "a real voxel never compares as an integer";
            }
        } else {
            result = compare<C>(static_cast<C>(voxel), static_cast<C>(value), criterion);
        }
    });
    return result;
}

io::MemoryImage reference(const ImageModel& input, double value, ThresholdingByCriterion::CriterionType criterion) {
    io::MemoryImage result;
    result.enforceSameCharacteristics(&input, SIZE | CALIBRATION);
    result.setInterpretation(RIX_BINARY);
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        std::uint8_t* out = result.getInternalBuffer();
        for (const auto sample : test::samplesOf<typename decltype(tag)::type>(input)) {
            *out++ = referenceVoxel(sample, value, criterion) ? 1 : 0;
        }
    });
    return result;
}

io::MemoryImage threshold(const ImageModel& input, double value, ThresholdingByCriterion::CriterionType criterion,
                          OptimLevelType level) {
    ThresholdingByCriterion algorithm;
    algorithm.setAutoCpuDispatch(false);
    algorithm.setOptimLevel(level);
    io::MemoryImage output;
    algorithm.setInputGrayImage(&input);
    algorithm.setComparisonCriterion(criterion);
    algorithm.setComparisonValue(value);
    algorithm.setOutputBinaryImage(&output);
    algorithm.run();
    EXPECT_EQ(algorithm.getLastRunLevel(), level);
    return output;
}

TEST(ThresholdingByCriterion, EqualsTheDefinitionForEveryTypeCriterionAndLevel) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double values[] = {0,          -0.0,         1,        127,        128,         255,           256,
                             -1,         -128,         -129,     32767.5,    65535,       65536,         -32769,
                             0.1,        -0.5,         99.5,     2147483647, 2147483648,  -2147483648.0, -2147483649.0,
                             4294967295, 4294967296.0, 16777217, 1e10,       -1e10,       1e-45,         3.5e38,
                             1e300,      -1e300,       infinity, -infinity,  std::nan("")};
    for (const VoxelTypes type : test::realTypes) {
        const io::MemoryImage input =
            test::makeRandomImage({.voxelType = type, .extents = {67, 5, 1, 1, 1}}, 11, test::Extremes::All);
        for (const double value : values) {
            for (const auto criterion : allComparisons) {
                const io::MemoryImage expected = reference(input, value, criterion);
                for (const OptimLevelType level : test::runnableLevels()) {
                    ASSERT_TRUE(test::imagesEqual(expected, threshold(input, value, criterion, level)))
                        << helper::voxelTypesToString(type) << ' ' << criterion << ' ' << value << " level " << level;
                }
            }
        }
    }
}

}  // namespace
}  // namespace rix::segmentation
