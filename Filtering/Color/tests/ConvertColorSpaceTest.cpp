// Colours against the definitions in double precision, written with the functions of the language, and against
// published values.

#include <rix/filtering/color/ConvertColorSpace.h>
#include <rix/properties/EnumInfo.h>

#include "ImageOfSamples.h"
#include "Kernels.h"

namespace rix::filtering::color::test {
namespace {

using Color = std::array<double, 3>;
using Convert = ConvertColorSpace;

constexpr Convert::ColorSpace colored[] = {Convert::LINEAR_RGB, Convert::HSV, Convert::HSL,   Convert::XYZ,
                                           Convert::LAB,        Convert::LCH, Convert::YCBCR, Convert::YIQ};

double light(double v) {
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}
Color xyzOf(const Color& rgb) {
    const double r = light(rgb[0]);
    const double g = light(rgb[1]);
    const double b = light(rgb[2]);
    // B. Lindbloom's digits are rounded at the seventh; these are those of the chromaticities.
    return {0.4124564390896921 * r + 0.357576077643909 * g + 0.18043748326639894 * b,
            0.21267285140562248 * r + 0.715152155287818 * g + 0.07217499330655958 * b,
            0.019333895582329317 * r + 0.119192025881303 * g + 0.9503040785363677 * b};
}
Color labOf(const Color& rgb) {
    const auto f = [](double t) { return t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0; };
    const Color xyz = xyzOf(rgb);
    const double x = f(xyz[0] / 0.95047);
    const double y = f(xyz[1]);
    const double z = f(xyz[2] / 1.08883);
    return {116.0 * y - 16.0, 500.0 * (x - y), 200.0 * (y - z)};
}
double turned(double degrees) {
    return degrees < 0.0 ? degrees + 360.0 : degrees;
}

/// The definition of a space: an sRGB colour in it.
Color reference(Convert::ColorSpace space, const Color& rgb) {
    const auto [r, g, b] = rgb;
    const double high = std::max({r, g, b});
    const double low = std::min({r, g, b});
    const double range = high - low;
    const double hue = range == 0.0 ? 0.0
                       : high == r  ? turned(60.0 * std::fmod((g - b) / range, 6.0))
                       : high == g  ? 60.0 * ((b - r) / range + 2.0)
                                    : 60.0 * ((r - g) / range + 4.0);
    const double luma = 0.299 * r + 0.587 * g + 0.114 * b;
    const double u = 0.492111 * (b - luma);
    const double v = 0.877283 * (r - luma);
    const double angle = 33.0 * M_PI / 180.0;
    switch (space) {
        case Convert::RGB: return rgb;
        case Convert::LINEAR_RGB: return {light(r), light(g), light(b)};
        case Convert::HSV: return {hue, high == 0.0 ? 0.0 : range / high, high};
        case Convert::HSL: {
            const double lightness = (high + low) / 2.0;
            return {hue, range == 0.0 ? 0.0 : range / (1.0 - std::abs(2.0 * lightness - 1.0)), lightness};
        }
        case Convert::XYZ: return xyzOf(rgb);
        case Convert::LAB: return labOf(rgb);
        case Convert::LCH: {
            const Color lab = labOf(rgb);
            return {lab[0], std::hypot(lab[1], lab[2]), turned(std::atan2(lab[2], lab[1]) * 180.0 / M_PI)};
        }
        case Convert::YCBCR: return {luma, (b - luma) / 1.772, (r - luma) / 1.402};
        case Convert::YIQ:
            return {luma, v * std::cos(angle) - u * std::sin(angle), v * std::sin(angle) + u * std::cos(angle)};
        case Convert::GRAY: return {luma, luma, luma};
    }
    return {};
}

/// Which channel turns; none is 3.
std::size_t hueChannel(Convert::ColorSpace space) {
    return space == Convert::HSV || space == Convert::HSL ? 0U : space == Convert::LCH ? 2U : 3U;
}
/// How far single precision may be off in a channel of a space.
double tolerance(Convert::ColorSpace space, std::size_t channel) {
    const bool isCie = space == Convert::LAB || space == Convert::LCH;
    return channel == hueChannel(space) ? 1e-3 : isCie ? 2e-4 : 2e-6;
}

/// Every 15th value of the 8-bit cube, or every 5th of its greys, as shares.
std::vector<Color> sampledCube() {
    std::vector<Color> colors;
    for (int r = 0; r < 256; r += 15) {
        for (int g = 0; g < 256; g += 15) {
            for (int b = 0; b < 256; b += 15) {
                colors.push_back({r / 255.0, g / 255.0, b / 255.0});
            }
        }
    }
    for (int v = 0; v < 256; v += 5) {
        colors.push_back({v / 255.0, v / 255.0, v / 255.0});
    }
    return colors;
}

template <class T>
io::MemoryImage imageOf(const std::vector<Color>& colors, double factor = 1.0) {
    std::vector<T> samples;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (const Color& color : colors) {
            samples.push_back(static_cast<T>(color[channel] * factor));
        }
    }
    return rix::test::imageOfSamples<T>({colors.size(), 1, 1, 1, 3}, samples);
}

io::MemoryImage converted(const ImageModel& image, Convert::ColorSpace from, Convert::ColorSpace to,
                          Convert::OutputType type = Convert::REAL) {
    io::MemoryImage output;
    Convert convert;
    convert.setInputImage(&image);
    convert.setFromSpace(from);
    convert.setToSpace(to);
    convert.setOutputType(type);
    convert.setOutputImage(&output);
    io::MemoryImage portable;
    rix::test::onEveryLevel(convert, [&] {
        if (portable.getNumOf(COLUMNS) == 0) {
            portable = output;
        }
        EXPECT_TRUE(rix::test::imagesEqual(portable, output));
    });
    return output;
}

/// Compares an image with colours of a space, hues only where they are of a colour.
template <class T>
void expectColors(const ImageModel& image, Convert::ColorSpace space, const std::vector<Color>& colors, double scale) {
    const std::vector<T> samples = rix::test::samplesOf<T>(image);
    ASSERT_EQ(samples.size(), 3 * colors.size());
    for (std::size_t channel = 0; channel < 3; ++channel) {
        double worst = 0.0;
        for (std::size_t i = 0; i < colors.size(); ++i) {
            double off = std::abs(static_cast<double>(samples[channel * colors.size() + i]) - colors[i][channel]);
            if (channel == hueChannel(space)) {
                off = colors[i][1] < (space == Convert::LCH ? 1.0 : 0.01) ? 0.0 : std::min(off, 360.0 - off);
            }
            worst = std::max(worst, off);
        }
        EXPECT_LE(worst, tolerance(space, channel) * scale) << "channel " << channel;
    }
}

template <class T>
class ColorSpaces : public ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ColorSpaces, Reals);

