// Every measure against a slow reference that follows its definition pixel by pixel, on random label images.

#include "ReferenceMeasures.h"
#include "ReferenceObjects.h"

namespace rix::individual_analysis {
namespace {

using namespace test_tools;

struct MeasureCase {
    std::string column;
    std::function<double(const ReferenceObject&)> reference;
    double tolerance = 1e-12;  ///< relative
};

void expectMeasures(const ImageModel& labels, const ImageModel* grey, const std::vector<MeasureCase>& cases,
                    const std::string& request) {
    const auto table = analyse(labels, request, grey, {.threads = 2, .level = SCALAR});
    const Objects objects = collectObjects(labels, grey);
    ASSERT_EQ(table->getRowCount(), objects.size());
    for (const MeasureCase& measure : cases) {
        const std::vector<double> actual = column(*table, measure.column);
        std::size_t row = 0;
        for (const auto& [key, pixels] : objects) {
            const double expected = measure.reference({pixels, labels});
            ASSERT_NEAR(actual[row], expected, measure.tolerance * std::max(1.0, std::abs(expected)))
                << measure.column << " of label " << key.second << " with " << pixels.size() << " pixels";
            ++row;
        }
    }
}

/// Small objects of few parts with ragged outlines, holes, and single pixels.
io::MemoryImage raggedLabels(VoxelTypes type, const test::Extents& extents, std::uint64_t seed) {
    io::MemoryImage image =
        test::makeImage({.voxelType = type, .extents = extents, .interpretation = RIX_LABEL},
                        [=](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t) -> std::uint64_t {
                            const auto mix = [](std::uint64_t h) {
                                h = (h ^ (h >> 31)) * 0x9E3779B97F4A7C15ULL;
                                return h ^ (h >> 29);
                            };
                            const std::uint64_t pixel = mix(seed + x + 1009 * y + 100003 * z + 10000019 * t);
                            const std::uint64_t cell = mix(seed + x / 7 + 31 * (y / 6) + 977 * (z / 4)) % 11;
                            return cell < 3 || pixel % 4 == 0 ? 0 : pixel % 97 == 1 ? 11 + pixel % 50 : cell * 7;
                        });
    image.setSpacingOf(COLUMNS, 0.5);
    image.setSpacingOf(ROWS, 0.75);
    image.setSpacingOf(PLANS, 2.0);
    image.setOriginOf(COLUMNS, -3.0);
    image.setOriginOf(ROWS, 100.0);
    image.setOriginOf(PLANS, 7.0);
    return image;
}

const test::Extents planeExtents{83, 57, 1, 2, 1};
const test::Extents spaceExtents{29, 22, 13, 2, 1};

TEST(Measures, OfShapeFollowTheirDefinitions) {
    const std::vector<MeasureCase> both{
        {"PixelCount", [](const auto& o) { return o.count(); }},
        {"BarycenterX", [](const auto& o) { return o.centre(0); }},
        {"BarycenterY", [](const auto& o) { return o.centre(1); }},
        {"BoundingBoxMinX", [](const auto& o) { return static_cast<double>(o.lowest(0)); }},
        {"BoundingBoxMaxY", [](const auto& o) { return static_cast<double>(o.highest(1)); }},
        {"SecondMomentsXX", [](const auto& o) { return o.moment(0, 0); }, 1e-9},
        {"SecondMomentsYY", [](const auto& o) { return o.moment(1, 1); }, 1e-9},
        {"SecondMomentsXY", [](const auto& o) { return o.moment(0, 1); }, 1e-9},
        {"EulerNumber", [](const auto& o) { return o.euler(); }},
        {"FeretMaximum", [](const auto& o) { return o.diameter(); }},
        {"TouchesBorder",
         [](const auto& o) {
             bool touches = false;
             for (std::size_t axis = 0; axis < o.axes(); ++axis) {
                 const auto last = static_cast<std::int64_t>(o.image.getNumOf(static_cast<Components>(axis))) - 1;
                 touches = touches || o.lowest(axis) == 0 || o.highest(axis) == last;
             }
             return touches ? 1.0 : 0.0;
         }},
    };
    std::vector<MeasureCase> plane = both;
    plane.push_back({"Area", [](const auto& o) { return o.size(); }});
    plane.push_back({"Perimeter", [](const auto& o) { return o.boundary(); }, 1e-3});
    std::vector<MeasureCase> space = both;
    space.push_back({"Volume", [](const auto& o) { return o.size(); }});
    space.push_back({"BarycenterZ", [](const auto& o) { return o.centre(2); }});
    space.push_back({"BoundingBoxMaxZ", [](const auto& o) { return static_cast<double>(o.highest(2)); }});
    space.push_back({"SecondMomentsZZ", [](const auto& o) { return o.moment(2, 2); }, 1e-9});
    space.push_back({"SecondMomentsXZ", [](const auto& o) { return o.moment(0, 2); }, 1e-9});
    space.push_back({"SecondMomentsYZ", [](const auto& o) { return o.moment(1, 2); }, 1e-9});
    space.push_back({"SurfaceArea", [](const auto& o) { return o.boundary(); }, 3e-3});
    const std::string request = "Basic, SecondMoments, EulerNumber, Feret, ";
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_UINT32}) {
        if (test::sanitized && type != RIX_UINT16) {
            continue;
        }
        expectMeasures(raggedLabels(type, planeExtents, 1), nullptr, plane, request + "Perimeter");
        expectMeasures(raggedLabels(type, spaceExtents, 2), nullptr, space, request + "SurfaceArea");
    }
}

