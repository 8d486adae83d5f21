// What is done to labels, against the definitions.

#include <rix/segmentation/ExpandLabels2d.h>
#include <rix/segmentation/ExpandLabels3d.h>
#include <rix/segmentation/LabelBoundaries2d.h>
#include <rix/segmentation/LabelBoundaries3d.h>
#include <rix/segmentation/RelabelSequential.h>

#include "Testing.h"

namespace rix::test {
namespace {

std::uint64_t shuffledNumber(std::size_t x, std::size_t y, std::size_t z, std::size_t seed) {
    return (((x * 7919 + y * 104729 + z * 1299709 + seed) * 0x9E3779B97F4A7C15U) >> 29) & 0xffffU;
}

bool isSignedType(VoxelTypes type) {
    return type == RIX_INT8 || type == RIX_INT16 || type == RIX_INT32;
}

/// Specks, some of them of negative labels, as many as there may be.
io::MemoryImage specks(VoxelTypes type, const Extents& extents, std::uint64_t every, std::uint64_t labels) {
    return makeImage({.voxelType = type, .extents = extents, .interpretation = RIX_LABEL},
                     [=](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t c) {
                         const auto label = static_cast<std::int64_t>(shuffledNumber(x, y, z + 9 * c, 2) % labels) + 1;
                         const bool isIn = shuffledNumber(x, y, z + 9 * c, 1) % every == 0;
                         return isIn ? (isSignedType(type) && label % 5 == 0 ? -label : label * 3) : 0;
                     });
}

TEST(RelabelSequential, CountsInTheOrderOfTheOldLabels) {
    for (const VoxelTypes type : integerTypes) {
        for (const std::uint64_t labels : {1U, 40U}) {
            const io::MemoryImage image = specks(type, {31, 17, 3, 2, 1}, 2, labels);
            const std::vector<double> before = samplesOf<double>(image);
            std::set<double> known(before.begin(), before.end());
            known.erase(0.0);
            segmentation::RelabelSequential relabel;
            io::MemoryImage output;
            relabel.setInputLabelImage(&image);
            relabel.setOutputLabelImage(&output);
            relabel.run();
            std::vector<double> expected;
            for (const double label : before) {
                expected.push_back(
                    label == 0 ? 0.0 : 1.0 + static_cast<double>(std::distance(known.begin(), known.find(label))));
            }
            EXPECT_EQ(samplesOf<double>(output), expected) << helper::describeImage(image);
            EXPECT_FALSE(isSignedType(output.getVoxelType()));
        }
    }
    // -128 to 127 without 0 are as many as uint8 can number.
    const io::MemoryImage all = makeImage({.voxelType = RIX_INT8, .extents = {256, 1, 1, 1, 1}},
                                          [](std::size_t x, auto...) { return static_cast<int>(x) - 128; });
    segmentation::RelabelSequential relabel;
    io::MemoryImage output;
    relabel.setInputLabelImage(&all);
    relabel.setOutputLabelImage(&output);
    relabel.run();
    EXPECT_EQ(samplesOf<double>(output).at(0), 1);
    EXPECT_EQ(samplesOf<double>(output).at(128), 0);
    EXPECT_EQ(samplesOf<double>(output).at(255), 255);
}

template <class Filter>
void compareExpanded(const io::MemoryImage& image, double distance, bool inWorld) {
    constexpr bool ofVolumes = std::is_same_v<Filter, segmentation::ExpandLabels3d>;
    Filter filter;
    io::MemoryImage output;
    filter.setInputLabelImage(&image);
    filter.setDistance(distance);
    filter.setLengthUnit(inWorld ? Filter::WORLD : Filter::VOXEL);
    filter.setOutputLabelImage(&output);
    filter.run();
    const Extents n = helper::getExtents(image);
    const std::vector<double> before = samplesOf<double>(image);
    const std::vector<double> after = samplesOf<double>(output);
    double spacing[3] = {1, 1, 1};
    for (std::size_t axis = 0; axis < 3 && inWorld; ++axis) {
        spacing[axis] = image.getSpacingOf(static_cast<Components>(axis));
    }
    std::size_t p = 0;
    forEachPosition(n, [&](const Extents& at) {
        // The labels of the nearest voxels: rounding may choose among them in the world.
        double least = std::numeric_limits<double>::infinity();
        std::set<double> nearest;
        std::size_t q = 0;
        double first = 0;
        forEachPosition(n, [&](const Extents& other) {
            const double label = before[q++];
            if (label == 0 || other[3] != at[3] || other[4] != at[4] || (!ofVolumes && other[2] != at[2])) {
                return;
            }
            double square = 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const double d = (static_cast<double>(other[axis]) - static_cast<double>(at[axis])) * spacing[axis];
                square += d * d;
            }
            if (square < least * (1 - 1e-12)) {
                nearest.clear();
                least = square;
                first = label;
            }
            if (square <= least * (1 + 1e-12)) {
                nearest.insert(label);
            }
        });
        if (before[p] != 0) {
            ASSERT_EQ(after[p], before[p]);
        } else if (std::sqrt(least) > distance) {
            ASSERT_EQ(after[p], 0);
        } else if (inWorld) {
            ASSERT_EQ(nearest.count(after[p]), 1U);
        } else {
            ASSERT_EQ(after[p], first) << "of the lowest index";
        }
        ++p;
    });
}

TEST(ExpandLabels, GivesTheNearestLabelWithinTheDistance) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_UINT32}) {
        io::MemoryImage image = specks(type, {15, 12, 4, 1, 2}, 30, 30);
        image.setSpacingOf(COLUMNS, 0.3);
        image.setSpacingOf(ROWS, 0.7);
        image.setSpacingOf(PLANS, 2.0);
        for (const double distance : {0.0, 1.0, 2.3, 100.0}) {
            compareExpanded<segmentation::ExpandLabels2d>(image, distance, false);
            compareExpanded<segmentation::ExpandLabels3d>(image, distance, false);
            compareExpanded<segmentation::ExpandLabels2d>(image, distance, true);
            compareExpanded<segmentation::ExpandLabels3d>(image, distance, true);
        }
        segmentation::ExpandLabels2d refused;
        io::MemoryImage output;
        refused.setInputLabelImage(&image);
        refused.setOutputLabelImage(&output);
        refused.setDistance(-1);
        EXPECT_THROW(refused.run(), RuleException);
        refused.setDistance(1);
        refused.setLengthUnit(segmentation::ExpandLabels2d::WORLD);
        image.setSpacingOf(ROWS, 0);
        EXPECT_THROW(refused.run(), RuleException);
    }
}

