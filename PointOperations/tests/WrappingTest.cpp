// How many voxels wrap: those whose result is not the exact one, counted here in the results themselves.

#include <fstream>

#include <rix/access/BlockScheduler.h>
#include <rix/access/PlainContext.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/point_operations/ArithmeticOperationWithImage.h>
#include <rix/point_operations/ArithmeticOperationWithValue.h>
#include <rix/point_operations/ConvertImage.h>
#include <rix/rules/Promotion.h>

#include "PointTestSupport.h"

namespace rix::point_operations::test {
namespace {

constexpr Extents extents{61, 7, 2, 1, 1};

/// The samples of an image of any type; those of at most 32 bits are whole there.
std::vector<double> valuesOf(const ImageModel& image) {
    std::vector<double> values;
    access::dispatch(access::AllTypes{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        for (const T sample : samplesOf<T>(image)) {
            values.push_back(access::castSample<double>(sample));
        }
    });
    return values;
}

long double exactly(ArithmeticOperators::ArithmeticOperatorType op, long double a, long double b) {
    switch (op) {
        case ArithmeticOperators::ADD: return a + b;
        case ArithmeticOperators::SUBTRACT: return a - b;
        case ArithmeticOperators::MULTIPLY: return a * b;  // 64 bits, which a long double has
        case ArithmeticOperators::DIVIDE: return b == 0 ? 0 : std::trunc(a / b);
        case ArithmeticOperators::MINIMUM: return std::min(a, b);
        default: return std::max(a, b);
    }
}

std::uint64_t countedBefore(const BaseAlgorithm& algorithm) {
    access::PlainContext context(access::serialScheduler());
    return algorithm.getClassInfo().countWrapped(algorithm, context);
}

bool isWhole(const ImageModel& image) {
    return access::contains(access::Integers{}, image.getVoxelType());
}

/// Results that differ from the exact ones, which `exact(i)` tells.
template <class Exact>
std::uint64_t countedAfter(const ImageModel& output, const Exact& exact) {
    const std::vector<double> results = valuesOf(output);
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < results.size() && isWhole(output); ++i) {
        count += static_cast<long double>(results[i]) != exact(i) ? 1U : 0U;
    }
    return count;
}

TEST(Wrapping, IsCountedForAllTypesAndOperators) {
    std::uint64_t all = 0;
    for (const VoxelTypes firstType : rules::promotionTypes) {
        const io::MemoryImage first = makeRandomImage({.voxelType = firstType, .extents = extents}, 3);
        const std::vector<double> a = valuesOf(first);
        for (int op = ArithmeticOperators::ADD; op <= ArithmeticOperators::MAXIMUM; ++op) {
            const auto which = static_cast<ArithmeticOperators::ArithmeticOperatorType>(op);
            for (const VoxelTypes secondType : rules::promotionTypes) {
                SCOPED_TRACE(testing::Message() << helper::voxelTypesToString(firstType) << ' ' << op << ' '
                                                << helper::voxelTypesToString(secondType));
                const io::MemoryImage second = makeRandomImage({.voxelType = secondType, .extents = extents}, 4);
                const std::vector<double> b = valuesOf(second);
                io::MemoryImage output;
                ArithmeticOperationWithImage algorithm;
                algorithm.setInputImage1(&first);
                algorithm.setInputImage2(&second);
                algorithm.setArithmeticOperator(which);
                algorithm.setOutputImage(&output);
                const std::uint64_t before = countedBefore(algorithm);
                algorithm.run();
                EXPECT_EQ(before, countedAfter(output, [&](std::size_t i) { return exactly(which, a[i], b[i]); }));
                all += before;
            }
            for (const double value : {0.0, -1.0, 3.0, 70000.0, 3e9, -2147483648.0, 0.5, 1e30}) {
                SCOPED_TRACE(testing::Message() << helper::voxelTypesToString(firstType) << ' ' << op << ' ' << value);
                io::MemoryImage output;
                ArithmeticOperationWithValue algorithm;
                algorithm.setInputImage(&first);
                algorithm.setValue(value);
                algorithm.setArithmeticOperator(which);
                algorithm.setOutputImage(&output);
                const std::uint64_t before = countedBefore(algorithm);
                algorithm.run();
                EXPECT_EQ(before, countedAfter(output, [&](std::size_t i) { return exactly(which, a[i], value); }));
                all += before;
            }
        }
    }
    EXPECT_GT(all, 1000U);
}

TEST(Wrapping, IsCountedForConversions) {
    for (const VoxelTypes type : rules::promotionTypes) {
        io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = extents}, 3, Extremes::All);
        for (const bool binary : {false, true}) {
            image.setInterpretation(binary ? RIX_BINARY : RIX_VALUE);
            const std::vector<double> values = valuesOf(image);
            for (int to = 0; to <= ConvertImage::LABEL_32_BIT; ++to) {
                SCOPED_TRACE(testing::Message() << helper::voxelTypesToString(type) << " to " << to);
                io::MemoryImage output;
                ConvertImage algorithm;
                algorithm.setInputImage(&image);
                algorithm.setOutputType(static_cast<ConvertImage::OutputType>(to));
                algorithm.setOutputImage(&output);
                const std::uint64_t before = countedBefore(algorithm);
                algorithm.run();
                const bool wraps = !binary && to != ConvertImage::BINARY;
                EXPECT_EQ(before,
                          wraps ? countedAfter(output, [&](std::size_t i) { return std::trunc(values[i]); }) : 0);
            }
        }
    }
}

TEST(ResultTypes, AreThoseOfThePageAboutThem) {
    std::ifstream page(RIX_RESULT_TYPES);
    std::size_t kind = 0;
    std::size_t row = 0;
    const auto& types = rules::promotionTypes;
    for (std::string line; std::getline(page, line);) {
        std::string expected = "| ";
        if (row == 0) {
            expected += "| ";
            for (const VoxelTypes type : types) {
                expected += helper::voxelTypesToString(type) + " | ";
            }
            row = line + ' ' == expected && kind < 4 ? 1 : 0;
            continue;
        }
        if (line.starts_with("|---")) {
            continue;
        }
        expected += helper::voxelTypesToString(types[row - 1]) + " | ";
        for (const VoxelTypes type : types) {
            expected += helper::voxelTypesToString(
                            getPromotedType(types[row - 1], type, static_cast<PromotionTypesRulesType>(kind))) +
                        " | ";
        }
        EXPECT_EQ(line + ' ', expected) << "table " << kind;
        row = row < types.size() ? row + 1 : 0;
        kind += row == 0 ? 1 : 0;
    }
    EXPECT_EQ(kind, 4U) << "tables";
}

TEST(Wrapping, OfRefusedInputsIsNotAsked) {
    const io::MemoryImage image = makeRandomImage({.extents = extents}, 3);
    ArithmeticOperationWithImage algorithm;
    algorithm.setInputImage1(&image);
    EXPECT_EQ(countedBefore(algorithm), 0U) << "there is no second image";
}

}  // namespace
}  // namespace rix::point_operations::test
