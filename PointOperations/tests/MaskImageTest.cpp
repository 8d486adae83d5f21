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

void maskImage(const ImageModel& image, const ImageModel& mask, ImageModel& output, OptimLevelType level,
               int threads = 1) {
    MaskImage algorithm;
    algorithm.setInputImage(&image);
    algorithm.setInputBinaryImage(&mask);
    algorithm.setOutputImage(&output);
    runOn(algorithm, level, threads);
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
                for (const OptimLevelType level : runnableLevels()) {
                    io::MemoryImage output;
                    maskImage(image, mask, output, level);
                    ASSERT_TRUE(imagesEqual(expected, output))
                        << helper::voxelTypesToString(type) << ' ' << helper::voxelTypesToString(maskType) << " level "
                        << level;
                }
            }
        }
    }
}

TEST(MaskImage, HandlesWidthsOffsetsThreadsAndFiveAxes) {
    const Extents extents{301, 103, 2, 2, 2};
    const io::MemoryImage image = makeRandomImage({.voxelType = RIX_FLOAT32, .extents = extents}, 5);
    const io::MemoryImage mask = makeMask(RIX_UINT8, extents);
    const io::MemoryImage expected = reference(image, mask);
    for (const OptimLevelType level : runnableLevels()) {
        for (const int threads : {1, 2, 3}) {
            io::MemoryImage output;
            maskImage(image, mask, output, level, threads);
            EXPECT_TRUE(imagesEqual(expected, output)) << threads << " threads";
        }
        for (std::size_t width = 1; width <= 70; ++width) {
            const ImageModelSizeProxy a(&image, {width % 3, 1, 0, 0, 0}, {width, 3, 1, 1, 1});
            const ImageModelSizeProxy b(&mask, {width % 5, 2, 0, 0, 0}, {width, 3, 1, 1, 1});
            io::MemoryImage output;
            maskImage(a, b, output, level);
            ASSERT_TRUE(imagesEqual(reference(a, b), output)) << width << " columns, level " << level;
        }
    }
}

TEST(MaskImage, WorksInPlaceOnTheImageAndOnAMaskOfItsType) {
    const Extents extents{701, 303, 1, 1, 1};
    const io::MemoryImage image = makeRandomImage({.extents = extents}, 5);
    const io::MemoryImage mask = makeMask(RIX_UINT8, extents);
    const io::MemoryImage expected = reference(image, mask);
    io::MemoryImage target = image;
    maskImage(target, mask, target, VEC_AVX, 2);
    EXPECT_TRUE(imagesEqual(expected, target));
    target = mask;
    maskImage(image, target, target, VEC_AVX, 2);
    EXPECT_TRUE(imagesEqual(expected, target));

    const io::MemoryImage wide = makeRandomImage({.voxelType = RIX_INT32, .extents = extents}, 5);
    target = mask;
    EXPECT_THROW(maskImage(wide, target, target, SCALAR), RuleException);
    EXPECT_TRUE(imagesEqual(mask, target)) << "a refused run must not touch the mask";
}

const io::MemoryImage good = makeRandomImage({.extents = {9, 9, 1, 1, 1}}, 1);
const io::MemoryImage real = makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {9, 9, 1, 1, 1}}, 1);
const io::MemoryImage complexImage = makeRandomImage({.voxelType = RIX_COMPLEX_FLOAT32, .extents = {9, 9, 1, 1, 1}}, 1);
const io::MemoryImage vectors = makeRandomImage({.extents = {9, 9, 1, 1, 1}, .elementType = VECTOR_2}, 1);
const io::MemoryImage small = makeRandomImage({.extents = {5, 5, 2, 1, 1}}, 1);
const io::MemoryImage empty;
io::MemoryImage result;

TEST(MaskImage, RefusesBadPropertiesAndRunsAfterwards) {
    expectRefusals<MaskImage>(
        [](MaskImage& a) {
            a.setInputImage(&good);
            a.setInputBinaryImage(&good);
            a.setOutputImage(&result);
        },
        {{"no image", [](MaskImage& a) { a.setInputImage(nullptr); }, {"The parameter \"inputImage\" must be set."}},
         {"no mask",
          [](MaskImage& a) { a.setInputBinaryImage(nullptr); },
          {"The parameter \"inputBinaryImage\" must be set."}},
         {"no output", [](MaskImage& a) { a.setOutputImage(nullptr); }, {"The parameter \"outputImage\" must be set."}},
         {"complex",
          [](MaskImage& a) { a.setInputImage(&complexImage); },
          {"inputImage", "only integer or floating types"}},
         {"real mask",
          [](MaskImage& a) { a.setInputBinaryImage(&real); },
          {"inputBinaryImage", "supports only data type(s):", "Current data type is"}},
         {"vectors", [](MaskImage& a) { a.setInputImage(&vectors); }, {"supports only scalar types"}},
         {"sizes", [](MaskImage& a) { a.setInputBinaryImage(&small); }, {"must have the same size."}},
         {"empty", [](MaskImage& a) { a.setInputImage(&empty); }, {"inputImage", "empty"}}});
}

}  // namespace
}  // namespace rix::point_operations::test
