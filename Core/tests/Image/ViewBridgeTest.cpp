#include <rix/image/ImageMetadata.h>
#include <rix/image/ImageModelFromView.h>
#include <rix/image/ImageModelFull2d.h>
#include <rix/image/ImageViewFromModel.h>

#include <vessel/MemoryImageView.h>

#include "ImageTestTools.h"

namespace rix {
namespace {

using test::countedValue;
using test::Extents;
using test::huge;
using test::makeCounted;
using test::readRow;
using vessel::Axis;
using vessel::AxisName;
using vessel::ElementLayout;
using vessel::MemoryImageView;
using vessel::SampleType;

TEST(ImageMetadata, NameUidAndOtherEntries) {
    MemoryImageView view({}, {{AxisName::COLUMN, 1, {}}});
    EXPECT_EQ(helper::getImageUid(view), "");
    helper::setImageName(view, "first");
    helper::setImageName(view, "second");
    EXPECT_EQ(helper::getImageName(view), "second");
    EXPECT_EQ(view.metadata().getChildCount(), 1U);
    helper::addMetadata(view, LUMORA_UID_FIELD_NAME, std::int64_t{1234});
    EXPECT_EQ(helper::getImageUid(view), "1234") << "an identifier that is a number reads as text";
    vessel::PropertyTree::Value value = true;
    EXPECT_FALSE(helper::readMetadata(view, "absent", value));
    view.metadata()["group"]["inner"].setValue(1.5);
    EXPECT_FALSE(helper::readMetadata(view, "group", value)) << "a group has no value";
    EXPECT_EQ(value, vessel::PropertyTree::Value(true));
    EXPECT_TRUE(helper::readMetadata(view, LUMORA_UID_FIELD_NAME, value));
    EXPECT_EQ(value, vessel::PropertyTree::Value(std::int64_t{1234}));
    EXPECT_TRUE(helper::isMemoryImage(view) && !helper::isDiskImage(view));
}

void fill(RawData bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 7 + 1);
    }
}

TEST(ViewBridge, RoundTripOfAllTypes) {
    const ElementTypes elementTypes[] = {SINGLE, VECTOR_2, VECTOR_3, MATRIX_2X2_SYM, MATRIX_3X3_SYM};
    for (const VoxelTypes voxelType : test::allTypes) {
        for (const ElementTypes elementType : elementTypes) {
            io::MemoryImage image;
            ASSERT_TRUE(image.reserve(elementType, voxelType, 5, 4, 3, 2, 2));
            SCOPED_TRACE(helper::describeImage(image));
            const std::size_t size = helper::getElementSize(image);
            fill(image.getImageBuffer(), 240 * size);

            const auto view = std::make_shared<ImageViewFromModel>(&image);
            EXPECT_EQ(view->getElementType().getSize(), size);
            ImageModelFromView back(view);
            EXPECT_EQ(helper::describeImage(back), helper::describeImage(image));
            EXPECT_EQ(back.getImageBuffer(), image.getImageBuffer()) << "no copy on the way";
            RawData row = nullptr;
            RawData own = nullptr;
            ASSERT_TRUE(back.getRowAt(2, row, 3, 2, 1, 1, 1));
            ASSERT_TRUE(image.getRowAt(2, own, 3, 2, 1, 1, 1));
            EXPECT_EQ(row, own);

            std::vector<std::uint8_t> buffer(240 * size);
            ASSERT_TRUE(
                view->readRegion({{0, 0, 0, 0, 0}, {5, 4, 3, 2, 2}}, reinterpret_cast<std::byte*>(buffer.data())));
            EXPECT_EQ(std::memcmp(buffer.data(), image.getImageBuffer(), buffer.size()), 0);
        }
    }
}