template <class Filter>
void compareBoundaries(const io::MemoryImage& image) {
    constexpr bool ofVolumes = std::is_same_v<Filter, segmentation::LabelBoundaries3d>;
    const Extents n = helper::getExtents(image);
    const std::vector<double> labels = samplesOf<double>(image);
    const auto indexOf = [&](const Extents& p) {
        return p[0] + n[0] * (p[1] + n[1] * (p[2] + n[2] * (p[3] + n[3] * p[4])));
    };
    for (int mode = 0; mode < 3; ++mode) {
        for (int neighborhood = 0; neighborhood < (ofVolumes ? 3 : 2); ++neighborhood) {
            std::vector<double> expected;
            forEachPosition(n, [&](const Extents& at) {
                const double own = labels[indexOf(at)];
                bool isBoundary = false;
                for (int k = 0; k < 27; ++k) {
                    const std::int64_t d[3] = {k % 3 - 1, k / 3 % 3 - 1, k / 9 - 1};
                    Extents to = at;
                    bool isInside =
                        d[0] * d[0] + d[1] * d[1] + d[2] * d[2] <= neighborhood + 1 && (ofVolumes || d[2] == 0);
                    for (std::size_t axis = 0; axis < 3; ++axis) {
                        to[axis] += static_cast<std::size_t>(d[axis]);
                        isInside = isInside && to[axis] < n[axis];
                    }
                    if (isInside) {
                        const double other = labels[indexOf(to)];
                        isBoundary = isBoundary || (mode == 0   ? own != 0 && other != own
                                                    : mode == 1 ? own == 0 && other != 0
                                                                : own != 0 && other != 0 && other != own);
                    }
                }
                expected.push_back(isBoundary ? 1.0 : 0.0);
            });
            Filter filter;
            io::MemoryImage output;
            filter.setInputLabelImage(&image);
            filter.mode = mode;
            filter.neighborhood = neighborhood;
            filter.setOutputBinaryImage(&output);
            filter.run();
            EXPECT_EQ(samplesOf<double>(output), expected)
                << helper::describeImage(image) << ", mode " << mode << ", neighborhood " << neighborhood;
            EXPECT_EQ(output.getInterpretation(), RIX_BINARY);
        }
    }
}

TEST(LabelBoundaries, AreThoseOfTheDefinition) {
    for (const VoxelTypes type : integerTypes) {
        for (const Extents& extents : {Extents{35, 9, 4, 1, 2}, Extents{1, 11, 1, 1, 1}, Extents{70, 1, 3, 1, 1}}) {
            const io::MemoryImage image = makeImage({.voxelType = type, .extents = extents},
                                                    [](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                                        return shuffledNumber(x / 3, y / 3, z / 2, 7) % 4;
                                                    });
            compareBoundaries<segmentation::LabelBoundaries2d>(image);
            compareBoundaries<segmentation::LabelBoundaries3d>(image);
        }
    }
}

}  // namespace
}  // namespace rix::test
