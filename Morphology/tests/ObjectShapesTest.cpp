// Hit or miss and convex hulls against their definitions.

#include <rix/image/ImageHeader.h>
#include <rix/morphology/ConvexHullOfObjects2d.h>
#include <rix/morphology/Erosion2d.h>
#include <rix/morphology/HitOrMiss2d.h>

#include "Sanitizers.h"
#include "Testing.h"

namespace rix::test {
namespace {

io::MemoryImage scatter(const Extents& n, std::size_t values, std::size_t share, VoxelTypes type = RIX_UINT8) {
    return makeImage({.voxelType = type, .extents = n}, [=](std::size_t x, std::size_t y, std::size_t z, std::size_t t,
                                                            std::size_t c) {
        std::uint64_t bits = (x + 1) * 0x9E3779B97F4A7C15U + (y + 3) * 0xC2B2AE3D27D4EB4FU + z * 77 + t * 5 + c;
        bits = (bits ^ (bits >> 29)) * 0xD6E8FEB86659FD93U;
        bits ^= bits >> 32;
        return bits % 1000 < share ? 1 + bits / 1000 % values : 0;
    });
}

io::MemoryImage hitOrMiss(const ImageModel& image, const ImageModel& foreground, const ImageModel& background) {
    morphology::HitOrMiss2d filter;
    io::MemoryImage output;
    filter.setInputObjectImage(&image);
    filter.setInputForegroundElementImage(&foreground);
    filter.setInputBackgroundElementImage(&background);
    filter.setOutputBinaryImage(&output);
    filter.run();
    return output;
}

void compareHits(const io::MemoryImage& image, const io::MemoryImage& foreground, const io::MemoryImage& background) {
    const Extents n = helper::getExtents(image);
    const std::vector<double> values = samplesOf<double>(image);
    const auto fits = [&](std::size_t at, const io::MemoryImage& element, bool isObject) {
        const Extents e = helper::getExtents(element);
        const std::vector<double> wanted = samplesOf<double>(element);
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const auto x = static_cast<std::int64_t>(at % n[0] + i % e[0]) - static_cast<std::int64_t>(e[0] / 2);
            const auto y = static_cast<std::int64_t>(at / n[0] % n[1] + i / e[0]) - static_cast<std::int64_t>(e[1] / 2);
            if (wanted[i] == 0) {
                continue;
            }
            if (x < 0 || y < 0 || x >= static_cast<std::int64_t>(n[0]) || y >= static_cast<std::int64_t>(n[1])) {
                return false;
            }
            const std::size_t plane = at / n[0] / n[1];
            const std::size_t to = (plane * n[1] + static_cast<std::size_t>(y)) * n[0] + static_cast<std::size_t>(x);
            if ((values[to] != 0) != isObject) {
                return false;
            }
        }
        return true;
    };
    std::size_t at = 0;
    const io::MemoryImage expected = makeImage({.extents = n, .interpretation = RIX_BINARY}, [&](auto...) {
        const bool isHit = fits(at, foreground, true) && fits(at, background, false);
        ++at;
        return isHit ? 1 : 0;
    });
    EXPECT_TRUE(imagesEqual(expected, hitOrMiss(image, foreground, background)))
        << helper::describeImage(foreground) << helper::describeImage(background);
}

TEST(HitOrMiss, IsThatOfTheDefinition) {
    for (const Extents& n :
         {Extents{150, 21, 2, 1, 1}, Extents{64, 9, 1, 2, 1}, Extents{1, 8, 1, 1, 1}, Extents{5, 4, 1, 1, 1}}) {
        const io::MemoryImage image = scatter(n, 3, 500, RIX_INT16);
        for (const Extents& e :
             {Extents{1, 1, 1, 1, 1}, Extents{3, 3, 1, 1, 1}, Extents{4, 2, 1, 1, 1}, Extents{1, 5, 1, 1, 1}}) {
            compareHits(image, scatter(e, 1, 400), scatter({3, 1, 1, 1, 1}, 1, 999));
            compareHits(image, scatter({2, 2, 1, 1, 1}, 1, 999), scatter(e, 1, 300, RIX_FLOAT32));
        }
        // Far offsets: whole words, and beyond the image.
        const io::MemoryImage far = makeImage({.extents = {131, 1, 1, 1, 1}}, [](std::size_t x, auto...) {
            return x == 1 || x == 65 || x == 129 ? 1 : 0;
        });
        const io::MemoryImage nothing = makeImage({.extents = {1, 1, 1, 1, 1}}, [](auto...) { return 0; });
        compareHits(scatter(n, 1, 900), far, nothing);
        compareHits(scatter(n, 1, 100), nothing, far);
        EXPECT_THROW(hitOrMiss(image, nothing, nothing), RuleException);
        EXPECT_THROW(hitOrMiss(image, scatter({2, 2, 2, 1, 1}, 1, 999), nothing), RuleException);
    }
}

/// Whoever asks what a run will need has headers alone.
TEST(HitOrMiss, IsDescribedFromHeaders) {
    const HeaderImage image(helper::headerOf(scatter({150, 21, 1, 1, 1}, 3, 500)));
    const HeaderImage element(helper::headerOf(scatter({3, 3, 1, 1, 1}, 1, 400)));
    morphology::HitOrMiss2d filter;
    filter.setInputObjectImage(&image);
    filter.setInputForegroundElementImage(&element);
    filter.setInputBackgroundElementImage(&element);
    HeaderImage output;
    filter.setOutputBinaryImage(&output);
    EXPECT_NO_THROW(filter.inputBackgroundElementImage.applyRules(true));
    morphology::Erosion2d erosion;
    erosion.setInputImage(&image);
    erosion.setStructuringElement(morphology::Erosion2d::IMAGE);
    erosion.setInputElementImage(&element);
    EXPECT_GT(erosion.describe().extraMemory, 0U);
}

io::MemoryImage hullsOf(const ImageModel& image) {
    morphology::ConvexHullOfObjects2d filter;
    io::MemoryImage output;
    filter.setInputLabelImage(&image);
    filter.setOutputLabelImage(&output);
    const std::size_t stated = filter.describe().extraMemory;
    filter.run();
    EXPECT_LE(filter.getPeakExtraMemory(), stated);
    return output;
}

using Point = std::array<std::int64_t, 2>;

/// Whether a point lies between others: they are not all on one side of any line through it.
bool isInHull(const Point& p, const std::vector<Point>& points) {
    const auto cross = [&](const Point& a, const Point& b) {
        return (a[0] - p[0]) * (b[1] - p[1]) - (a[1] - p[1]) * (b[0] - p[0]);
    };
    if (std::find(points.begin(), points.end(), p) != points.end()) {
        return true;
    }
    // Outside there is a point that has all others on one side, or behind it.
    for (const Point& a : points) {
        bool allLeft = true;
        bool allRight = true;
        for (const Point& b : points) {
            const std::int64_t turn = cross(a, b);
            const std::int64_t along = (a[0] - p[0]) * (b[0] - p[0]) + (a[1] - p[1]) * (b[1] - p[1]);
            const bool isBehind = turn == 0 && along < 0;
            allLeft = allLeft && turn >= 0 && !isBehind;
            allRight = allRight && turn <= 0 && !isBehind;
        }
        if (allLeft || allRight) {
            return false;
        }
    }
    return true;
}

void compareHulls(const io::MemoryImage& image) {
    const Extents n = helper::getExtents(image);
    const std::vector<double> values = samplesOf<double>(image);
    const std::vector<double> found = samplesOf<double>(hullsOf(image));
    const std::size_t size = n[0] * n[1];
    for (std::size_t first = 0; first < values.size(); first += size) {
        std::map<double, std::vector<Point>> objects;
        for (std::size_t i = 0; i < size; ++i) {
            if (values[first + i] != 0 && values[first + i] == values[first + i]) {
                objects[values[first + i]].push_back(
                    {static_cast<std::int64_t>(i % n[0]), static_cast<std::int64_t>(i / n[0])});
            }
        }
        for (std::size_t i = 0; i < size; ++i) {
            const Point p{static_cast<std::int64_t>(i % n[0]), static_cast<std::int64_t>(i / n[0])};
            double expected = 0;
            for (auto object = objects.rbegin(); object != objects.rend(); ++object) {
                expected = isInHull(p, object->second) ? object->first : expected;
            }
            ASSERT_EQ(found[first + i], expected) << i % n[0] << ' ' << i / n[0] << ' ' << helper::describeImage(image);
        }
    }
}

TEST(ConvexHullOfObjects, IsThatOfTheDefinition) {
    Sampling sampling(3);
    for (const std::size_t share : {3U, 8U, 20U, 60U}) {
        if (!sampling.takesNext()) {
            continue;
        }
        compareHulls(scatter({40, 33, 2, 1, 1}, 2, share));
        compareHulls(scatter({33, 25, 1, 1, 2}, 7, share, RIX_UINT32));
        compareHulls(scatter({1, 30, 1, 1, 1}, 3, 10 * share));
        compareHulls(scatter({30, 1, 1, 1, 1}, 3, 10 * share));
    }
    const double values[] = {0.0, -2.5, std::nan(""), 1e6, -0.0};
    compareHulls(
        makeImage({.voxelType = RIX_FLOAT32, .extents = {21, 17, 1, 1, 1}}, [&](std::size_t x, std::size_t y, auto...) {
            const std::size_t k = (x * 31 + y * 57 + x * y) % 43;
            return k < 5 ? values[k] : 0.0;
        }));
    const io::MemoryImage ring = makeImage(
        {.extents = {50, 50, 1, 1, 1}, .interpretation = RIX_LABEL}, [](std::size_t x, std::size_t y, auto...) {
            const double d = std::hypot(static_cast<double>(x) - 24, static_cast<double>(y) - 24);
            return d < 20 && d > 15 ? 5 : 0;
        });
    compareHulls(ring);
    EXPECT_TRUE(imagesEqual(hullsOf(ring), hullsOf(hullsOf(ring))));
}

}  // namespace
}  // namespace rix::test