TEST(ViewBridge, CalibrationAndInterpretationBothWays) {
    io::MemoryImage image = makeCounted({4, 3, 2, 2, 1});
    test::setDistinctCalibration(image);
    image.setInterpretation(RIX_LABEL);
    image.setLabelScope(LabelScope::Plane);
    image.setColorInterpretation(NRGB);
    const SpatialFrame frame{.columns = 7, .origin = {0.1, -2, 3}, .spacing = {0.3, 0, 5}};
    image.setSpatialFrame(frame);
    const auto view = std::make_shared<ImageViewFromModel>(&image);
    EXPECT_EQ(view->getAxes()[1], (Axis{AxisName::ROW, 3, {6.5, 0.5, "micrometre"}}));
    EXPECT_EQ(view->getAxes()[3], (Axis{AxisName::TIME, 2, {26.5, 1.0, "second"}}));
    EXPECT_EQ(view->getAxes()[4], (Axis{AxisName::CHANNEL, 1, {36.5, 1.25, ""}}));
    ImageModelFromView back(view);
    EXPECT_TRUE(test::imagesEqual(image, back));
    EXPECT_EQ(back.getSpatialFrame(), frame);

    // And back into the image, through both.
    io::MemoryImage plain = makeCounted({4, 3, 2, 2, 1});
    plain.setInterpretation(RIX_LABEL);
    plain.setSpatialUnitName("um");
    plain.setColorInterpretation(HSL);
    test::copyMeaning(plain, back);
    back.setSpatialFrame(std::nullopt);
    EXPECT_TRUE(view->applyMetadata());
    EXPECT_TRUE(test::imagesEqual(plain, image));
    EXPECT_EQ(image.getSpatialFrame(), std::nullopt);
    EXPECT_FALSE(view->setCalibration(AxisName::CHANNEL, {0.0, 1.0, "nm"})) << "an image has no unit for channels";
    EXPECT_EQ(view->getAxes()[2].calibration, (vessel::AxisCalibration{0.0, 0.0, "um"}));
}

/// Keeps its samples but gives no address, as an image on disk does.
class RemoteView : public vessel::ImageView {
public:
    RemoteView(vessel::ElementType type, std::vector<Axis> axes) : m_image(type, std::move(axes)) {}
    const std::vector<Axis>& getAxes() const override { return m_image.getAxes(); }
    vessel::ElementType getElementType() const override { return m_image.getElementType(); }
    bool has(vessel::Capability capability) const override { return capability != vessel::Capability::IN_MEMORY; }
    bool readRegion(const vessel::Region& region, std::byte* buffer) const override {
        return m_image.readRegion(region, buffer);
    }
    bool writeRegion(const vessel::Region& region, const std::byte* buffer) override {
        return m_image.writeRegion(region, buffer);
    }
    const std::byte* getBuffer() const override { return nullptr; }
    std::byte* getBuffer() override { return nullptr; }
    bool setCalibration(AxisName name, const vessel::AxisCalibration& c) override {
        return m_image.setCalibration(name, c);
    }
    vessel::SpatialDirections getSpatialDirections() const override { return {}; }
    bool setSpatialDirections(const vessel::SpatialDirections&) override { return false; }

    MemoryImageView m_image;
};