TYPED_TEST(ColorSpaces, AreThoseOfTheDefinitionsAndLeadBack) {
    const double scale = sizeof(TypeParam) == sizeof(float) ? 1.0 : 1e-6;
    const std::vector<Color> colors = sampledCube();
    const io::MemoryImage rgb = imageOf<TypeParam>(colors);
    const io::MemoryImage bytes = imageOf<std::uint8_t>(colors, 255.0 + 1e-9);
    for (const Convert::ColorSpace space : colored) {
        SCOPED_TRACE(Convert::getInfoColorSpace().getLabelFromValue(space));
        std::vector<Color> expected;
        std::transform(colors.begin(), colors.end(), std::back_inserter(expected),
                       [&](const Color& color) { return reference(space, color); });
        const io::MemoryImage there = converted(rgb, Convert::RGB, space);
        expectColors<TypeParam>(there, space, expected, scale);
        expectColors<float>(converted(bytes, Convert::RGB, space), space, expected, 1.0);
        // By way of spaces that do not meet at RGB, too.
        expectColors<TypeParam>(
            converted(imageOf<TypeParam>(expected), space, Convert::LAB), Convert::LAB,
            [&] {
                std::vector<Color> lab;
                std::transform(colors.begin(), colors.end(), std::back_inserter(lab), labOf);
                return lab;
            }(),
            3.0 * scale);
        expectColors<TypeParam>(converted(there, space, Convert::RGB), Convert::RGB, colors, 5.0 * scale);
        io::MemoryImage back = converted(there, space, Convert::RGB, Convert::UNSIGNED_INTEGER_8_BIT);
        EXPECT_EQ(back.getColorInterpretation(), rix::RGB);
        back.setColorInterpretation(UNKNOWN);
        EXPECT_TRUE(rix::test::imagesEqual(bytes, back));
    }
}

TEST(ColorConversion, GiveWhatIsPublished) {
    // D65, by B. Lindbloom's calculator; the four digits that it shows.
    const Color published[4][2] = {{{1, 0, 0}, {53.2408, 80.0925, 67.2032}},
                                   {{0, 1, 0}, {87.7347, -86.1827, 83.1793}},
                                   {{0, 0, 1}, {32.2970, 79.1875, -107.8602}},
                                   {{1, 1, 1}, {100, 0, 0}}};
    for (const auto& [rgb, lab] : published) {
        const auto samples =
            rix::test::samplesOf<double>(converted(imageOf<double>({rgb}), Convert::RGB, Convert::LAB));
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(samples[channel], lab[channel], 1e-4);
        }
    }
    // Greys are neutral in single precision, too.
    const io::MemoryImage gray = converted(imageOf<std::uint8_t>({{77, 77, 77}}), Convert::RGB, Convert::LCH);
    EXPECT_LT(rix::test::samplesOf<float>(gray)[1], 1e-4F);
}

