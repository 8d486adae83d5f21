// What is done to objects by their sizes, measures and places, against the definitions.

#include <map>
#include <numbers>
#include <set>

#include <rix/segmentation/LabelOverlap.h>
#include <rix/segmentation/MeasureToImage.h>
#include <rix/segmentation/RemoveSmallObjects2d.h>
#include <rix/segmentation/RemoveSmallObjects3d.h>
#include <rix/segmentation/SelectObjects.h>

#include "Testing.h"

namespace rix::test {
namespace {

std::uint64_t mixedNumber(std::size_t x, std::size_t y, std::size_t z, std::size_t seed) {
    return (((x * 7919 + y * 104729 + z * 1299709 + seed) * 0x9E3779B97F4A7C15U) >> 31) & 0xffffU;
}

/// Patches of labels, or specks of a binary image.
io::MemoryImage patches(VoxelTypes type, const Extents& extents, Interpretations meaning, std::size_t seed) {
    const bool isBinary = meaning == RIX_BINARY;
    return makeImage({.voxelType = type, .extents = extents, .interpretation = meaning},
                     [=](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t c) {
                         const std::size_t part = z + 5 * t + 11 * c;
                         const auto number = static_cast<std::int64_t>(
                             isBinary ? mixedNumber(x, y, part, seed) : mixedNumber(x / 4, y / 3, part / 2, seed));
                         return isBinary ? number % 5 / 3 : number % 3 == 0 ? 0 : number % 23 * 5 - 0;
                     });
}

/// The voxels of the object of each voxel, by floods; 0 of the background.
std::vector<std::size_t> sizesByFlood(const io::MemoryImage& image, std::size_t axes, int farthest) {
    const Extents n = helper::getExtents(image);
    const std::vector<double> values = samplesOf<double>(image);
    const bool isBinary = image.getInterpretation() == RIX_BINARY;
    const std::size_t part = n[0] * n[1] * (axes == 3 ? n[2] : 1);
    std::vector<std::size_t> sizes(values.size(), 0);
    for (std::size_t first = 0; first < values.size(); first += part) {
        std::map<double, std::size_t> counts;
        for (std::size_t p = first; p < first + part && !isBinary; ++p) {
            ++counts[values[p]];
        }
        for (std::size_t p = first; p < first + part; ++p) {
            if (!isBinary) {
                sizes[p] = values[p] != 0 ? counts[values[p]] : 0;
            } else if (values[p] != 0 && sizes[p] == 0) {
                std::vector<std::size_t> found{p};
                std::set<std::size_t> known{p};
                for (std::size_t i = 0; i < found.size(); ++i) {
                    const std::size_t at = found[i] - first;
                    for (int k = 0; k < 27; ++k) {
                        const std::int64_t d[3] = {k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1};
                        const std::size_t to[3] = {at % n[0] + static_cast<std::size_t>(d[0]),
                                                   at / n[0] % n[1] + static_cast<std::size_t>(d[1]),
                                                   at / n[0] / n[1] + static_cast<std::size_t>(d[2])};
                        const std::size_t q = first + to[0] + n[0] * (to[1] + n[1] * to[2]);
                        if (d[0] * d[0] + d[1] * d[1] + d[2] * d[2] <= farthest && to[0] < n[0] && to[1] < n[1] &&
                            to[2] < (axes == 3 ? n[2] : 1) && values[q] != 0 && known.insert(q).second) {
                            found.push_back(q);
                        }
                    }
                }
                for (const std::size_t q : found) {
                    sizes[q] = found.size();
                }
            }
        }
    }
    return sizes;
}

template <class Filter>
void compareWithoutSmall(const io::MemoryImage& image) {
    constexpr std::size_t axes = std::is_same_v<Filter, segmentation::RemoveSmallObjects3d> ? 3 : 2;
    const std::vector<double> before = samplesOf<double>(image);
    for (int neighborhood = 0; neighborhood < static_cast<int>(axes); ++neighborhood) {
        const std::vector<std::size_t> sizes = sizesByFlood(image, axes, neighborhood + 1);
        for (const double least : {0.0, 1.0, 4.5, 12.0, 1e9}) {
            for (const double voxel : {1.0, 0.3}) {
                std::vector<double> expected(before);
                for (std::size_t i = 0; i < expected.size(); ++i) {
                    expected[i] = static_cast<double>(sizes[i]) >= least ? before[i] : 0.0;
                }
                io::MemoryImage input(image);
                input.setSpacingOf(COLUMNS, -0.5);
                input.setSpacingOf(ROWS, 2.0 * (axes == 3 ? 1.0 : voxel));
                input.setSpacingOf(PLANS, axes == 3 ? voxel : 0.0);
                Filter filter;
                io::MemoryImage output;
                filter.setInputImage(&input);
                filter.setMinimumSize(voxel == 1.0 ? least : std::ceil(least) * 0.3);
                filter.setLengthUnit(voxel == 1.0 ? Filter::VOXEL : Filter::WORLD);
                filter.neighborhood = neighborhood;
                filter.setOutputImage(&output);
                filter.run();
                EXPECT_EQ(samplesOf<double>(output), expected)
                    << helper::describeImage(image) << ", " << least << " of " << voxel;
                filter.setOutputImage(&input);
                filter.run();
                EXPECT_EQ(samplesOf<double>(input), expected) << "in place";
            }
        }
    }
}

TEST(RemoveSmallObjects, KeepsWhatIsLargeEnough) {
    for (const Extents& extents : {Extents{70, 9, 4, 2, 1}, Extents{129, 5, 1, 1, 2}, Extents{1, 40, 3, 1, 1}}) {
        const io::MemoryImage binary = patches(RIX_UINT8, extents, RIX_BINARY, 3);
        compareWithoutSmall<segmentation::RemoveSmallObjects2d>(binary);
        compareWithoutSmall<segmentation::RemoveSmallObjects3d>(binary);
        for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_UINT32}) {
            const io::MemoryImage labels = patches(type, extents, RIX_LABEL, 1);
            compareWithoutSmall<segmentation::RemoveSmallObjects2d>(labels);
            compareWithoutSmall<segmentation::RemoveSmallObjects3d>(labels);
        }
    }
    // Negative labels are labels as others.
    const io::MemoryImage negative =
        makeImage({.voxelType = RIX_INT32, .extents = {6, 1, 1, 1, 1}}, [](std::size_t x, auto...) {
            return x < 3 ? -7 : x < 5 ? 7 : -8;
        });
    segmentation::RemoveSmallObjects2d filter;
    io::MemoryImage output;
    filter.setInputImage(&negative);
    filter.setMinimumSize(2);
    filter.setOutputImage(&output);
    filter.run();
    EXPECT_EQ(samplesOf<double>(output), (std::vector<double>{-7, -7, -7, 7, 7, 0}));
}

