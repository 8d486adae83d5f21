#include <rix/point_operations/MaskImage.h>

#include "PointTestSupport.h"

namespace rix::point_operations::test {
namespace {

constexpr VoxelTypes maskTypes[] = {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT16};

/// Zero in half of the voxels; the others are of both signs, and some have no low byte.
io::MemoryImage makeMask(VoxelTypes type, const Extents& extents) {
    constexpr int values[] = {0, 1, 0, 2, 0, -1, 0, 256, 0, 0};
    const bool narrow = helper::getSizeOf(type) == 1;
    return rix::test::makeImage({.voxelType = type, .extents = extents}, [&](std::size_t c, std::size_t y, auto...) {
        const int value = values[(c * 7 + y * 3 + c / 10) % 10];
        return narrow && value == 256 ? 128 : value;
    });
}

io::MemoryImage reference(const ImageModel& image, const ImageModel& mask) {
    io::MemoryImage result;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        std::vector<T> samples = convertedSamples<T>(image);
        const std::vector<std::int32_t> keeps = convertedSamples<std::int32_t>(mask);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            samples[i] = keeps[i] != 0 ? samples[i] : T(0);
        }
        result = imageLike(image, samples, image.getInterpretation());
    });
    return result;
}

void maskImage(const ImageModel& image, const ImageModel& mask, ImageModel& output, const Kernels& kernels) {
    MaskImage algorithm;
    algorithm.setInputImage(&image);
    algorithm.setInputBinaryImage(&mask);
    algorithm.setOutputImage(&output);
    runOn(algorithm, kernels);
}

TEST(MaskImage, KeepsWhatTheMaskCoversForEveryPairOfTypesInterpretationAndLevel) {
    const Extents extents{331, 7, 1, 1, 1};
    for (const VoxelTypes type : allTypes) {
        if (isComplexType(type)) {
            continue;
        }
        for (const Interpretations interpretation : {RIX_BINARY, RIX_LABEL, RIX_VALUE}) {
            io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = extents}, 5, Extremes::All);
            image.setInterpretation(interpretation);
            rix::test::setDistinctCalibration(image);
            for (const VoxelTypes maskType : maskTypes) {
                const io::MemoryImage mask = makeMask(maskType, extents);
                const io::MemoryImage expected = reference(image, mask);
                for (const Kernels& kernels : runnableKernels()) {
                    io::MemoryImage output;
                    maskImage(image, mask, output, kernels);
                    ASSERT_TRUE(imagesEqual(expected, output))
                        << helper::voxelTypesToString(type) << ' ' << helper::voxelTypesToString(maskType) << ", "
                        << kernels;
                }
            }
        }
    }
}

}  // namespace
}  // namespace rix::point_operations::test