// The axes of a view come in any order; every element must be found whichever it is.
TEST(ViewBridge, AnyOrderOfAxes) {
    struct Case {
        std::vector<Axis> axes;
        bool rowsInPlace;
        bool wholeBuffer;
    };
    const Axis x{AxisName::COLUMN, 4, {}}, y{AxisName::ROW, 3, {}}, z{AxisName::SLICE, 2, {}}, t{AxisName::TIME, 2, {}},
        c{AxisName::CHANNEL, 3, {}}, one{AxisName::TIME, 1, {}}, oneX{AxisName::COLUMN, 1, {}};
    const Case cases[] = {
        {{x, y, z, t, c}, true, true}, {{x, y}, true, true},         {{x, y, c}, true, true},
        {{c, x, y}, false, false},     {{x, c, y}, true, false},     {{t, c, z, y, x}, false, false},
        {{y, x}, false, false},        {{one, x, y, c}, true, true}, {{c, y}, true, false},
        {{c, oneX, y}, true, false},   {{y, z}, true, true},         {{x, y, c, t}, true, false},
    };
    const ElementLayout layout = ElementLayout::VECTOR_2;
    for (const Case& test : cases) {
        const auto view = std::make_shared<MemoryImageView>(vessel::ElementType{SampleType::UINT8, layout}, test.axes);
        const auto remote = std::make_shared<RemoteView>(vessel::ElementType{SampleType::UINT8, layout}, test.axes);
        ImageModelFromView image(view);
        ImageModelFromView far(remote);
        SCOPED_TRACE(helper::describeImage(image));
        EXPECT_EQ(image.getImageBuffer() != nullptr, test.wholeBuffer);
        const Extents extents = helper::getExtents(image);
        std::vector<std::uint8_t> row(2 * extents[0]);
        std::vector<std::uint8_t> found(row.size());
        std::size_t next = 0;
        Extents rows = extents;
        rows[COLUMNS] = 1;
        test::forEachPosition(rows, [&](const Extents& p) {
            for (std::uint8_t& value : row) {
                value = static_cast<std::uint8_t>(++next % 251);
            }
            ASSERT_TRUE(image.writeRowAt(extents[0], row.data(), 0, p[1], p[2], p[3], p[4]));
            ASSERT_TRUE(far.writeRowAt(extents[0], row.data(), 0, p[1], p[2], p[3], p[4]));
            ASSERT_TRUE(image.readRowAt(extents[0], found.data(), 0, p[1], p[2], p[3], p[4]));
            ASSERT_EQ(found, row);
            ASSERT_TRUE(far.readRowAt(1, found.data(), extents[0] - 1, p[1], p[2], p[3], p[4]));
            ASSERT_EQ(found[1], row.back());
            // The same element through the view itself.
            vessel::Region region;
            for (std::size_t i = 0; i < test.axes.size(); ++i) {
                region.first[i] = p[static_cast<std::size_t>(test.axes[i].name)];
                region.extent[i] = 1;
            }
            std::uint8_t element[2] = {};
            ASSERT_TRUE(view->readRegion(region, reinterpret_cast<std::byte*>(element)));
            ASSERT_EQ(element[1], row[1]);
            RawData address = nullptr;
            ASSERT_EQ(image.getRowAt(extents[0], address, 0, p[1], p[2], p[3], p[4]), test.rowsInPlace);
            ASSERT_EQ(address != nullptr && std::memcmp(address, row.data(), row.size()) == 0, test.rowsInPlace);
            ASSERT_FALSE(far.getRowAt(1, address, 0, p[1], p[2], p[3], p[4]));
        });
        std::vector<std::byte> all(next), allFar(next);
        const vessel::Region whole = [&] {
            vessel::Region region;
            for (std::size_t i = 0; i < test.axes.size(); ++i) {
                region.extent[i] = test.axes[i].extent;
            }
            return region;
        }();
        ASSERT_TRUE(view->readRegion(whole, all.data()));
        ASSERT_TRUE(remote->readRegion(whole, allFar.data()));
        EXPECT_EQ(all, allFar);

        for (std::size_t axis = 0; axis < 5; ++axis) {
            for (const std::size_t position : {extents[axis], huge}) {
                Extents outside{};
                outside[axis] = position;
                for (const ImageModelFromView* const model : {&image, &far}) {
                    EXPECT_FALSE(
                        model->readRowAt(1, found.data(), outside[0], outside[1], outside[2], outside[3], outside[4]));
                }
            }
        }
        EXPECT_FALSE(image.readRowAt(huge, found.data(), 1, 0, 0, 0, 0));
        EXPECT_TRUE(far.isOnDisk());
        EXPECT_FALSE(image.isOnDisk());
    }
}

TEST(ViewBridge, MissingAxesKeepACalibration) {
    const auto view = std::make_shared<MemoryImageView>(vessel::ElementType{},
                                                        std::vector<Axis>{{AxisName::ROW, 3, {1.0, 2.0, "mm"}}});
    ImageModelFromView image(view);
    EXPECT_EQ(helper::getExtents(image), (Extents{1, 3, 1, 1, 1}));
    EXPECT_EQ(image.getSpatialUnitName(), "mm");
    io::MemoryImage reference = makeCounted({1, 3, 1, 1, 1});
    reference.setSpacingOf(PLANS, 4.0);
    reference.setSpacingOf(ROWS, 5.0);
    reference.setSpatialUnitName("km");
    reference.setSequenceUnitName("s");
    image.enforceSameCharacteristics(&reference, CALIBRATION);
    EXPECT_EQ(image.getSpacingOf(PLANS), 4.0);
    EXPECT_EQ(image.getSequenceUnitName(), "s");
    EXPECT_EQ(view->getAxes()[0].calibration, (vessel::AxisCalibration{0.0, 5.0, "km"}));
}

