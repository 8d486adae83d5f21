#include <cmath>
#include <complex>
#include <limits>
#include <numeric>
#include <set>
#include <tuple>

#include <gtest/gtest.h>

#include <rix/image/MemoryImage.h>
#include <rix/rendering/Contours.h>
#include <rix/rendering/HistogramChart.h>
#include <rix/rendering/LabelColours.h>
#include <rix/rendering/NotDrawable.h>
#include <rix/rendering/Numbers.h>
#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>
#include <rix/rendering/View.h>
#include <rix/rendering/Window.h>

#include "ImageOfSamples.h"

namespace rix::rendering {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

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

TEST(LabelColours, areDistinctAndSeenOnEveryGround) {
    EXPECT_EQ(labelColour(0), (Colour{0, 0, 0, 0}));
    int nearest = 1000;
    for (std::uint32_t label = 1; label <= 256; ++label) {
        for (std::uint32_t other = 1; other < label; ++other) {
            nearest = std::min(nearest, colourDistance(labelColour(label), labelColour(other)));
        }
        EXPECT_GT(colourDistance(labelColour(label), grey(0)), 150) << label;
        EXPECT_GT(colourDistance(labelColour(label), grey(255)), 80) << label;
    }
    EXPECT_GE(nearest, 40);
    EXPECT_EQ(labelColour(257), labelColour(1));
    EXPECT_EQ(labelColour(4294967295U), labelColour(255));
}

TEST(LabelColours, tellNeighboursApart) {
    // Labels of one colour, in a grid: side by side, apart, and corner to corner.
    LabelSlice slice{60, 60, std::vector<std::uint32_t>(3600)};
    for (std::size_t i = 0; i < 3600; ++i) {
        const std::size_t x = i % 60;
        const std::size_t y = i / 60;
        const bool background = x > 30 && (x % 6 == 0 || y % 6 == 0);
        slice.labels[i] = background ? 0 : 1 + 256 * static_cast<std::uint32_t>(x / 6 + y / 6 * 10);
    }
    const LabelColours colours(slice);
    std::set<std::tuple<int, int, int>> seen;
    for (std::size_t y = 1; y < 60; y += 6) {
        for (std::size_t x = 1; x < 60; x += 6) {
            const Colour own = colours(slice.at(x, y));
            seen.emplace(own.red, own.green, own.blue);
            for (const auto& [dx, dy] : {std::pair(6U, 0U), std::pair(0U, 6U), std::pair(6U, 6U)}) {
                if ((dx * dy == 0 || x + dx < 30) && x + dx < 60 && y + dy < 60) {
                    EXPECT_GE(colourDistance(own, colours(slice.at(x + dx, y + dy))), 120) << x << ' ' << y;
                }
            }
        }
    }
    EXPECT_EQ(seen.size(), 100U) << "no two of up to 256 labels are alike, neighbours or not";
    EXPECT_EQ(colours(0), labelColour(0));
    EXPECT_EQ(LabelColours({1, 2, {7, 0}})(7), labelColour(7)) << "without a neighbour";
    // More labels than colours, all of them neighbours of some.
    LabelSlice many{1000, 1, std::vector<std::uint32_t>(1000)};
    std::iota(many.labels.begin(), many.labels.end(), 1U);
    const LabelColours ofMany(many);
    for (std::uint32_t label = 1; label < 1000; ++label) {
        EXPECT_GE(colourDistance(ofMany(label), ofMany(label + 1)), 120) << label;
    }
}

TEST(Slice, showsEveryKindOfImage) {
    const auto threeGreys = std::vector<Colour>{grey(0), grey(128), grey(255)};
    const test::ImageExtents row{3};
    EXPECT_EQ(pixelsOf(renderSlice(test::imageOfSamples<std::uint8_t>(row, {10, 15, 20}), {})), threeGreys);
    EXPECT_EQ(pixelsOf(renderSlice(test::imageOfSamples<std::int16_t>(row, {-100, 0, 100}), {})), threeGreys);
    EXPECT_EQ(pixelsOf(renderSlice(test::imageOfSamples<double>(row, {-0.25, 0, 0.25}), {})), threeGreys);
    EXPECT_EQ(pixelsOf(renderSlice(test::imageOfSamples<std::complex<float>>(row, {{0, 0}, {3, 4}, {0, -10}}), {})),
              threeGreys);

    auto binary = test::imageOfSamples<std::uint8_t>(row, {0, 1, 255});
    ASSERT_TRUE(binary.setInterpretation(RIX_BINARY));
    EXPECT_EQ(pixelsOf(renderSlice(binary, {})), (std::vector<Colour>{grey(0), grey(255), grey(255)}));

    auto labels = test::imageOfSamples<std::uint32_t>(row, {0, 1, 4000000000U});
    ASSERT_TRUE(labels.setInterpretation(RIX_LABEL));
    EXPECT_EQ(pixelsOf(renderSlice(labels, {}))[0], labelColour(0));
    EXPECT_EQ(pixelsOf(renderSlice(labels, {}))[1], labelColour(1));
    EXPECT_GE(colourDistance(pixelsOf(renderSlice(labels, {}))[2], labelColour(1)), 120);

    const test::ImageExtents coloured{2, 1, 1, 1, 3};
    auto bytes = test::imageOfSamples<std::uint8_t>(coloured, {1, 2, 30, 40, 100, 200});
    ASSERT_TRUE(bytes.setColorInterpretation(RGB));
    EXPECT_EQ(pixelsOf(renderSlice(bytes, {})), (std::vector<Colour>{{1, 30, 100}, {2, 40, 200}}));
    SliceChoice green;
    green.channel = 1;
    EXPECT_EQ(pixelsOf(renderSlice(bytes, green)), (std::vector<Colour>{grey(0), grey(255)}));
    auto words = test::imageOfSamples<std::uint16_t>(coloured, {0, 257, 514, 65535, 32768, 25700});
    ASSERT_TRUE(words.setColorInterpretation(RGB));
    EXPECT_EQ(pixelsOf(renderSlice(words, {})), (std::vector<Colour>{{0, 2, 128}, {1, 255, 100}}));
    auto opacity = test::imageOfSamples<std::uint8_t>({2, 1, 1, 1, 4}, {1, 2, 30, 40, 100, 200, 255, 77});
    ASSERT_TRUE(opacity.setColorInterpretation(RGB));
    EXPECT_EQ(pixelsOf(renderSlice(opacity, {})), (std::vector<Colour>{{1, 30, 100, 255}, {2, 40, 200, 77}}));
    auto real = test::imageOfSamples<float>({2, 1, 1, 1, 4}, {0, 10, 0, 10, 0, 10, 1, 0});
    ASSERT_TRUE(real.setColorInterpretation(RGB));
    EXPECT_EQ(pixelsOf(renderSlice(real, {})), (std::vector<Colour>{{0, 0, 0, 255}, {255, 255, 255, 0}}));
}

TEST(Slice, choosesPlaneFrameAndChannel) {
    // The samples of a slice differ by its number, so that its window tells it: the second sample is the number.
    std::vector<std::uint8_t> samples;
    for (std::uint8_t slice = 0; slice < 3 * 2 * 2; ++slice) {
        samples.insert(samples.end(), {0, slice, 100});
    }
    const auto image = test::imageOfSamples<std::uint8_t>({3, 1, 3, 2, 2}, samples);
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
    const Picture picture = renderSlice(test::imageOfSamples<std::uint8_t>({columns, rows}, samples), {});
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
    drawContours(picture, readLabelSlice(test::imageOfSamples<std::uint8_t>({7, 4}, labels), {}), labelColour);
    EXPECT_EQ(drawn(picture), ".......\n.111222\n.1.12..\n.1.12..\n");

    Picture tooSmall(7, 3);
    EXPECT_THROW(
        drawContours(tooSmall, readLabelSlice(test::imageOfSamples<std::uint8_t>({7, 4}, labels), {}), labelColour),
        NotDrawable);
    EXPECT_THROW(readLabelSlice(test::imageOfSamples<float>({2}, {0, 1}), {}), NotDrawable);
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

TEST(Contours, areFineLinesOnAnEnlargedPicture) {
    const LabelSlice labels{3, 1, {1, 1, 2}};
    Picture picture(18, 6, grey(9));
    drawContours(picture, labels, labelColour);
    for (std::size_t x = 0; x < 18; ++x) {
        const Colour wanted = x == 10 || x == 11 ? labelColour(1) : x == 12 || x == 13 ? labelColour(2) : grey(9);
        EXPECT_EQ(picture.row(3)[x], wanted) << x;
    }
    Picture odd(17, 6);
    EXPECT_THROW(drawContours(odd, labels, labelColour), NotDrawable);
}

/// Number and middle of the nearly white pixels of a part of a picture.
struct Ink {
    double count = 0.0;
    double x = 0.0;
    double y = 0.0;
};

Ink inkOf(const Picture& picture, std::size_t left, std::size_t right) {
    Ink ink;
    for (std::size_t y = 0; y < picture.height(); ++y) {
        for (std::size_t x = left; x < right; ++x) {
            if (const Colour& pixel = picture.row(y)[x]; std::min({pixel.red, pixel.green, pixel.blue}) > 200) {
                ink.count += 1.0;
                ink.x += static_cast<double>(x);
                ink.y += static_cast<double>(y);
            }
        }
    }
    return {ink.count, ink.x / ink.count, ink.y / ink.count};
}

TEST(Numbers, standOnTheirObjectsAndStayInThePicture) {
    // The left half, and a pixel in the corner, whose number is moved inside.
    LabelSlice labels{80, 40, std::vector<std::uint32_t>(3200, 0)};
    for (std::size_t i = 0; i < labels.labels.size(); ++i) {
        labels.labels[i] = i % 80 < 40 ? 1 : i == 3199 ? 7 : 0;
    }
    Picture picture(80, 40, grey(100));
    drawNumbers(picture, labels);
    const Ink one = inkOf(picture, 0, 40);
    EXPECT_GT(one.count, 8);  // a "1" has at least a stroke
    EXPECT_NEAR(one.x, 19.5, 2);
    EXPECT_NEAR(one.y, 19.5, 2);
    const Ink seven = inkOf(picture, 40, 80);
    EXPECT_GT(seven.count, 8);
    EXPECT_GT(seven.x, 65);
    EXPECT_GT(seven.y, 25);
    EXPECT_EQ(picture.row(0)[0], grey(100)) << "the ground stays as it was";

    // A ring: its centre is not on it.
    LabelSlice ring{90, 90, std::vector<std::uint32_t>(8100, 0)};
    for (std::size_t i = 0; i < ring.labels.size(); ++i) {
        ring.labels[i] = std::min(i % 90, i / 90) < 20 || std::max(i % 90, i / 90) >= 70 ? 3 : 0;
    }
    Picture ringPicture(90, 90);
    drawNumbers(ringPicture, ring);
    const Ink three = inkOf(ringPicture, 0, 90);
    EXPECT_GT(std::max(std::abs(three.x - 44.5), std::abs(three.y - 44.5)), 20);
}

TEST(Numbers, areSmallerWhereObjectsAre) {
    // A large picture of small objects side by side: of ten numbers nine don't reach into the next object.
    LabelSlice cells{1200, 30, std::vector<std::uint32_t>(36000)};
    for (std::size_t i = 0; i < cells.labels.size(); ++i) {
        cells.labels[i] = static_cast<std::uint32_t>(101 + i % 1200 / 30);
    }
    Picture picture(1200, 30, grey(100));
    drawNumbers(picture, cells);
    EXPECT_GT(inkOf(picture, 0, 30).count, 8);
    int crossed = 0;
    for (std::size_t x = 30; x < 1200; x += 30) {
        crossed += inkOf(picture, x - 1, x + 1).count > 0 ? 1 : 0;
    }
    EXPECT_LE(crossed, 8);
}

TEST(View, enlargesSmallPicturesUntilNumbersFit) {
    std::vector<std::uint8_t> samples(64, 1);
    samples[63] = 0;
    auto labels = test::imageOfSamples<std::uint8_t>({8, 8}, samples);
    ASSERT_TRUE(labels.setInterpretation(RIX_LABEL));
    EXPECT_EQ(renderView(labels, nullptr, {}, LabelNumbers::None).width(), 8U);
    const Picture small = renderView(labels, nullptr, {}, LabelNumbers::Drawn);
    EXPECT_GT(small.width(), 8U);
    EXPECT_EQ(small.width() % 8, 0U);
    EXPECT_EQ(small.width(), small.height());
    EXPECT_EQ(small.row(0)[0], labelColour(1));
    EXPECT_EQ(small.row(small.height() - 1)[small.width() - 1], labelColour(0));
    // Large objects are left as they are, and no picture grows without end.
    EXPECT_EQ(enlargementForNumbers({40, 40, std::vector<std::uint32_t>(1600, 5)}), 1U);
    LabelSlice dots{1000, 1, std::vector<std::uint32_t>(1000, 0)};
    dots.labels[500] = 123456789;
    EXPECT_EQ(enlargementForNumbers(dots), 2U);
    EXPECT_EQ(enlargementForNumbers({4, 4, std::vector<std::uint32_t>(16, 0)}), 1U);
}

TEST(HistogramChart, showsBarsWhereValuesAreAndMarksOfTheThresholds) {
    std::vector<std::uint8_t> samples(1000, 10);
    std::fill(samples.begin() + 400, samples.end(), 200);
    int rows = 0;
    const Picture chart =
        drawHistogram(test::imageOfSamples<std::uint8_t>({10, 100}, samples), {}, [&rows] { ++rows; });
    EXPECT_EQ(chart.width(), 800U);
    EXPECT_EQ(chart.height(), 500U);
    EXPECT_GT(rows, 0);
    // From left to right: a bar of two thirds, nothing, a full bar; a threshold between them.
    const Colour bar = chart.row(430)[91];
    EXPECT_NE(bar, grey(255));
    EXPECT_EQ(chart.row(430)[778], bar);
    EXPECT_EQ(chart.row(100)[778], bar);
    EXPECT_NE(chart.row(180)[91], bar);
    EXPECT_EQ(chart.row(250)[91], bar);
    std::set<std::tuple<int, int, int>> colours;
    for (std::size_t x = 100; x < 770; ++x) {
        const Colour pixel = chart.row(300)[x];
        colours.emplace(pixel.red, pixel.green, pixel.blue);
    }
    EXPECT_GT(colours.size(), 1U) << "a mark";
    EXPECT_THROW(drawHistogram(test::imageOfSamples<std::complex<float>>({1}, {{1, 2}}), {}, [] {}), NotDrawable);
    EXPECT_THROW(drawHistogram(test::imageOfSamples<float>({1}, {float(nan)}), {}, [] {}), NotDrawable);
}

TEST(HistogramChart, isThatOfOneFrameAndChannel) {
    // Two frames of two channels, the first frame of the second channel dark on the left only.
    const auto image = test::imageOfSamples<std::uint8_t>({2, 1, 1, 2, 2}, {10, 200, 80, 90, 10, 100, 0, 255});
    const auto alone = test::imageOfSamples<std::uint8_t>({2, 1}, {10, 100});
    const auto barsOf = [](const ImageModel& shown, const SliceChoice& choice) {
        const Picture chart = drawHistogram(shown, choice, [] {});
        return std::vector<Colour>(chart.row(430) + 90, chart.row(430) + 780);
    };
    SliceChoice second;
    second.channel = 1;
    EXPECT_EQ(barsOf(image, second), barsOf(alone, {}));
    EXPECT_NE(barsOf(image, {}), barsOf(image, second));
    second.frame = 2;
    EXPECT_THROW(barsOf(image, second), NotDrawable);
}

}  // namespace
}  // namespace rix::rendering
