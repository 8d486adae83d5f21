#include <rix/image/ImageHeader.h>

#include <rix/image/ImageCalibration.h>

#include <gtest/gtest.h>

#include "ImageTestTools.h"

namespace rix {
namespace {

using test::huge;

TEST(HeaderImage, IsAnImageWithoutSamples) {
    io::MemoryImage image = test::makeCounted({4, 3, 2, 1, 2});
    test::setDistinctCalibration(image);
    image.setInterpretation(RIX_LABEL);
    image.setLabelScope(LabelScope::Plane);
    image.setColorInterpretation(HSL);
    HeaderImage header(helper::headerOf(image));
    io::MemoryImage back;
    ASSERT_TRUE(helper::applyHeader(header.header(), back));
    for (const ImageModel* const made : std::initializer_list<const ImageModel*>{&header, &back}) {
        EXPECT_EQ(helper::describeImage(*made), helper::describeImage(image));
        EXPECT_EQ(ImageCalibration(*made), ImageCalibration(image));
        EXPECT_EQ(made->getSpatialDirections(), image.getSpatialDirections());
        EXPECT_EQ(made->getColorInterpretation(), HSL);
        EXPECT_EQ(helper::getLabelScope(*made), LabelScope::Plane);
    }
    // What is no label image any more forgets it, whoever keeps it.
    for (ImageModel* const made : std::initializer_list<ImageModel*>{&header, &back}) {
        EXPECT_TRUE(made->setInterpretation(RIX_VALUE));
        EXPECT_FALSE(helper::setLabelScope(*made, LabelScope::Plane));
        EXPECT_TRUE(made->setInterpretation(RIX_LABEL));
        EXPECT_EQ(helper::getLabelScope(*made), LabelScope::Volume);
    }
    std::uint8_t buffer[8] = {};
    ConstRawData row = nullptr;
    EXPECT_FALSE(header.readRowAt(1, buffer, 0, 0, 0, 0, 0));
    EXPECT_FALSE(header.writeRowAt(1, buffer, 0, 0, 0, 0, 0));
    EXPECT_FALSE(header.getConstRowAt(1, row, 0, 0, 0, 0, 0));
    // No memory holds this.
    EXPECT_TRUE(header.reserve(RIX_UINT8, std::size_t{1} << 40, std::size_t{1} << 20, 1, 1, 1));
    EXPECT_EQ(header.getNumOf(COLUMNS), std::size_t{1} << 40);
    EXPECT_FALSE(header.reserve(RIX_UINT16, huge, 1, 1, 1, 1));
    EXPECT_FALSE(helper::applyHeader({.extents = {huge, 2, 1, 1, 1}}, header));
    EXPECT_EQ(header.getVoxelType(), RIX_UINT8);
}

}  // namespace
}  // namespace rix