TEST(LabelOverlap, CountsWhatPairsHaveInCommon) {
    const Extents extents{37, 20, 3, 2, 1};
    for (const VoxelTypes type1 : {RIX_UINT8, RIX_INT8, RIX_UINT32}) {
        for (const VoxelTypes type2 : {RIX_UINT16, RIX_INT32}) {
            const bool isNegative = type2 == RIX_INT32;
            const io::MemoryImage first = patches(type1, extents, RIX_LABEL, 1);
            const io::MemoryImage second = makeImage(
                {.voxelType = type2, .extents = extents}, [=](std::size_t x, std::size_t y, std::size_t z, auto...) {
                    const auto label = static_cast<std::int64_t>(mixedNumber(x / 5, y / 4, z, 8) % 7);
                    return isNegative && label % 2 == 1 ? -label : label;
                });
            const std::vector<double> a = samplesOf<double>(first);
            const std::vector<double> b = samplesOf<double>(second);
            std::map<std::pair<double, double>, double> pairs;
            std::map<double, double> sizesOfA;
            std::map<double, double> sizesOfB;
            for (std::size_t i = 0; i < a.size(); ++i) {
                ++sizesOfA[a[i]];
                ++sizesOfB[b[i]];
                if (a[i] != 0 && b[i] != 0) {
                    ++pairs[{a[i], b[i]}];
                }
            }
            segmentation::LabelOverlap overlap;
            overlap.setInputLabelImage1(&first);
            overlap.setInputLabelImage2(&second);
            overlap.run();
            const segmentation::LabelOverlapMsr& table = *overlap.getOutputMeasurement();
            ASSERT_EQ(table.label1.size(), pairs.size());
            std::size_t row = 0;
            for (const auto& [labels, common] : pairs) {
                const double sum = sizesOfA[labels.first] + sizesOfB[labels.second];
                EXPECT_EQ(static_cast<double>(table.label1[row]), labels.first);
                EXPECT_EQ(static_cast<double>(table.label2[row]), labels.second);
                EXPECT_EQ(static_cast<double>(table.intersection[row]), common);
                EXPECT_EQ(table.jaccard[row], common / (sum - common));
                EXPECT_EQ(table.dice[row], 2 * common / sum);
                ++row;
            }
        }
    }
}

/// Rectangles of 6 x 4, 3 x 3, 8 x 1 and 2 x 2 pixels of 0.5 mm, labelled 9, 200, 3 and 4; another frame has two of
/// them with exchanged labels.
io::MemoryImage rectangles() {
    io::MemoryImage image =
        makeImage({.voxelType = RIX_UINT8, .extents = {20, 12, 1, 2, 1}, .interpretation = RIX_LABEL},
                  [](std::size_t x, std::size_t y, std::size_t, std::size_t t, std::size_t) {
                      const int large = t == 0 ? 9 : 200;
                      const int square = t == 0 ? 200 : 9;
                      return x >= 1 && x < 7 && y >= 1 && y < 5    ? large
                             : x >= 9 && x < 12 && y >= 1 && y < 4 ? square
                             : x >= 1 && x < 9 && y == 7           ? 3
                             : x >= 18 && y >= 10 && t == 0        ? 4
                                                                   : 0;
                  });
    image.setSpacingOf(COLUMNS, 0.5);
    image.setSpacingOf(ROWS, 0.5);
    image.setSpatialUnitName("mm");
    return image;
}