TEST(ViewBridge, ReserveIsForTheShapeThatIsThere) {
    const auto view =
        std::make_shared<MemoryImageView>(vessel::ElementType{SampleType::INT16, ElementLayout::SCALAR},
                                          std::vector<Axis>{{AxisName::COLUMN, 4, {}}, {AxisName::ROW, 3, {}}});
    ImageModelFromView image(view);
    EXPECT_TRUE(image.reserve(RIX_INT16, 4, 3, 1, 1, 1));
    EXPECT_FALSE(image.reserve(RIX_UINT16, 4, 3, 1, 1, 1));
    EXPECT_FALSE(image.reserve(VECTOR_2, RIX_INT16, 4, 3, 1, 1, 1));
    EXPECT_FALSE(image.reserve(RIX_INT16, 3, 4, 1, 1, 1));
    EXPECT_EQ(image.getImageId(), "Image_" + std::to_string(reinterpret_cast<std::uintptr_t>(&image)));
    helper::addMetadata(*view, LUMORA_UID_FIELD_NAME, std::string("u-1"));
    EXPECT_EQ(image.getImageId(), "u-1");
}

TEST(ViewBridge, ConstSidesAreReadOnly) {
    const std::shared_ptr<const vessel::ImageView> constView =
        std::make_shared<MemoryImageView>(vessel::ElementType{}, std::vector<Axis>{{AxisName::COLUMN, 4, {}}});
    ImageModelFromView image(constView);
    std::uint8_t value = 3;
    RawData row = nullptr;
    ConstRawData constRow = nullptr;
    EXPECT_FALSE(image.writeRowAt(1, &value, 0, 0, 0, 0, 0));
    EXPECT_FALSE(image.getRowAt(1, row, 0, 0, 0, 0, 0));
    EXPECT_TRUE(image.getConstRowAt(1, constRow, 0, 0, 0, 0, 0));
    EXPECT_TRUE(image.readRowAt(1, &value, 0, 0, 0, 0, 0));
    EXPECT_FALSE(image.setSpacingOf(COLUMNS, 2.0));
    EXPECT_FALSE(image.setInterpretation(RIX_LABEL));
    EXPECT_FALSE(image.reserve(RIX_UINT8, 4, 1, 1, 1, 1));
    EXPECT_EQ(image.getImageBuffer(), nullptr);
    EXPECT_NE(std::as_const(image).getImageBuffer(), nullptr);

    const io::MemoryImage model = makeCounted({4, 3, 1, 1, 1});
    ImageViewFromModel view(&model);
    EXPECT_FALSE(view.has(vessel::Capability::WRITABLE));
    EXPECT_TRUE(helper::isMemoryImage(view));
    std::byte bytes[8] = {};
    EXPECT_FALSE(view.writeRegion({{0, 0, 0, 0, 0}, {1, 1, 1, 1, 1}}, bytes));
    EXPECT_TRUE(view.readRegion({{3, 2, 0, 0, 0}, {1, 1, 1, 1, 1}}, bytes));
    EXPECT_EQ(bytes[0], std::byte{12});
    EXPECT_EQ(view.getBuffer(), nullptr);
    EXPECT_FALSE(view.setCalibration(AxisName::ROW, {}));
    EXPECT_FALSE(view.applyMetadata());
}

