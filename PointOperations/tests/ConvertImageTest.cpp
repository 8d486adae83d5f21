// Conversions against the reference: every output type of every input type on every level.

#include <rix/point_operations/ConvertImage.h>

#include "PointTestSupport.h"

namespace rix::point_operations::test {
namespace {

using Type = ConvertImage::OutputType;

struct Kind {
    Type type;
    VoxelTypes voxelType;
    Interpretations interpretation;
};

constexpr Kind kinds[] = {
    {ConvertImage::UNSIGNED_INTEGER_8_BIT, RIX_UINT8, RIX_VALUE},
    {ConvertImage::SIGNED_INTEGER_8_BIT, RIX_INT8, RIX_VALUE},
    {ConvertImage::UNSIGNED_INTEGER_16_BIT, RIX_UINT16, RIX_VALUE},
    {ConvertImage::SIGNED_INTEGER_16_BIT, RIX_INT16, RIX_VALUE},
    {ConvertImage::UNSIGNED_INTEGER_32_BIT, RIX_UINT32, RIX_VALUE},
    {ConvertImage::SIGNED_INTEGER_32_BIT, RIX_INT32, RIX_VALUE},
    {ConvertImage::FLOAT_32_BIT, RIX_FLOAT32, RIX_VALUE},
    {ConvertImage::FLOAT_64_BIT, RIX_FLOAT64, RIX_VALUE},
    {ConvertImage::COMPLEX_FLOAT_32_BIT, RIX_COMPLEX_FLOAT32, RIX_VALUE},
    {ConvertImage::COMPLEX_FLOAT_64_BIT, RIX_COMPLEX_FLOAT64, RIX_VALUE},
    {ConvertImage::BINARY, RIX_UINT8, RIX_BINARY},
    {ConvertImage::LABEL_8_BIT, RIX_UINT8, RIX_LABEL},
    {ConvertImage::LABEL_16_BIT, RIX_UINT16, RIX_LABEL},
    {ConvertImage::LABEL_32_BIT, RIX_UINT32, RIX_LABEL},
};

io::MemoryImage reference(const ImageModel& input, const Kind& kind) {
    io::MemoryImage result;
    if (kind.type == ConvertImage::BINARY) {
        access::dispatch(access::AllTypes{}, input.getVoxelType(), [&](auto tag) {
            using From = typename decltype(tag)::type;
            std::vector<std::uint8_t> truths;
            for (const From sample : samplesOf<From>(input)) {
                truths.push_back(sample != From(0) ? 1 : 0);
            }
            result = imageLike(input, truths, RIX_BINARY);
        });
        return result;
    }
    access::dispatch(access::AllTypes{}, kind.voxelType, [&](auto tag) {
        using To = typename decltype(tag)::type;
        result = imageLike(input, convertedSamples<To>(input), kind.interpretation);
    });
    return result;
}

void convert(const ImageModel& input, Type type, ImageModel& output, const Kernels& kernels) {
    ConvertImage algorithm;
    algorithm.setInputImage(&input);
    algorithm.setOutputType(type);
    algorithm.setOutputImage(&output);
    runOn(algorithm, kernels);
}

/// The numbers at which truncation and the formats of reals change their ways.
io::MemoryImage edgeNumbers(VoxelTypes type) {
    const double infinity = std::numeric_limits<double>::infinity();
    std::vector<double> numbers = {0.0,   -0.0,   300.7,  -1.5,     2.9,       -0.99,
                                   1e300, -1e300, 1e-310, infinity, -infinity, std::nan("")};
    for (const double power : {0x1p7, 0x1p8, 0x1p15, 0x1p16, 0x1p24, 0x1p31, 0x1p32, 0x1p53, 0x1p63, 0x1p64}) {
        for (const double sign : {1.0, -1.0}) {
            for (const double step : {-1.5, -1.0, -0.5, 0.0, 0.5, 1.0, 1.5}) {
                numbers.push_back(sign * power + step);
            }
            numbers.push_back(std::nextafter(sign * power, 0.0));
            numbers.push_back(std::nextafter(static_cast<float>(sign * power), 0.0F));
        }
    }
    return rix::test::makeImage({.voxelType = type, .extents = {numbers.size(), 1, 1, 1, 1}},
                                [&](std::size_t c, auto...) { return numbers[c]; });
}

TEST(ConvertImage, EqualsTheDefinitionForEveryPairOfTypesAndLevel) {
    for (const VoxelTypes type : allTypes) {
        std::vector<io::MemoryImage> inputs;
        inputs.push_back(makeRandomImage({.voxelType = type, .extents = {333, 5, 2, 1, 1}}, 7, Extremes::All));
        rix::test::setDistinctCalibration(inputs.back());
        inputs.back().setColorInterpretation(YIQ);
        if (access::contains(access::Floatings{}, type) || isComplexType(type)) {
            inputs.push_back(edgeNumbers(type));
        }
        for (const io::MemoryImage& input : inputs) {
            for (const Kind& kind : kinds) {
                const io::MemoryImage expected = reference(input, kind);
                for (const Kernels& kernels : runnableKernels()) {
                    io::MemoryImage output;
                    convert(input, kind.type, output, kernels);
                    ASSERT_TRUE(imagesEqual(expected, output))
                        << helper::voxelTypesToString(type) << " to " << kind.type << ", " << kernels;
                }
            }
        }
    }
}

TEST(ConvertImage, TellsTheOutputTypeOfAVoxelType) {
    for (const VoxelTypes type : allTypes) {
        for (const bool isLabel : {false, true}) {
            int expected = -1;
            for (const Kind& kind : kinds) {
                if (kind.voxelType == type && kind.interpretation == (isLabel ? RIX_LABEL : RIX_VALUE)) {
                    expected = kind.type;
                }
            }
            EXPECT_EQ(ConvertImage::getOutputTypeFromVoxelTypes(type, isLabel), expected)
                << helper::voxelTypesToString(type) << ' ' << isLabel;
        }
    }
    EXPECT_EQ(ConvertImage::getOutputTypeFromVoxelTypes(static_cast<VoxelTypes>(3), false), -1);
    EXPECT_EQ(ConvertImage().getVersion(), 2);
}

}  // namespace
}  // namespace rix::point_operations::test