/// The labels of a frame, each once.
std::set<double> labelsOf(const io::MemoryImage& image, std::size_t frame) {
    const std::vector<double> samples = samplesOf<double>(image);
    const auto first = samples.begin() + static_cast<std::ptrdiff_t>(frame * 240);
    return {first, first + 240};
}

TEST(SelectObjects, KeepsThoseOfWhichTheFormulaHolds) {
    const io::MemoryImage labels = rectangles();
    const io::MemoryImage grey = makeImage({.extents = {20, 12, 1, 2, 1}}, [](std::size_t x, auto...) { return x; });
    struct Case {
        const char* formula;
        std::set<double> ofFirst;
        std::set<double> ofSecond;
    };
    const Case cases[] = {
        {"PixelCount > 0", {0, 3, 4, 9, 200}, {0, 3, 9, 200}},
        {"Area >= 2.25", {0, 9, 200}, {0, 9, 200}},  // square millimetres: 9 pixels
        {"9/4 < Area", {0, 9}, {0, 200}},            // sizes of two labels differ from frame to frame
        {"Area == 1 or (FeretMaximum > 4 and not PixelCount > 8)", {0, 4, 3}, {0, 3}},
        {"TouchesBorder", {0, 4}, {0}},  // a value other than 0 is enough
        {"0/0*PixelCount", {0}, {0}},    // NaN holds for none
        {"Mean != 3.5 and Mean < 11", {0, 3, 200}, {0, 3, 9}},
        {"Area > 1e9", {0}, {0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.formula);
        segmentation::SelectObjects select;
        io::MemoryImage output;
        select.setInputLabelImage(&labels);
        select.setInputIntensityImage(&grey);
        select.setFormula(c.formula);
        select.setOutputLabelImage(&output);
        select.run();
        EXPECT_EQ(labelsOf(output, 0), c.ofFirst);
        EXPECT_EQ(labelsOf(output, 1), c.ofSecond);
        // What stays is as it was.
        const std::vector<double> before = samplesOf<double>(labels);
        const std::vector<double> after = samplesOf<double>(output);
        for (std::size_t i = 0; i < before.size(); ++i) {
            const auto& kept = i < 240 ? c.ofFirst : c.ofSecond;
            ASSERT_EQ(after[i], kept.count(before[i]) != 0 ? before[i] : 0.0);
        }
        EXPECT_EQ(output.getInterpretation(), RIX_LABEL);
    }
}

TEST(SelectObjects, TakesOneValueOfOneChannel) {
    const io::MemoryImage labels = rectangles();
    const io::MemoryImage channels = makeRandomImage({.extents = {20, 12, 1, 2, 3}}, 1);
    const auto refused = [&](const char* formula, const char* text) {
        segmentation::SelectObjects select;
        io::MemoryImage output;
        select.setInputLabelImage(&labels);
        select.setInputIntensityImage(&channels);
        select.setFormula(formula);
        select.setOutputLabelImage(&output);
        const auto exception = failureOf<RuleException>([&] { select.run(); });
        ASSERT_TRUE(exception);
        EXPECT_NE(exception->getInfo().find(text), String::npos) << exception->getInfo();
        EXPECT_NE(exception->getInfo().find("formula"), String::npos) << exception->getInfo();
    };
    refused("Area > 1, Area < 3", "gives 2");
    refused("Basic", "must give one value");
    refused("Barycenter", "gives 2");
    refused("Aera > 1", "perhaps \"Area\" is meant");
    refused("Area > FeretMaximum", "length^2 is compared with length");
    refused("Mean > 1", "needs grey values of one channel");
}

TEST(MeasureToImage, PaintsTheValueOfEachObject) {
    const io::MemoryImage labels = rectangles();
    const struct {
        const char* measure;
        std::map<double, double> ofFirst;
        std::map<double, double> ofSecond;
    } cases[] = {
        {"Area", {{0, 0}, {9, 6}, {200, 2.25}, {3, 2}, {4, 1}}, {{0, 0}, {200, 6}, {9, 2.25}, {3, 2}}},
        {"BoundingBoxSizeX/BoundingBoxSizeY",
         {{0, 0}, {9, 1.5}, {200, 1}, {3, 8}, {4, 1}},
         {{0, 0}, {200, 1.5}, {9, 1}, {3, 8}}},
    };
    for (const auto& c : cases) {
        segmentation::MeasureToImage paint;
        io::MemoryImage output;
        paint.setInputLabelImage(&labels);
        paint.setMeasure(c.measure);
        paint.setOutputImage(&output);
        paint.run();
        EXPECT_EQ(output.getVoxelType(), RIX_FLOAT32);
        EXPECT_EQ(output.getInterpretation(), RIX_VALUE);
        const std::vector<double> before = samplesOf<double>(labels);
        const std::vector<double> after = samplesOf<double>(output);
        for (std::size_t i = 0; i < before.size(); ++i) {
            ASSERT_EQ(after[i], (i < 240 ? c.ofFirst : c.ofSecond).at(before[i])) << c.measure;
        }
    }
}

}  // namespace
}  // namespace rix::test