TEST(ColorConversion, AreEncodedInIntegers) {
    const Color orange{255, 128, 0};
    const auto encoded = [&]<class T>(T, Convert::ColorSpace space, const Color& color) {
        const io::MemoryImage image = converted(imageOf<T>({color}), Convert::RGB, space, Convert::SAME_AS_INPUT);
        const auto samples = rix::test::samplesOf<T>(image);
        return std::vector<int>(samples.begin(), samples.end());
    };
    const std::uint8_t byte = 0;
    EXPECT_EQ(encoded(byte, Convert::HSV, orange), (std::vector<int>{15, 255, 255}));
    EXPECT_EQ(encoded(byte, Convert::HSV, {255, 0, 2}), (std::vector<int>{0, 255, 255})) << "359.5 degrees are 0";
    EXPECT_EQ(encoded(byte, Convert::HSL, orange), (std::vector<int>{15, 255, 128}));
    EXPECT_EQ(encoded(byte, Convert::LAB, {255, 0, 0}), (std::vector<int>{136, 208, 195}));
    EXPECT_EQ(encoded(byte, Convert::LCH, {255, 0, 0}), (std::vector<int>{136, 105, 20}));
    EXPECT_EQ(encoded(byte, Convert::XYZ, {255, 255, 255}), (std::vector<int>{242, 255, 255}));
    EXPECT_EQ(encoded(byte, Convert::YCBCR, {255, 0, 0}), (std::vector<int>{76, 85, 255}));
    EXPECT_EQ(encoded(byte, Convert::YIQ, {255, 0, 0}), (std::vector<int>{76, 204, 155}));
    EXPECT_EQ(encoded(byte, Convert::GRAY, orange), (std::vector<int>{151}));
    const std::uint16_t word = 0;
    EXPECT_EQ(encoded(word, Convert::LAB, {65535, 65535, 65535}), (std::vector<int>{65535, 32896, 32896}));
    EXPECT_EQ(encoded(word, Convert::HSV, {0, 65535, 0}), (std::vector<int>{21845, 65535, 65535}));
    EXPECT_EQ(encoded(word, Convert::YCBCR, {0, 0, 0}), (std::vector<int>{0, 32768, 32768}));
    // Integers are read as they are written.
    EXPECT_EQ(rix::test::samplesOf<std::uint8_t>(converted(imageOf<std::uint8_t>({{15, 255, 255}}), Convert::HSV,
                                                           Convert::RGB, Convert::SAME_AS_INPUT))[1],
              128);
}

TEST(ColorConversion, KeepOpacityAndSayWhatTheyAre) {
    auto image = rix::test::imageOfSamples<std::uint8_t>({1, 1, 1, 1, 4}, {255, 0, 0, 51});
    image.setColorInterpretation(rix::RGB);
    const io::MemoryImage real = converted(image, Convert::RGB, Convert::GRAY);
    EXPECT_EQ(rix::test::samplesOf<float>(real)[1], 0.2F);
    EXPECT_EQ(real.getColorInterpretation(), UNKNOWN);
    const io::MemoryImage gray = converted(image, Convert::RGB, Convert::GRAY, Convert::SAME_AS_INPUT);
    EXPECT_EQ(rix::test::samplesOf<std::uint8_t>(gray)[0], 76);
    EXPECT_EQ(rix::test::samplesOf<std::uint8_t>(gray)[1], 51);
    const io::MemoryImage hsl = converted(gray, Convert::GRAY, Convert::HSL);
    EXPECT_EQ(hsl.getNumOf(SPECTRAL_SERIES), 4U);
    EXPECT_EQ(hsl.getColorInterpretation(), rix::HSL);

    // In place where nothing but the values changes.
    io::MemoryImage inPlace = imageOf<float>({{1.0, 0.5, 0.25}});
    const io::MemoryImage apart = converted(inPlace, Convert::RGB, Convert::YIQ);
    Convert convert;
    convert.setInputImage(&inPlace);
    convert.setOutputImage(&inPlace);
    EXPECT_THROW(convert.run(), RuleException);
    convert.setToSpace(Convert::YIQ);
    convert.run();
    EXPECT_TRUE(rix::test::imagesEqual(apart, inPlace));
    // Now it is said to be YIQ, and is nothing else.
    convert.setToSpace(Convert::RGB);
    EXPECT_THROW(convert.run(), RuleException);
    convert.setFromSpace(Convert::GRAY);
    EXPECT_THROW(convert.run(), RuleException);
    convert.setFromSpace(Convert::YIQ);
    convert.run();
    EXPECT_EQ(inPlace.getColorInterpretation(), rix::RGB);
}

}  // namespace
}  // namespace rix::filtering::color::test
