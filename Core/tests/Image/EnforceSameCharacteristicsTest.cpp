#include <rix/image/ImageCalibration.h>

#include "RecordingImage.h"
#include "Testing.h"

namespace rix {
namespace {

using test::RecordingImage;

void setShape(RecordingImage& image, ElementTypes elementType, VoxelTypes voxelType, const test::Extents& e) {
    ASSERT_TRUE(image.io::MemoryImage::reserve(elementType, voxelType, e[0], e[1], e[2], e[3], e[4]));
    image.m_calls.clear();
}

/// A reference that differs from a new image in everything.
void makeReference(io::MemoryImage& image) {
    ASSERT_TRUE(image.reserve(VECTOR_2, RIX_FLOAT32, 7, 6, 5, 4, 3));
    test::setDistinctCalibration(image);
    image.setInterpretation(RIX_LABEL);
    image.setColorInterpretation(RGB);
}

const std::vector<String> calibrationCalls{"spacing columns",
                                           "origin columns",
                                           "spacing rows",
                                           "origin rows",
                                           "spacing plans",
                                           "origin plans",
                                           "spacing sequence",
                                           "origin sequence",
                                           "spacing spectral series",
                                           "origin spectral series",
                                           "spatial unit",
                                           "directions",
                                           "sequence unit"};

TEST(EnforceSameCharacteristics, CopiesEverythingInOrderOnce) {
    io::MemoryImage reference;
    makeReference(reference);
    RecordingImage image;
    image.enforceSameCharacteristics(&reference, ALL_CHARACTERISTICS);
    std::vector<String> expected{"reserve float32"};
    expected.insert(expected.end(), calibrationCalls.begin(), calibrationCalls.end());
    expected.emplace_back("interpretation");
    EXPECT_EQ(image.m_calls, expected);
    EXPECT_EQ(helper::describeImage(image), "(7, 6, 5, 4, 3, scalar, float32, label)");
    EXPECT_EQ(ImageCalibration(image), ImageCalibration(reference));
    EXPECT_EQ(image.getSpatialDirections(), reference.getSpatialDirections());
    EXPECT_EQ(image.getColorInterpretation(), UNKNOWN);

    // All matches now: nothing may be called, not even on an image that refuses everything.
    image.m_calls.clear();
    const ConstRawData samples = image.getImageBuffer();
    image.enforceSameCharacteristics(&reference, ALL_CHARACTERISTICS);
    EXPECT_EQ(image.m_calls, std::vector<String>());
    EXPECT_EQ(image.getImageBuffer(), samples);
}

TEST(EnforceSameCharacteristics, SizeAndTypeAlone) {
    io::MemoryImage reference;
    makeReference(reference);
    struct Case {
        int characteristics;
        ElementTypes elementType;
        VoxelTypes voxelType;
        test::Extents extents;
        std::vector<String> calls;
        const char* result;
    };
    const test::Extents other{2, 2, 1, 1, 1};
    const test::Extents same{7, 6, 5, 4, 3};
    const Case cases[] = {
        {SIZE, SINGLE, RIX_UINT8, other, {"reserve uint8"}, "(7, 6, 5, 4, 3, scalar, uint8, value)"},
        {SIZE, SINGLE, RIX_UINT8, same, {}, "(7, 6, 5, 4, 3, scalar, uint8, value)"},
        {SIZE, VECTOR_3, RIX_UINT8, same, {"reserve uint8"}, "(7, 6, 5, 4, 3, scalar, uint8, value)"},
        {TYPE, SINGLE, RIX_UINT8, other, {"reserve float32"}, "(2, 2, 1, 1, 1, scalar, float32, value)"},
        {TYPE, SINGLE, RIX_FLOAT32, other, {}, "(2, 2, 1, 1, 1, scalar, float32, value)"},
        {TYPE, VECTOR_2, RIX_FLOAT32, other, {"reserve float32"}, "(2, 2, 1, 1, 1, scalar, float32, value)"},
        {SIZE | TYPE, SINGLE, RIX_FLOAT32, other, {"reserve float32"}, "(7, 6, 5, 4, 3, scalar, float32, value)"},
        {SIZE | TYPE, SINGLE, RIX_UINT8, same, {"reserve float32"}, "(7, 6, 5, 4, 3, scalar, float32, value)"},
        {SIZE | TYPE, SINGLE, RIX_FLOAT32, same, {}, "(7, 6, 5, 4, 3, scalar, float32, value)"},
        {0, SINGLE, RIX_UINT8, other, {}, "(2, 2, 1, 1, 1, scalar, uint8, value)"},
        {INTERPRETATION, SINGLE, RIX_UINT8, other, {"interpretation"}, "(2, 2, 1, 1, 1, scalar, uint8, label)"},
    };
    for (const Case& c : cases) {
        RecordingImage image;
        setShape(image, c.elementType, c.voxelType, c.extents);
        image.enforceSameCharacteristics(&reference, c.characteristics);
        EXPECT_EQ(image.m_calls, c.calls) << c.characteristics;
        EXPECT_EQ(helper::describeImage(image), c.result);
    }
}

TEST(EnforceSameCharacteristics, StopsAtWhatTheImageRefuses) {
    io::MemoryImage reference;
    makeReference(reference);
    std::vector<String> calls{"reserve float32", "interpretation"};
    calls.insert(calls.end(), calibrationCalls.begin(), calibrationCalls.end());
    for (const String& refused : calls) {
        RecordingImage image;
        setShape(image, SINGLE, RIX_UINT8, {2, 2, 1, 1, 1});
        image.m_refused = {refused};
        EXPECT_THROW(image.enforceSameCharacteristics(&reference, ALL_CHARACTERISTICS), RuleException) << refused;
        EXPECT_EQ(image.m_calls.back(), refused);
    }
}

TEST(EnforceSameCharacteristics, NanDiffersFromEverything) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<String> set{"spacing rows"};
    for (const auto& [own, other, calls] : {std::tuple{nan, 1.0, set}, std::tuple{1.0, nan, set},
                                            std::tuple{nan, nan, set}, std::tuple{0.0, -0.0, std::vector<String>()}}) {
        io::MemoryImage reference;
        RecordingImage image;
        reference.setSpacingOf(ROWS, other);
        image.setSpacingOf(ROWS, own);
        image.m_calls.clear();
        image.enforceSameCharacteristics(&reference, CALIBRATION);
        EXPECT_EQ(image.m_calls, calls);
        EXPECT_EQ(std::isnan(image.getSpacingOf(ROWS)), std::isnan(other));
    }
}

TEST(EnforceSameCharacteristics, AnImageAlwaysMatchesItself) {
    RecordingImage image;
    setShape(image, VECTOR_2, RIX_FLOAT32, {7, 6, 1, 1, 1});
    image.setSpacingOf(ROWS, std::numeric_limits<double>::quiet_NaN());
    image.m_calls.clear();
    image.enforceSameCharacteristics(&image, ALL_CHARACTERISTICS);
    EXPECT_EQ(image.m_calls, std::vector<String>());
    EXPECT_EQ(image.getElementType(), VECTOR_2);
    EXPECT_THROW(image.enforceSameCharacteristics(nullptr, ALL_CHARACTERISTICS), RuleException);
}

}  // namespace
}  // namespace rix