TEST(ViewBridge, RegionsOfViewsThatAreNoBuffer) {
    const Extents shape{5, 4, 3, 2, 2};
    io::MemoryImage real = makeCounted(shape);
    ImageModelSizeProxy box(&real, {1, 1, 1, 0, 1}, {3, 3, 2, 2, 1});
    ImageViewFromModel view(&box);
    EXPECT_EQ(view.getBuffer(), nullptr);
    std::vector<std::uint16_t> values(4);
    const vessel::Region region{{1, 2, 0, 1, 0}, {2, 1, 2, 1, 1}};
    ASSERT_TRUE(view.readRegion(region, reinterpret_cast<std::byte*>(values.data())));
    EXPECT_EQ(values, (std::vector{countedValue(shape, {2, 3, 1, 1, 1}), countedValue(shape, {3, 3, 1, 1, 1}),
                                   countedValue(shape, {2, 3, 2, 1, 1}), countedValue(shape, {3, 3, 2, 1, 1})}));
    values = {1001, 1002, 1003, 1004};
    ASSERT_TRUE(view.writeRegion(region, reinterpret_cast<const std::byte*>(values.data())));
    EXPECT_EQ(readRow(real, 2, {2, 3, 2, 1, 1}), (std::vector<std::uint16_t>{1003, 1004}));
    EXPECT_EQ(readRow(real, 1, {1, 3, 2, 1, 1}), std::vector{countedValue(shape, {1, 3, 2, 1, 1})});
    EXPECT_FALSE(view.readRegion({{0, 0, 0, 2, 0}, {1, 1, 1, 1, 1}}, nullptr));
    EXPECT_FALSE(view.readRegion({{0, 0, 0, 0, huge}, {1, 1, 1, 1, 2}}, nullptr));
}

TEST(ViewBridge, AViewOfAnImageThatWasReshapedRefuses) {
    io::MemoryImage model = makeCounted({4, 3, 1, 1, 1});
    const auto view = std::make_shared<ImageViewFromModel>(&model);
    ImageModelFromView back(view);
    std::byte bytes[64] = {};
    const vessel::Region region{{0, 0, 0, 0, 0}, {1, 1, 1, 1, 1}};
    EXPECT_TRUE(view->readRegion(region, bytes));
    using Change = std::function<bool()>;
    for (const Change& change : {Change([&] { return model.reserve(RIX_COMPLEX_FLOAT64, 4, 3, 1, 1, 1); }),
                                 Change([&] { return model.reserve(VECTOR_3, RIX_UINT16, 4, 3, 1, 1, 1); }),
                                 Change([&] { return model.reserve(RIX_UINT16, 2, 3, 1, 1, 1); })}) {
        ASSERT_TRUE(change());
        EXPECT_FALSE(view->readRegion(region, bytes));
        EXPECT_FALSE(view->writeRegion(region, bytes));
        EXPECT_EQ(view->getBuffer(), nullptr);
        RawData row = nullptr;
        EXPECT_FALSE(back.getRowAt(4, row, 0, 2, 0, 0, 0));
        EXPECT_FALSE(back.readRowAt(4, reinterpret_cast<RawData>(bytes), 0, 2, 0, 0, 0));
    }
}

TEST(ViewBridge, OwnershipAndWhatCannotBeBridged) {
    auto model = std::make_shared<io::MemoryImage>(makeCounted({4, 3, 1, 1, 1}));
    const std::weak_ptr<io::MemoryImage> watch = model;
    {
        const auto view = std::make_shared<ImageViewFromModel>(model);
        const ImageModelFromView back(view);
        model.reset();
        EXPECT_FALSE(watch.expired());
        EXPECT_EQ(readRow(back, 1, {3, 2, 0, 0, 0}), std::vector<std::uint16_t>{12});
    }
    EXPECT_TRUE(watch.expired());

    EXPECT_THROW(ImageModelFromView(std::make_shared<MemoryImageView>(
                     vessel::ElementType{SampleType::INT64, ElementLayout::SCALAR}, std::vector<Axis>())),
                 InvalidCall);
    EXPECT_THROW(ImageModelFromView(std::shared_ptr<vessel::ImageView>()), InvalidCall);
    EXPECT_THROW(ImageViewFromModel(static_cast<ImageModel*>(nullptr)), InvalidCall);
    io::MemoryImage undefined;
    ASSERT_TRUE(undefined.reserve(static_cast<VoxelTypes>(3), 1, 1, 1, 1, 1));
    EXPECT_THROW(ImageViewFromModel{&undefined}, InvalidCall);
}

}  // namespace
}  // namespace rix
