// Arithmetic against the reference: every operator on every pair of types, on random and extreme values, every level.

#include <rix/point_operations/ArithmeticOperationWithImage.h>
#include <rix/point_operations/ArithmeticOperationWithValue.h>

#include "ArithmeticReference.h"

namespace rix::point_operations::test {
namespace {

using OfImages = ArithmeticOperationWithImage;
using OfValue = ArithmeticOperationWithValue;
using Op = Operators::ArithmeticOperatorType;

void combine(const ImageModel& first, const ImageModel& second, Op op, ImageModel& output, const Kernels& kernels) {
    OfImages algorithm;
    algorithm.setInputImage1(&first);
    algorithm.setInputImage2(&second);
    algorithm.setArithmeticOperator(op);
    algorithm.setOutputImage(&output);
    runOn(algorithm, kernels);
}

void combine(const ImageModel& image, double value, Op op, ImageModel& output, const Kernels& kernels) {
    OfValue algorithm;
    algorithm.setInputImage(&image);
    algorithm.setValue(1);  // a property that holds 0 would ignore -0
    algorithm.setValue(value);
    algorithm.setArithmeticOperator(op);
    algorithm.setOutputImage(&output);
    runOn(algorithm, kernels);
}

TEST(Arithmetic, OfTwoImagesEqualsTheDefinitionForEveryPairOfTypesOperatorAndLevel) {
    const Extents extents{331, 3, 1, 1, 1};
    for (const VoxelTypes a : allTypes) {
        io::MemoryImage first = makeRandomImage({.voxelType = a, .extents = extents}, 17, Extremes::All);
        rix::test::setDistinctCalibration(first);
        for (const VoxelTypes b : allTypes) {
            const io::MemoryImage second = makeRandomImage({.voxelType = b, .extents = extents}, 71, Extremes::All);
            for (const Op op : allOperators) {
                if (compares(op) && (isComplexType(a) || isComplexType(b))) {
                    continue;
                }
                const io::MemoryImage expected = referenceOfImages(first, second, op);
                for (const Kernels& kernels : runnableKernels()) {
                    io::MemoryImage output;
                    combine(first, second, op, output, kernels);
                    ASSERT_TRUE(imagesEqual(expected, output, toleranceOf(expected.getVoxelType(), op)))
                        << helper::voxelTypesToString(a) << ' ' << helper::voxelTypesToString(b) << " operator " << op
                        << ", " << kernels;
                }
            }
        }
    }
}

TEST(Arithmetic, OfAValueEqualsTheDefinitionForEveryTypeOperatorAndLevel) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double values[] = {0,     -0.0,  1,      -1,     3,      7,          255,           -2,
                             40000, 70000, -70000, 32767,  -32768, 2147483647, -2147483648.0, 3e9,
                             5e9,   0.5,   -1.5,   1e-310, 1e300,  infinity,   std::nan("")};
    for (const VoxelTypes type : allTypes) {
        const io::MemoryImage image =
            makeRandomImage({.voxelType = type, .extents = {219, 3, 1, 1, 1}}, 5, Extremes::All);
        for (const double value : values) {
            for (const Op op : allOperators) {
                if (compares(op) && isComplexType(type)) {
                    continue;
                }
                const io::MemoryImage expected = referenceOfValue(image, value, op);
                for (const Kernels& kernels : runnableKernels()) {
                    io::MemoryImage output;
                    combine(image, value, op, output, kernels);
                    ASSERT_TRUE(imagesEqual(expected, output, toleranceOf(expected.getVoxelType(), op)))
                        << helper::voxelTypesToString(type) << " value " << value << " operator " << op << ", "
                        << kernels;
                }
            }
        }
    }
}

TEST(Arithmetic, DividesEveryPairOf16BitIntegersThatCouldRoundUp) {
    // Quotients just below an integer: multiples of the divisor less one, with every divisor.
    const Extents extents{65536, 1, 1, 1, 1};
    const io::MemoryImage divisors =
        rix::test::makeImage({.voxelType = RIX_INT16, .extents = extents},
                             [](std::size_t c, auto...) { return static_cast<std::int64_t>(c) - 32768; });
    for (const std::int64_t multiple : {1, 2, 3, 7, 100, 181, 32767, -1, -3, -32768}) {
        for (const std::int64_t offset : {-1, 0, 1}) {
            const io::MemoryImage dividends =
                rix::test::makeImage({.voxelType = RIX_INT16, .extents = extents}, [&](std::size_t c, auto...) {
                    const std::int64_t divisor = static_cast<std::int64_t>(c) - 32768;
                    return std::clamp<std::int64_t>(multiple * divisor + offset, -32768, 32767);
                });
            const io::MemoryImage expected = referenceOfImages(dividends, divisors, Operators::DIVIDE);
            for (const Kernels& kernels : runnableKernels()) {
                io::MemoryImage output;
                combine(dividends, divisors, Operators::DIVIDE, output, kernels);
                ASSERT_TRUE(imagesEqual(expected, output)) << multiple << ' ' << offset << ", " << kernels;
            }
        }
    }
}

TEST(Arithmetic, DividesEveryPairOfBytes) {
    const Extents extents{256, 256, 1, 1, 1};
    const io::MemoryImage dividends =
        rix::test::makeImage({.extents = extents}, [](std::size_t c, auto...) { return c; });
    const io::MemoryImage divisors =
        rix::test::makeImage({.extents = extents}, [](std::size_t, std::size_t y, auto...) { return y; });
    const io::MemoryImage expected = referenceOfImages(dividends, divisors, Operators::DIVIDE);
    for (const Kernels& kernels : runnableKernels()) {
        io::MemoryImage output;
        combine(dividends, divisors, Operators::DIVIDE, output, kernels);
        ASSERT_TRUE(imagesEqual(expected, output)) << kernels;
    }
}

/// One voxel of a result and its type.
void expectVoxel(VoxelTypes a, rix::test::SampleValue x, VoxelTypes b, rix::test::SampleValue y, Op op,
                 VoxelTypes resultType, rix::test::SampleValue result) {
    const auto filled = [](VoxelTypes type, rix::test::SampleValue value) {
        return rix::test::makeImage({.voxelType = type}, [&](auto...) { return value; });
    };
    const io::MemoryImage first = filled(a, x);
    const io::MemoryImage second = filled(b, y);
    for (const Kernels& kernels : runnableKernels()) {
        io::MemoryImage output;
        combine(first, second, op, output, kernels);
        EXPECT_TRUE(imagesEqual(filled(resultType, result), output)) << kernels;
    }
}

TEST(Arithmetic, GivesTheDocumentedResults) {
    expectVoxel(RIX_UINT8, 255, RIX_UINT8, 255, Operators::ADD, RIX_INT16, 510);
    expectVoxel(RIX_UINT8, 0, RIX_UINT8, 255, Operators::SUBTRACT, RIX_INT16, -255);
    expectVoxel(RIX_UINT8, 255, RIX_UINT8, 255, Operators::MULTIPLY, RIX_UINT16, 65025);
    expectVoxel(RIX_UINT16, 65535, RIX_UINT16, 65535, Operators::MULTIPLY, RIX_INT32, -131071);
    expectVoxel(RIX_INT32, 2147483647, RIX_INT32, 1, Operators::ADD, RIX_INT32, -2147483648LL);
    expectVoxel(RIX_INT32, -2147483648LL, RIX_INT32, -1, Operators::DIVIDE, RIX_INT32, -2147483648LL);
    expectVoxel(RIX_INT16, -32768, RIX_INT16, -1, Operators::DIVIDE, RIX_INT16, -32768);
    expectVoxel(RIX_INT16, 7, RIX_INT16, -2, Operators::DIVIDE, RIX_INT16, -3);
    expectVoxel(RIX_INT16, 7, RIX_INT16, 0, Operators::DIVIDE, RIX_INT16, 0);
    expectVoxel(RIX_FLOAT32, 7.0, RIX_FLOAT32, -0.0, Operators::DIVIDE, RIX_FLOAT32, 0.0);
    expectVoxel(RIX_COMPLEX_FLOAT32, std::complex<double>(3, 4), RIX_UINT8, 1, Operators::ADD, RIX_COMPLEX_FLOAT32,
                std::complex<double>(4, 4));
    expectVoxel(RIX_COMPLEX_FLOAT64, std::complex<double>(3, 4), RIX_UINT8, 0, Operators::DIVIDE, RIX_COMPLEX_FLOAT64,
                std::complex<double>(0, 0));
    expectVoxel(RIX_UINT8, 3, RIX_INT16, -5, Operators::MAXIMUM, RIX_UINT8, 251);
    expectVoxel(RIX_INT32, 65537, RIX_UINT16, 9, Operators::MAXIMUM, RIX_UINT16, 9);
    const double nan = std::nan("");
    expectVoxel(RIX_FLOAT32, nan, RIX_FLOAT32, 1.0, Operators::MINIMUM, RIX_FLOAT32, 1.0);
    expectVoxel(RIX_FLOAT32, 1.0, RIX_FLOAT32, nan, Operators::MINIMUM, RIX_FLOAT32, nan);
    expectVoxel(RIX_FLOAT64, 0.0, RIX_FLOAT64, -0.0, Operators::MAXIMUM, RIX_FLOAT64, -0.0);
    expectVoxel(RIX_FLOAT64, -0.0, RIX_FLOAT64, 0.0, Operators::MINIMUM, RIX_FLOAT64, 0.0);
}

/// Rules that hold for one pass, which types an operator takes, don't stay: complex images still add.
TEST(Arithmetic, RefusesWhatItsOperatorDoesNotTake) {
    const io::MemoryImage pairs = makeRandomImage({.voxelType = RIX_COMPLEX_FLOAT32, .extents = {9, 9, 1, 1, 1}}, 1);
    io::MemoryImage output;
    EXPECT_THROW(combine(pairs, pairs, Operators::MINIMUM, output, {SCALAR}), RuleException);
    OfValue ofValue;
    ofValue.setInputImage(&pairs);
    ofValue.setOutputImage(&output);
    ofValue.setArithmeticOperator(Operators::MAXIMUM);
    EXPECT_THROW(ofValue.run(), RuleException);
    ofValue.setArithmeticOperator(Operators::ADD);
    EXPECT_NO_THROW(ofValue.run());
}

}  // namespace
}  // namespace rix::point_operations::test
