// Logical operations against their truth tables, and masks.

#include <rix/point_operations/LogicalOperationWithImage.h>
#include <rix/point_operations/LogicalOperationWithValue.h>

#include "PointTestSupport.h"

namespace rix::point_operations::test {
namespace {

using BitsOfImages = LogicalOperationWithImage;
using BitsOfValue = LogicalOperationWithValue;
using BitOp = LogicalOperators::LogicalOperatorType;

/// The result bit for the bits (a, b) = 00, 01, 10, 11.
struct Table {
    BitOp op;
    bool bits[4];
};

constexpr Table tables[] = {
    {BitsOfImages::AND, {false, false, false, true}},      {BitsOfImages::OR, {false, true, true, true}},
    {BitsOfImages::XOR, {false, true, true, false}},       {BitsOfImages::NAND, {true, true, true, false}},
    {BitsOfImages::NOR, {true, false, false, false}},      {BitsOfImages::NXOR, {true, false, false, true}},
    {BitsOfImages::SUBTRACT, {false, false, true, false}},
};

template <class T>
T referenceResult(T a, T b, const Table& table, std::size_t bits) {
    std::uint32_t result = 0;
    for (std::size_t bit = 0; bit < bits; ++bit) {
        const std::size_t index =
            ((static_cast<std::uint32_t>(a) >> bit & 1U) << 1) | (static_cast<std::uint32_t>(b) >> bit & 1U);
        result |= table.bits[index] ? 1U << bit : 0U;
    }
    return static_cast<T>(result);
}

/// A binary image has one bit a voxel, which is set where the voxel is not 0.
template <class T>
std::vector<T> operandSamples(const ImageModel& image) {
    std::vector<T> samples = samplesOf<T>(image);
    for (T& sample : samples) {
        sample = image.getInterpretation() != RIX_BINARY ? sample : sample != 0 ? T(1) : T(0);
    }
    return samples;
}

io::MemoryImage reference(const ImageModel& first, const ImageModel* second, long value, const Table& table) {
    io::MemoryImage result;
    access::dispatch(access::Integers{}, first.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const std::size_t bits = first.getInterpretation() == RIX_BINARY ? 1 : 8 * sizeof(T);
        std::vector<T> a = operandSamples<T>(first);
        const T operand = first.getInterpretation() == RIX_BINARY ? T(value != 0) : static_cast<T>(value);
        const std::vector<T> b = second != nullptr ? operandSamples<T>(*second) : std::vector<T>(a.size(), operand);
        for (std::size_t i = 0; i < a.size(); ++i) {
            a[i] = referenceResult(a[i], b[i], table, bits);
        }
        result = imageLike(first, a, first.getInterpretation());
    });
    return result;
}

void combineBits(const ImageModel& first, const ImageModel& second, BitOp op, ImageModel& output,
                 const Kernels& kernels) {
    BitsOfImages algorithm;
    algorithm.setInputImage1(&first);
    algorithm.setInputImage2(&second);
    algorithm.setLogicalOperator(op);
    algorithm.setOutputImage(&output);
    runOn(algorithm, kernels);
}

void combineBits(const ImageModel& image, long value, BitOp op, ImageModel& output, const Kernels& kernels) {
    BitsOfValue algorithm;
    algorithm.setInputImage(&image);
    algorithm.setValue(value);
    algorithm.setLogicalOperator(op);
    algorithm.setOutputImage(&output);
    runOn(algorithm, kernels);
}

TEST(LogicalOperations, FollowTheTruthTablesForEveryTypeInterpretationAndLevel) {
    const Extents extents{277, 5, 1, 1, 1};
    for (const VoxelTypes type : integerTypes) {
        for (const Interpretations interpretation : {RIX_BINARY, RIX_LABEL, RIX_VALUE}) {
            io::MemoryImage first = makeRandomImage({.voxelType = type, .extents = extents}, 5);
            io::MemoryImage second = makeRandomImage({.voxelType = type, .extents = extents}, 6);
            first.setInterpretation(interpretation);
            second.setInterpretation(interpretation);
            rix::test::setDistinctCalibration(first);
            first.setColorInterpretation(RGB);
            for (const Table& table : tables) {
                const io::MemoryImage expected = reference(first, &second, 0, table);
                for (const Kernels& kernels : runnableKernels()) {
                    SCOPED_TRACE(testing::Message()
                                 << helper::voxelTypesToString(type) << ' ' << table.op << ", " << kernels);
                    io::MemoryImage output;
                    combineBits(first, second, table.op, output, kernels);
                    ASSERT_TRUE(imagesEqual(expected, output));
                    for (const long value : {0L, 1L, 6L, -1L, 0x123456789abcL, std::numeric_limits<long>::min()}) {
                        combineBits(first, value, table.op, output, kernels);
                        ASSERT_TRUE(imagesEqual(reference(first, nullptr, value, table), output)) << "value " << value;
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace rix::point_operations::test
