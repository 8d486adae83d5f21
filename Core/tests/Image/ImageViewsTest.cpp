#include <rix/image/ImageModel3dWithFull2d.h>
#include <rix/image/ImageModelFull2d.h>
#include <rix/image/ImageModelFull3d.h>

#include "ImageTestTools.h"

namespace rix {
namespace {

using io::MemoryImage;
using test::countedValue;
using test::Extents;
using test::huge;
using test::makeCounted;
using test::readRow;

const Extents whole{5, 4, 3, 2, 3};

/// Reads and writes every element of `view` through all four operations and compares with the real image.
void checkAgainst(MemoryImage& real, ImageModel& view, const Extents& extents, const Extents& first) {
    EXPECT_EQ(helper::getExtents(view), extents);
    test::forEachPosition(extents, [&](const Extents& p) {
        Extents inReal{};
        for (std::size_t i = 0; i < 5; ++i) {
            inReal[i] = first[i] + p[i];
        }
        const std::uint16_t value = countedValue(whole, inReal);
        ASSERT_EQ(readRow(view, 1, p), std::vector{value});
        RawData row = nullptr;
        ConstRawData constRow = nullptr;
        const std::size_t count = extents[0] - p[0];
        ASSERT_TRUE(view.getRowAt(count, row, p[0], p[1], p[2], p[3], p[4]));
        ASSERT_TRUE(view.getConstRowAt(count, constRow, p[0], p[1], p[2], p[3], p[4]));
        ASSERT_EQ(row, real.getImageBuffer() + 2 * (value - 1U));
        ASSERT_EQ(constRow, row);
        for (const std::uint16_t written : {std::uint16_t{9999}, value}) {
            const auto* const sample = reinterpret_cast<ConstRawData>(&written);
            ASSERT_TRUE(view.writeRowAt(1, sample, p[0], p[1], p[2], p[3], p[4]));
            ASSERT_EQ(readRow(real, 1, inReal), std::vector{written});
        }
    });
}

/// A condition that only a wrong caller breaks: an abort with its text where assertions are active, else false.
void expectRefused(const std::function<bool()>& call, [[maybe_unused]] const std::string& text) {
#ifdef NDEBUG
    EXPECT_FALSE(call()) << text;
#else
    EXPECT_DEATH(static_cast<void>(call()), testing::HasSubstr("'" + text + "'"));
#endif
}

struct BadRow {
    std::size_t count;
    Extents position;
    const char* text;
};

/// The row operations refuse, with the text where assertions are active. They share their checks: all four are asked
/// for the first case only.
void checkRefusals(ImageModel& view, const std::vector<BadRow>& cases) {
    std::uint8_t buffer[64] = {};
    RawData row = nullptr;
    for (const BadRow& c : cases) {
        const auto [x, y, z, t, s] = c.position;
        expectRefused([&, n = c.count] { return view.getRowAt(n, row, x, y, z, t, s); }, c.text);
    }
    const auto& [n, p, text] = cases.front();
    ConstRawData constRow = nullptr;
    expectRefused([&] { return view.getConstRowAt(n, constRow, p[0], p[1], p[2], p[3], p[4]); }, text);
    expectRefused([&] { return view.readRowAt(n, buffer, p[0], p[1], p[2], p[3], p[4]); }, text);
    expectRefused([&] { return view.writeRowAt(n, buffer, p[0], p[1], p[2], p[3], p[4]); }, text);
    EXPECT_EQ(row, nullptr);
    EXPECT_EQ(constRow, nullptr);
}

const char* const columnText = "( nbElement + firstCols ) <= m_numOfColumns";

TEST(ImageViews, Full2dPresentsEveryPlane) {
    MemoryImage real = makeCounted(whole);
    ImageModelFull2d view(&real, 0, 0, 0);
    for (std::size_t s = 0; s < whole[4]; ++s) {
        view.changeCurrentSpectral(s);
        for (std::size_t t = 0; t < whole[3]; ++t) {
            view.changeCurrentSequence(t);
            for (std::size_t z = 0; z < whole[2]; ++z) {
                view.changeCurrentPlane(z);
                checkAgainst(real, view, {5, 4, 1, 1, 1}, {0, 0, z, t, s});
                EXPECT_EQ(view.firstElement(), (std::vector<std::size_t>{0, 0, z, t, s}));
                const std::size_t offset = 2U * (countedValue(whole, {0, 0, z, t, s}) - 1U);
                EXPECT_EQ(view.getImageBuffer(), real.getImageBuffer() + offset);
                EXPECT_EQ(std::as_const(view).getImageBuffer(), real.getImageBuffer() + offset);
            }
        }
    }
    const ImageModelFull2d other(static_cast<const ImageModel*>(&real), 2, 1, 1);
    EXPECT_EQ(readRow(other, 1, {1, 2, 0, 0, 0}), std::vector{countedValue(whole, {1, 2, 2, 1, 1})});
    checkRefusals(view, {{6, {0, 0, 0, 0, 0}, columnText},
                         {huge, {2, 0, 0, 0, 0}, columnText},
                         {1, {0, 4, 0, 0, 0}, "firstRows < m_numOfRows"},
                         {1, {0, 0, 1, 0, 0}, "firstPlans == 0"},
                         {1, {0, 0, 0, 1, 0}, "firstSequence == 0"},
                         {1, {0, 0, 0, 0, 1}, "firstSpectralSeries == 0"}});
}

TEST(ImageViews, Full3dPresentsEveryVolume) {
    MemoryImage real = makeCounted(whole);
    ImageModelFull3d view(&real, 1, 2);
    checkAgainst(real, view, {5, 4, 3, 1, 1}, {0, 0, 0, 1, 2});
    view.changeCurrentSequence(0);
    view.changeCurrentSpectral(1);
    checkAgainst(real, view, {5, 4, 3, 1, 1}, {0, 0, 0, 0, 1});
    EXPECT_EQ(view.firstElement(), (std::vector<std::size_t>{0, 0, 0, 0, 1}));
    EXPECT_EQ(view.getImageBuffer(), nullptr);
    checkRefusals(view, {{1, {5, 0, 0, 0, 0}, columnText},
                         {1, {0, huge, 0, 0, 0}, "firstRows < m_numOfRows"},
                         {1, {0, 0, 0, huge, 0}, "firstSequence == 0"},
                         {1, {0, 0, 0, 0, 1}, "firstSpectralSeries == 0"}});
    RawData row = nullptr;
    EXPECT_FALSE(view.getRowAt(1, row, 0, 0, 3, 0, 0));
}

TEST(ImageViews, SlabStartsAtItsFirstPlane) {
    MemoryImage real = makeCounted(whole);
    ImageModel3dWithFull2d view(&real, 1, 2, 1, 0);
    checkAgainst(real, view, {5, 4, 2, 1, 1}, {0, 0, 1, 1, 0});
    view.changeCurrentSpectral(2);
    checkAgainst(real, view, {5, 4, 2, 1, 1}, {0, 0, 1, 1, 2});
    EXPECT_EQ(view.firstElement(), (std::vector<std::size_t>{0, 0, 1, 1, 2}));
    const char* const planeText = "m_firstPlane + firstPlans < m_realImage->getNumOf( PLANS )";
    checkRefusals(view, {{1, {0, 0, 2, 0, 0}, planeText},
                         {1, {0, 0, huge, 0, 0}, planeText},
                         {6, {0, 0, 0, 0, 0}, columnText},
                         {1, {0, 4, 0, 0, 0}, "firstRows < m_numOfRows"},
                         {1, {0, 0, 0, 1, 0}, "firstSequence == 0"},
                         {1, {0, 0, 0, 0, 1}, "firstSpectralSeries == 0"}});
    const ImageModel3dWithFull2d narrow(static_cast<const ImageModel*>(&real), 0, 1, 0, 0);
    RawData row = nullptr;
    EXPECT_FALSE(narrow.getRowAt(1, row, 0, 0, 1, 0, 0)) << "a plane of the real image, but not of the slab";
}

TEST(ImageViews, AnIndexEqualToTheExtentFailsAtTheFirstRowOnly) {
    MemoryImage real = makeCounted(whole);
    std::uint8_t buffer[2] = {};
    ImageModelFull2d plane(&real, 3, 2, 3);
    EXPECT_FALSE(plane.readRowAt(1, buffer, 0, 0, 0, 0, 0));
    EXPECT_EQ(plane.getImageBuffer(), nullptr);
    const ImageModelFull3d volume(&real, 2, 0);
    EXPECT_FALSE(volume.readRowAt(1, buffer, 0, 0, 0, 0, 0));
#ifndef NDEBUG
    EXPECT_DEATH(plane.changeCurrentPlane(4), testing::HasSubstr("'indexPlane <= m_realImage->getNumOf( PLANS )'"));
    EXPECT_DEATH(plane.changeCurrentSequence(3),
                 testing::HasSubstr("'indexSequence <= m_realImage->getNumOf( SEQUENCE )'"));
    EXPECT_DEATH(plane.changeCurrentSpectral(4),
                 testing::HasSubstr("'indexSpectral <= m_realImage->getNumOf( SPECTRAL_SERIES )'"));
    EXPECT_DEATH(ImageModel3dWithFull2d(&real, 4, 1, 0, 0),
                 testing::HasSubstr("'firstPlane <= m_realImage->getNumOf( PLANS )'"));
#endif
}

TEST(ImageViews, ViewsReachThroughAndCannotBeReshaped) {
    MemoryImage real = makeCounted(whole);
    ImageModelFull2d view(&real, 1, 0, 0);
    test::setDistinctCalibration(view);
    EXPECT_TRUE(view.setInterpretation(RIX_LABEL));
    EXPECT_TRUE(view.setColorInterpretation(YIQ));
    MemoryImage expected = makeCounted(whole);
    test::setDistinctCalibration(expected);
    expected.setInterpretation(RIX_LABEL);
    expected.setColorInterpretation(YIQ);
    EXPECT_TRUE(test::imagesEqual(expected, real));
    EXPECT_EQ(view.getImageId(), real.getImageId());
    EXPECT_EQ(view.realImage(), &real);
    EXPECT_EQ(view.realImageReadOnly(), &real);
    EXPECT_FALSE(view.reserve(RIX_UINT16, 5, 4, 1, 1, 1));
    EXPECT_FALSE(view.reserve(SINGLE, RIX_UINT8, 1, 1, 1, 1, 1));
    EXPECT_EQ(helper::getExtents(real), whole);

    // A view of a view, as an iteration inside an iteration makes them.
    ImageModelFull3d volume(&real, 1, 2);
    ImageModelFull2d nested(&volume, 2, 0, 0);
    EXPECT_EQ(readRow(nested, 1, {4, 3, 0, 0, 0}), std::vector{countedValue(whole, {4, 3, 2, 1, 2})});

    MemoryImage empty;
    ImageModelFull2d none(&empty, 0, 0, 0);
    EXPECT_EQ(none.getImageBuffer(), nullptr);
}

TEST(ImageViews, SizeProxyPresentsAnyBox) {
    MemoryImage real = makeCounted(whole);
    ImageModelSizeProxy view(&real, {1, 2, 1, 0, 2}, {3, 2, 2, 2, 1});
    checkAgainst(real, view, {3, 2, 2, 2, 1}, {1, 2, 1, 0, 2});
    EXPECT_EQ(view.firstElement(), (std::vector<std::size_t>{1, 2, 1, 0, 2}));
    RawData row = nullptr;
    for (std::size_t axis = 0; axis < 5; ++axis) {
        for (const std::size_t position : {view.getNumOf(static_cast<Components>(axis)), huge}) {
            Extents p{};
            p[axis] = position;
            EXPECT_FALSE(view.getRowAt(1, row, p[0], p[1], p[2], p[3], p[4])) << axis;
        }
    }
    EXPECT_FALSE(view.getRowAt(huge, row, 1, 0, 0, 0, 0));

    EXPECT_THROW(ImageModelSizeProxy(&real, {0, 0, 0, 0}, {1, 1, 1, 1, 1}), InvalidCall);
    EXPECT_THROW(ImageModelSizeProxy(&real, {0, 0, 0, 0, 0}, {1, 1, 1, 1, 1, 1}), InvalidCall);
    EXPECT_THROW(ImageModelSizeProxy(&real, {0, 0, 2, 0, 0}, {1, 1, 2, 1, 1}), BadIndex);
    EXPECT_THROW(ImageModelSizeProxy(&real, {0, huge, 0, 0, 0}, {1, 2, 1, 1, 1}), BadIndex);
    EXPECT_NO_THROW(ImageModelSizeProxy(&real, {5, 4, 3, 2, 3}, {0, 0, 0, 0, 0}));
}

}  // namespace
}  // namespace rix