TEST(Measures, ConvexHullsOfRandomObjects) {
    const auto hull = [](const auto& o) { return o.hull(); };
    const auto solidity = [](const auto& o) { return o.size() / o.hull(); };
    // Few pixels in each box: hulls of all forms, flat ones and single pixels among them.
    for (const test::Extents& extents : {test::Extents{80, 56, 1, 1, 1}, test::Extents{16, 15, 12, 1, 1}}) {
        const std::uint64_t density = extents[PLANS] > 1 ? 7 : 4;
        io::MemoryImage labels = test::makeImage(
            {.voxelType = RIX_UINT16, .extents = extents},
            [=](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) -> std::uint64_t {
                std::uint64_t h = (x + 1009 * y + 100003 * z + 5) * 0x9E3779B97F4A7C15ULL;
                h = (h ^ (h >> 31)) * 0x9E3779B97F4A7C15ULL;
                return (h >> 40) % density != 0 ? 0 : 1 + x / 4 + 20 * (y / 4) + 400 * (z / 3);
            });
        labels.setSpacingOf(COLUMNS, 0.5);
        labels.setSpacingOf(PLANS, 3.0);
        const char* const size = extents[PLANS] > 1 ? "ConvexVolume" : "ConvexArea";
        expectMeasures(labels, nullptr, {{size, hull, 1e-11}, {"Solidity", solidity, 1e-11}}, "Convexity");
    }
}

TEST(Measures, EulerNumberAndBoundaryHoldAcrossBands) {
    // Large enough for several bands; the slow references are too slow here, so that the whole is compared with a copy
    // of the image inside one band: the same objects on fewer columns.
    for (const test::Extents& extents : {test::Extents{31, 17000, 1, 1, 1}, test::Extents{23, 31, 1100, 1, 1}}) {
        const io::MemoryImage narrow = raggedLabels(RIX_UINT16, extents, 4);
        test::Extents wideExtents = extents;
        wideExtents[COLUMNS] = 1200;
        io::MemoryImage wide = test::makeImage(
            {.voxelType = RIX_UINT16, .extents = wideExtents},
            [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) -> std::uint64_t {
                if (x >= extents[COLUMNS]) {
                    return 0;
                }
                const std::size_t place = (z * extents[ROWS] + y) * extents[COLUMNS] + x;
                return reinterpret_cast<const std::uint16_t*>(narrow.getInternalBuffer())[place];
            });
        for (const Components axis : {COLUMNS, ROWS, PLANS}) {
            wide.setSpacingOf(axis, narrow.getSpacingOf(axis));
        }
        const std::string request =
            extents[PLANS] > 1 ? "EulerNumber, SurfaceArea, ConvexHull" : "EulerNumber, Perimeter, ConvexHull";
        const auto a = analyse(narrow, request);
        const auto b = analyse(wide, request);
        for (std::size_t c = 0; c < a->getColumnCount(); ++c) {
            const std::string& name = a->getColumnInfo(c).name;
            EXPECT_EQ(column(*a, name), column(*b, name)) << name;
        }
    }
}

