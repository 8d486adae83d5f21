#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <numeric>
#include <set>

#include <gtest/gtest.h>

#include <rix/access/VoxelTypeLists.h>
#include <rix/image/MemoryImage.h>

#include <rix/rendering/Contours.h>
#include <rix/rendering/LabelColours.h>
#include <rix/rendering/NotDrawable.h>
#include <rix/rendering/Numbers.h>
#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>
#include <rix/rendering/Window.h>

namespace rix::rendering {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Extents {
    std::size_t columns = 1, rows = 1, planes = 1, frames = 1, channels = 1;
};

/// An image of the given samples in storage order.
template <class T>
io::MemoryImage makeImage(const Extents& extents, const std::vector<T>& samples) {
    io::MemoryImage image;
    const auto& [columns, rows, planes, frames, channels] = extents;
    EXPECT_TRUE(image.reserve(access::voxelTypeOf<T>, columns, rows, planes, frames, channels));
    EXPECT_EQ(samples.size(), columns * rows * planes * frames * channels);
    std::memcpy(image.getInternalBuffer(), samples.data(), samples.size() * sizeof(T));
    return image;
}

std::vector<Colour> pixelsOf(const Picture& picture) {
    return {picture.row(0), picture.row(0) + picture.width() * picture.height()};
}

TEST(Window, spansFewValuesAndCutsTheTailsOfMany) {
    EXPECT_EQ(automaticWindow({3, -1, nan, 7, infinity, -infinity}), (Window{-1, 7}));
    EXPECT_EQ(automaticWindow({nan, infinity}), (Window{0, 0}));
    EXPECT_EQ(automaticWindow({}), (Window{0, 0}));

    std::vector<double> ramp(2001);
    std::iota(ramp.begin(), ramp.end(), 0.0);
    ramp.front() = -1e9;
    ramp.back() = 1e9;
    EXPECT_EQ(automaticWindow(ramp), (Window{7, 1993}));  // 0.35 and 99.65 percent of 2000 steps

    std::vector<double> nearlyConstant(5000, 10.0);
    nearlyConstant[17] = 12;
    EXPECT_EQ(automaticWindow(nearlyConstant), (Window{10, 12}));
}

TEST(Window, mapsValuesToGreys) {
    const Window usual{10, 20};
    const Window flat{5, 5};
    const Window widest{-std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
    const struct {
        double value;
        Window window;
        int level;
    } cases[] = {{10, usual, 0},   {20, usual, 255}, {15, usual, 128},       {9, usual, 0},
                 {21, usual, 255}, {nan, usual, 0},  {infinity, usual, 255}, {-infinity, usual, 0},
                 {5, flat, 128},   {4, flat, 0},     {6, flat, 255},         {0, widest, 128}};
    for (const auto& [value, window, level] : cases) {
        EXPECT_EQ(toGreyLevel(value, window), level) << value << " in " << window.low << ".." << window.high;
    }
}

TEST(LabelColours, tellNeighboursApart) {
    EXPECT_EQ(labelColour(0), (Colour{0, 0, 0, 0}));
    const auto difference = [](const Colour& a, const Colour& b) {
        return std::abs(a.red - b.red) + std::abs(a.green - b.green) + std::abs(a.blue - b.blue);
    };
    for (std::uint32_t label = 1; label < 100000; ++label) {
        for (std::uint32_t next = label + 1; next <= label + 3; ++next) {
            ASSERT_GT(difference(labelColour(label), labelColour(next)), 80) << label << " and " << next;
        }
        const Colour colour = labelColour(label);
        ASSERT_GT(std::max({colour.red, colour.green, colour.blue}), 200) << label;
    }
    EXPECT_EQ(labelColour(4000000000U), labelColour(4000000000U));
    EXPECT_GT(difference(labelColour(4294967294U), labelColour(4294967295U)), 80);

    // Labels whose own hues are nearly the same, in a grid: side by side, apart, and corner to corner.
    constexpr std::uint32_t alike = 46368;
    LabelSlice slice{60, 60, std::vector<std::uint32_t>(3600)};
    for (std::size_t i = 0; i < 3600; ++i) {
        const std::size_t x = i % 60;
        const std::size_t y = i / 60;
        const bool background = x > 30 && (x % 6 == 0 || y % 6 == 0);
        slice.labels[i] = background ? 0 : 1 + alike * static_cast<std::uint32_t>(x / 6 + y / 6 * 10);
    }
    const LabelColours colours(slice);
    for (std::size_t y = 1; y < 60; y += 6) {
        for (std::size_t x = 1; x < 60; x += 6) {
            for (const auto& [dx, dy] : {std::pair(6U, 0U), std::pair(0U, 6U), std::pair(6U, 6U)}) {
                if (x + dx < 30 && y + dy < 60) {
                    EXPECT_GT(difference(colours(slice.at(x, y)), colours(slice.at(x + dx, y + dy))), 80);
                }
                if (dx * dy == 0 && x + dx < 60 && y + dy < 60) {
                    EXPECT_GT(difference(colours(slice.at(x, y)), colours(slice.at(x + dx, y + dy))), 80);
                }
            }
        }
    }
    EXPECT_EQ(colours(0), labelColour(0));
    EXPECT_EQ(LabelColours({1, 2, {7, 0}})(7), labelColour(7)) << "without a neighbour";
}

TEST(Slice, showsEveryKindOfImage) {
    const auto threeGreys = std::vector<Colour>{grey(0), grey(128), grey(255)};
    const Extents row{3};
    EXPECT_EQ(pixelsOf(renderSlice(makeImage<std::uint8_t>(row, {10, 15, 20}), {})), threeGreys);
    EXPECT_EQ(pixelsOf(renderSlice(makeImage<std::int16_t>(row, {-100, 0, 100}), {})), threeGreys);
    EXPECT_EQ(pixelsOf(renderSlice(makeImage<double>(row, {-0.25, 0, 0.25}), {})), threeGreys);
    EXPECT_EQ(pixelsOf(renderSlice(makeImage<std::complex<float>>(row, {{0, 0}, {3, 4}, {0, -10}}), {})), threeGreys);

    auto binary = makeImage<std::uint8_t>(row, {0, 1, 255});
    ASSERT_TRUE(binary.setInterpretation(RIX_BINARY));
    EXPECT_EQ(pixelsOf(renderSlice(binary, {})), (std::vector<Colour>{grey(0), grey(255), grey(255)}));

    auto labels = makeImage<std::uint32_t>(row, {0, 1, 4000000000U});
    ASSERT_TRUE(labels.setInterpretation(RIX_LABEL));
    EXPECT_EQ(pixelsOf(renderSlice(labels, {})),
              (std::vector<Colour>{labelColour(0), labelColour(1), labelColour(4000000000U)}));

    const Extents coloured{2, 1, 1, 1, 3};
    auto bytes = makeImage<std::uint8_t>(coloured, {1, 2, 30, 40, 100, 200});
    ASSERT_TRUE(bytes.setColorInterpretation(RGB));
    EXPECT_EQ(pixelsOf(renderSlice(bytes, {})), (std::vector<Colour>{{1, 30, 100}, {2, 40, 200}}));
    SliceChoice green;
    green.channel = 1;
    EXPECT_EQ(pixelsOf(renderSlice(bytes, green)), (std::vector<Colour>{grey(0), grey(255)}));
    auto words = makeImage<std::uint16_t>(coloured, {0, 257, 514, 65535, 32768, 25700});
    ASSERT_TRUE(words.setColorInterpretation(RGB));
    EXPECT_EQ(pixelsOf(renderSlice(words, {})), (std::vector<Colour>{{0, 2, 128}, {1, 255, 100}}));
}

TEST(Slice, choosesPlaneFrameAndChannel) {
    // The samples of a slice differ by its number, so that its window tells it: the second sample is the number.
    std::vector<std::uint8_t> samples;
    for (std::uint8_t slice = 0; slice < 3 * 2 * 2; ++slice) {
        samples.insert(samples.end(), {0, slice, 100});
    }
    const auto image = makeImage<std::uint8_t>({3, 1, 3, 2, 2}, samples);
    const auto middleOf = [&](const SliceChoice& choice) {
        return std::lround(renderSlice(image, choice).row(0)[1].red * 100 / 255.0);
    };
    SliceChoice choice;
    EXPECT_EQ(middleOf(choice), 1);  // the middle plane
    choice.plane = 2;
    EXPECT_EQ(middleOf(choice), 2);
    choice.frame = 1;
    EXPECT_EQ(middleOf(choice), 5);
    choice.channel = 1;
    EXPECT_EQ(middleOf(choice), 11);
    choice.plane = 3;
    EXPECT_THROW(renderSlice(image, choice), NotDrawable);
}

TEST(Slice, takesTheWindowOfALongRowFromAllOfIt) {
    // More values than are looked at, bright in every eighth column only: a regular step would see one kind.
    const std::size_t columns = 16384;
    const std::size_t rows = 512;
    std::vector<std::uint8_t> samples(columns * rows);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = i % 8 == 3 ? 200 : 50;
    }
    const Picture picture = renderSlice(makeImage<std::uint8_t>({columns, rows}, samples), {});
    EXPECT_EQ(picture.row(0)[3], grey(255));
    EXPECT_EQ(picture.row(0)[4], grey(0));
}

/// '.' where the picture is black, else the label whose colour it has.
std::string drawn(const Picture& picture) {
    std::string text;
    for (std::size_t y = 0; y < picture.height(); ++y) {
        for (std::size_t x = 0; x < picture.width(); ++x) {
            const Colour pixel = picture.row(y)[x];
            text += pixel == grey(0) ? '.' : pixel == labelColour(1) ? '1' : pixel == labelColour(2) ? '2' : '?';
        }
        text += '\n';
    }
    return text;
}

TEST(Contours, followTheInsideOfLabelsAndStayOpenAtTheEdge) {
    const std::vector<std::uint8_t> labels{0, 0, 0, 0, 0, 0, 0,  //
                                           0, 1, 1, 1, 2, 2, 2,  //
                                           0, 1, 1, 1, 2, 2, 2,  //
                                           0, 1, 1, 1, 2, 2, 2};
    Picture picture(7, 4);
    drawContours(picture, readLabelSlice(makeImage<std::uint8_t>({7, 4}, labels), {}), labelColour);
    EXPECT_EQ(drawn(picture), ".......\n.111222\n.1.12..\n.1.12..\n");

    Picture tooSmall(7, 3);
    EXPECT_THROW(drawContours(tooSmall, readLabelSlice(makeImage<std::uint8_t>({7, 4}, labels), {}), labelColour),
                 NotDrawable);
    EXPECT_THROW(readLabelSlice(makeImage<float>({2}, {0, 1}), {}), NotDrawable);
}

TEST(Picture, standsSideBySideAndBecomesAnImage) {
    const Picture both = sideBySide(Picture(2, 1, grey(10)), Picture(1, 2, grey(20)), 1);
    const Colour white = grey(255);
    EXPECT_EQ(pixelsOf(both), (std::vector<Colour>{grey(10), grey(10), white, grey(20),  //
                                                   white, white, white, grey(20)}));
    const auto greyImage = toImage(both);
    EXPECT_EQ(greyImage.getNumOf(SPECTRAL_SERIES), 1U);
    EXPECT_EQ(greyImage.getImageBuffer()[3], 20);

    const auto coloured = toImage(Picture(2, 2, {1, 2, 3}));
    ASSERT_EQ(coloured.getNumOf(SPECTRAL_SERIES), 3U);
    EXPECT_EQ(coloured.getColorInterpretation(), RGB);
    EXPECT_EQ(coloured.getImageBuffer()[0], 1);
    EXPECT_EQ(coloured.getImageBuffer()[4], 2);
    EXPECT_EQ(coloured.getImageBuffer()[11], 3);
    const auto transparent = toImage(Picture(1, 1, {5, 5, 5, 77}));
    ASSERT_EQ(transparent.getNumOf(SPECTRAL_SERIES), 4U);
    EXPECT_EQ(transparent.getImageBuffer()[3], 77);
}

TEST(Numbers, StandOnTheirObjectsAndStayInThePicture) {
    // Two objects: the left half of a strip, and a pixel in the corner, whose number is moved inside.
    LabelSlice labels{40, 20, std::vector<std::uint32_t>(800, 0)};
    for (std::size_t i = 0; i < 800; ++i) {
        labels.labels[i] = i % 40 < 20 ? 1 : i == 799 ? 7 : 0;
    }
    Picture picture(40, 20, grey(100));
    drawNumbers(picture, labels);
    const auto white = [&](std::size_t left, std::size_t right) {
        std::size_t count = 0;
        double x = 0.0;
        double y = 0.0;
        for (std::size_t row = 0; row < 20; ++row) {
            for (std::size_t column = left; column < right; ++column) {
                if (picture.row(row)[column] == grey(255)) {
                    ++count;
                    x += static_cast<double>(column);
                    y += static_cast<double>(row);
                }
            }
        }
        const auto n = static_cast<double>(count);
        return std::array<double, 3>{n, x / n, y / n};
    };
    EXPECT_GT(white(0, 20)[0], 8);  // a "1" has at least a stroke
    EXPECT_NEAR(white(0, 20)[1], 9.5, 1.5);
    EXPECT_NEAR(white(0, 20)[2], 9.5, 1.5);
    EXPECT_GT(white(20, 40)[0], 8);
    EXPECT_GT(white(20, 40)[1], 30);
    EXPECT_GT(white(20, 40)[2], 10);
}

}  // namespace
}  // namespace rix::rendering