TEST(Measures, OfGreyValuesFollowTheirDefinitions) {
    const auto value = [](const Pixel& pixel) { return pixel.values[0]; };
    const auto deviation = [value](const ReferenceObject& o) {
        const double mean = o.mean(value);
        return std::sqrt(o.mean([&](const Pixel& p) { return (value(p) - mean) * (value(p) - mean); }));
    };
    const std::vector<MeasureCase> cases{
        {"Minimum", [](const auto& o) { return o.sortedValues().front(); }},
        {"Maximum", [](const auto& o) { return o.sortedValues().back(); }},
        {"Mean", [=](const auto& o) { return o.mean(value); }, 1e-11},
        {"Sum", [=](const auto& o) { return o.mean(value) * o.count(); }, 1e-11},
        {"StandardDeviation", deviation, 1e-9},
        {"Median", [](const auto& o) { return o.percentile(50); }},
        {"Percentile(0)", [](const auto& o) { return o.percentile(0); }},
        {"Percentile(12.5)", [](const auto& o) { return o.percentile(12.5); }},
        {"Percentile(99)", [](const auto& o) { return o.percentile(99); }},
        {"WeightedBarycenterX",
         [=](const auto& o) {
             return o.mean([&](const Pixel& p) { return o.world(p, 0) * value(p); }) / o.mean(value);
         },
         1e-6},
        {"WeightedBarycenterY",
         [=](const auto& o) {
             return o.mean([&](const Pixel& p) { return o.world(p, 1) * value(p); }) / o.mean(value);
         },
         1e-6},
    };
    for (const test::Extents& extents : {planeExtents, spaceExtents}) {
        const io::MemoryImage labels = raggedLabels(RIX_UINT16, extents, 5);
        for (const VoxelTypes type : test::realTypes) {
            SCOPED_TRACE(helper::voxelTypesToString(type));
            // Positive values: sums of weights near 0 would only test rounding.
            const io::MemoryImage grey =
                test::makeImage({.voxelType = type, .extents = extents},
                                [](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t) {
                                    return 1.0 + static_cast<double>((x * 37 + y * 101 + z * 59 + t * 17) % 125);
                                });
            expectMeasures(labels, &grey, cases, "Intensity, Median, Percentile(0), Percentile(12.5), Percentile(99)");
        }
    }
}

TEST(Measures, OfFullRangesStayExact) {
    // Extremes of each type, and a large object for selection by counting.
    const io::MemoryImage labels =
        test::makeImage({.extents = {61, 53, 1, 1, 1}}, [](std::size_t x, auto...) { return x < 55 ? 1 : 2; });
    const std::vector<MeasureCase> cases{
        {"Minimum", [](const auto& o) { return o.sortedValues().front(); }, 0.0},
        {"Maximum", [](const auto& o) { return o.sortedValues().back(); }, 0.0},
        {"Median", [](const auto& o) { return o.percentile(50); }, 1e-15},
        {"Sum", [](const auto& o) { return o.count() * o.mean([](const Pixel& p) { return p.values[0]; }); }, 1e-10},
    };
    for (const VoxelTypes type : test::integerTypes) {
        const io::MemoryImage grey = test::makeRandomImage({.voxelType = type, .extents = {61, 53, 1, 1, 1}}, 5);
        expectMeasures(labels, &grey, cases, "Minimum, Maximum, Median, Sum");
    }
}

TEST(Measures, OfGreyValuesThatAreNoNumbers) {
    const double nan = std::nan("");
    const double infinity = std::numeric_limits<double>::infinity();
    // Label 1: NaN, 2, 4; label 2: NaN alone; label 3: infinity and 1; label 4: -infinity and 1; label 5: both
    // infinities.
    const std::vector<double> values{nan, 2, 4, nan, infinity, 1, -infinity, 1, infinity, -infinity};
    const std::vector<int> names{1, 1, 1, 2, 3, 3, 4, 4, 5, 5};
    const io::MemoryImage labels =
        test::makeImage({.extents = {10, 1, 1, 1, 1}}, [&](std::size_t x, auto...) { return names[x]; });
    const io::MemoryImage grey = test::makeImage({.voxelType = RIX_FLOAT32, .extents = {10, 1, 1, 1, 1}},
                                                 [&](std::size_t x, auto...) { return values[x]; });
    const auto table = analyse(labels, "Intensity, Median, Percentile(99)", &grey);
    const auto expect = [&](const char* name, const std::vector<double>& expected) {
        const auto actual = column(*table, name);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_TRUE(std::isnan(expected[i]) ? std::isnan(actual[i]) : actual[i] == expected[i])
                << name << '[' << i << "] is " << actual[i];
        }
    };
    expect("Minimum", {2, nan, 1, -infinity, -infinity});
    expect("Maximum", {4, nan, infinity, 1, infinity});
    expect("Mean", {nan, nan, infinity, -infinity, nan});
    expect("StandardDeviation", {nan, nan, nan, nan, nan});
    expect("Median", {3, nan, infinity, -infinity, nan});
    expect("Percentile(99)", {3.98, nan, infinity, -infinity, nan});
}

TEST(Measures, StandardDeviationSurvivesALargeMean) {
    const io::MemoryImage labels = test::makeImage({.extents = {1000, 300, 1, 1, 1}}, [](auto...) { return 1; });
    const io::MemoryImage grey =
        test::makeImage({.voxelType = RIX_FLOAT64, .extents = {1000, 300, 1, 1, 1}},
                        [](std::size_t x, auto...) { return 1e9 + static_cast<double>(x % 2); });
    const auto table = analyse(labels, "StandardDeviation", &grey);
    EXPECT_NEAR(column(*table, "StandardDeviation")[0], 0.5, 1e-7);
}

TEST(Measures, FeretDirectionsAreThoseOfTheDiameters) {
    const io::MemoryImage labels = raggedLabels(RIX_UINT16, {60, 40, 1, 1, 1}, 11);
    const auto table = analyse(labels, "Feret");
    const auto maximum = column(*table, "FeretMaximum");
    const auto maximumAngle = column(*table, "FeretMaximumAngle");
    const auto minimum = column(*table, "FeretMinimum");
    const auto minimumAngle = column(*table, "FeretMinimumAngle");
    std::size_t row = 0;
    for (const auto& [key, pixels] : collectObjects(labels)) {
        const ReferenceObject object{pixels, labels};
        EXPECT_NEAR(object.widthAt(maximumAngle[row]), maximum[row], 1e-9);
        EXPECT_NEAR(object.widthAt(minimumAngle[row]), minimum[row], 1e-9);
        for (int i = 0; i < 360; ++i) {
            const double width = object.widthAt(i * M_PI / 360);
            ASSERT_LE(width, maximum[row] + 1e-9);
            ASSERT_GE(width, minimum[row] - 1e-9);
        }
        EXPECT_GE(maximumAngle[row], 0.0);
        EXPECT_LT(maximumAngle[row], M_PI);
        ++row;
    }
}

}  // namespace
}  // namespace rix::individual_analysis
