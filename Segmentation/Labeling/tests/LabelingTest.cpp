// Labels, one by one, against a flood fill written from the definition.

#include "LabelingWays.h"

namespace rix::segmentation {
namespace {

using oracle::ReferenceLabels;

std::string picture(const Volume& volume) {
    std::string text;
    for (std::size_t i = 0; i < volume.voxels.size() && i < 4000; ++i) {
        text += volume.voxels[i] != 0 ? '#' : '.';
        text += i % volume.columns + 1 == volume.columns ? "\n" : "";
    }
    return text;
}

/// The ways in which bands, nodes and levels can differ. Bands of one voxel are as small as bands can be: two rows, or
/// one plane.
std::vector<Way> allWays() {
    std::vector<Way> ways;
    for (const OptimLevelType level : runnableLevels()) {
        for (const NodeRows nodeRows : {NodeRows::Single, NodeRows::Pairs}) {
            for (const std::size_t voxelsPerBand : {std::size_t{0}, std::size_t{1}, std::size_t{200}}) {
                Way way{.level = level, .labelType = static_cast<int>(level)};
                way.tuning.nodeRows = nodeRows;
                way.tuning.voxelsPerBand = voxelsPerBand;
                way.tuning.wideNodes = voxelsPerBand == 200;
                ways.push_back(way);
            }
        }
    }
    return ways;
}

std::string describe(const Way& way, int axes) {
    return "axes " + std::to_string(axes) + ", level " + std::to_string(way.level) +
           (way.tuning.nodeRows == NodeRows::Pairs ? ", pairs" : ", single rows") + ", voxels of a band " +
           std::to_string(way.tuning.voxelsPerBand) + '\n';
}

/// Labels a volume in every way and compares with the flood fill.
void checkEveryWay(const Volume& volume) {
    const io::MemoryImage image = imageOf(volume);
    const bool in3d = volume.planes > 1;
    for (int axes = 1; axes <= (in3d ? connectivities3d : connectivities2d); ++axes) {
        const ReferenceLabels expected = oracle::referenceFloodFill(volume, axes);
        for (const Way& way : allWays()) {
            const Outcome outcome = labelImage(image, in3d, axes, way);
            ASSERT_EQ(outcome.count, expected.count) << describe(way, axes) << picture(volume);
            ASSERT_EQ(labelsOf(outcome.image), expected.labels) << describe(way, axes) << picture(volume);
        }
    }
}

/// All binary images of a shape, or each `step`th of them, as the planes or volumes of one image.
void checkAllImages(const Volume& shape, std::size_t step, const std::function<bool(const Way&)>& isWanted) {
    const bool in3d = shape.planes > 1;
    const std::size_t voxels = shape.voxels.size();
    const std::size_t images = ((std::size_t{1} << voxels) + step - 1) / step;
    io::MemoryImage input;
    ASSERT_TRUE(input.reserve(RIX_UINT8, shape.columns, shape.rows, shape.planes, images, 1));
    for (std::size_t i = 0; i < images; ++i) {
        for (std::size_t v = 0; v < voxels; ++v) {
            input.getInternalBuffer()[i * voxels + v] = static_cast<std::uint8_t>((i * step >> v) & 1);
        }
    }
    for (int axes = 1; axes <= (in3d ? connectivities3d : connectivities2d); ++axes) {
        std::vector<std::uint32_t> expected;
        Volume volume = shape;
        for (std::size_t i = 0; i < images; ++i) {
            std::copy_n(input.getInternalBuffer() + i * voxels, voxels, volume.voxels.begin());
            const ReferenceLabels one = oracle::referenceFloodFill(volume, axes);
            expected.insert(expected.end(), one.labels.begin(), one.labels.end());
        }
        for (const Way& way : allWays()) {
            if (isWanted(way)) {
                const Outcome outcome = labelImage(input, in3d, axes, way);
                ASSERT_TRUE(labelsOf(outcome.image) == expected) << describe(way, axes);
            }
        }
    }
}

TEST(Labeling, EqualsTheFloodFillOnEverySmallImage) {
    constexpr std::size_t sample = 37;
    // Those of wide nodes have the same bands as the undivided image.
    const auto isNarrow = [](const Way& way) { return !way.tuning.wideNodes; };
    checkAllImages(Volume(4, 4), test::sanitized ? sample : 1, isNarrow);
    checkAllImages(Volume(3, 3, 2), sample, isNarrow);
    if (!test::sanitized) {
        checkAllImages(Volume(3, 3, 2), 1, [](const Way& way) {
            return way.tuning.nodeRows == NodeRows::Pairs && way.tuning.voxelsPerBand == 0;
        });
    }
}

TEST(Labeling, EqualsTheFloodFillOnRandomImagesOfAwkwardSizes) {
    constexpr std::size_t widths[] = {1, 2, 7, 62, 63, 64, 65, 66, 127, 128, 129, 191, 193, 257};
    std::uint64_t seed = 0;
    for (const std::size_t columns : widths) {
        for (const std::size_t rows : {1U, 2U, 3U, 8U, 17U}) {
            for (const int percent : {1, 10, 30, 50, 60, 75, 90, 99}) {
                checkEveryWay(randomVolume(columns, rows, 1, percent, ++seed));
                ASSERT_FALSE(HasFailure());
            }
        }
    }
    constexpr std::array<std::size_t, 3> shapes[] = {{1, 1, 9},  {3, 1, 5},  {5, 4, 2},
                                                     {64, 3, 3}, {65, 7, 4}, {130, 5, 6}};
    for (const auto& [columns, rows, planes] : shapes) {
        for (const int percent : {2, 10, 20, 35, 50, 70, 95}) {
            checkEveryWay(randomVolume(columns, rows, planes, percent, ++seed));
            ASSERT_FALSE(HasFailure());
        }
    }
}

using Index = std::size_t;

/// Whether a voxel of a pattern is foreground.
struct Pattern {
    const char* name;
    bool (*isForeground)(Index x, Index y, Index z, const Volume& volume);
};

/// The ring, counted from the border, on which a pixel lies.
std::size_t ringOf(std::size_t x, std::size_t y, const Volume& volume) {
    return std::min(std::min(x, y), std::min(volume.columns - 1 - x, volume.rows - 1 - y));
}

constexpr Pattern patterns[] = {
    {"all", [](Index, Index, Index, const Volume&) { return true; }},
    {"none", [](Index, Index, Index, const Volume&) { return false; }},
    {"checkerboard", [](Index x, Index y, Index z, const Volume&) { return (x + y + z) % 2 == 0; }},
    {"isolated", [](Index x, Index y, Index z, const Volume&) { return (x | y | z) % 2 == 0; }},
    {"rows", [](Index, Index y, Index z, const Volume&) { return (y + z) % 2 == 0; }},
    {"columns", [](Index x, Index, Index z, const Volume&) { return (x + z) % 2 == 0; }},
    {"planes", [](Index, Index, Index z, const Volume&) { return z % 2 == 1; }},
    {"comb with its spine below",
     [](Index x, Index y, Index, const Volume& v) { return x % 2 == 0 || y + 1 == v.rows; }},
    {"comb with its spine above", [](Index x, Index y, Index, const Volume&) { return x % 3 == 1 || y == 0; }},
    {"comb lying", [](Index x, Index y, Index, const Volume& v) { return y % 2 == 1 || x + 1 == v.columns; }},
    {"rising lines", [](Index x, Index y, Index z, const Volume&) { return (x + y + z) % 4 == 0; }},
    {"falling lines", [](Index x, Index y, Index, const Volume& v) { return (x + v.rows - y) % 4 == 0; }},
    {"nested rings", [](Index x, Index y, Index, const Volume& v) { return ringOf(x, y, v) % 2 == 0; }},
    {"rings open to one side",
     [](Index x, Index y, Index, const Volume& v) {
         return ringOf(x, y, v) % 2 == 0 && !(x == v.columns / 2 && y < v.rows / 2);
     }},
    // Rings, each open at its upper left and joined there with the next one.
    {"spiral",
     [](Index x, Index y, Index, const Volume& v) {
         const std::size_t ring = ringOf(x, y, v);
         const bool atSeam = x == ring && y == ring + 1;
         return (ring % 2 == 0) != atSeam;
     }},
    // Sets that begin in the lower of two rows and come up further to the right.
    {"hooks",
     [](Index x, Index y, Index, const Volume&) {
         constexpr const char* rows[] = {"...#.", "#..#.", "####.", "....."};
         return rows[y % 4][x % 5] == '#';
     }},
    {"hooks turned",
     [](Index x, Index y, Index, const Volume&) {
         constexpr const char* rows[] = {".....", "..#..", "#.#.#", "#####", ".#...", "....."};
         return rows[y % 6][x % 5] == '#';
     }},
};

TEST(Labeling, EqualsTheFloodFillOnPatternsOfEvenAndOddSizes) {
    constexpr std::array<std::size_t, 3> shapes[] = {{9, 9, 1},   {12, 10, 1}, {64, 13, 1}, {65, 32, 1}, {129, 31, 1},
                                                     {1, 130, 1}, {150, 1, 1}, {9, 8, 5},   {33, 7, 4},  {66, 5, 3}};
    for (const Pattern& pattern : patterns) {
        SCOPED_TRACE(pattern.name);
        for (const auto& [columns, rows, planes] : shapes) {
            Volume volume(columns, rows, planes);
            for (std::size_t i = 0; i < volume.voxels.size(); ++i) {
                volume.voxels[i] =
                    pattern.isForeground(i % columns, i / columns % rows, i / columns / rows, volume) ? 255 : 0;
            }
            checkEveryWay(volume);
            ASSERT_FALSE(HasFailure());
        }
    }
}

TEST(Labeling, StartsAgainInEveryPlaneOrVolume) {
    const io::MemoryImage input = [] {
        const Volume content = randomVolume(37, 9, 3 * 2 * 4, 40, 9);
        io::MemoryImage image;
        EXPECT_TRUE(image.reserve(RIX_UINT8, 37, 9, 3, 2, 4));
        std::copy(content.voxels.begin(), content.voxels.end(), image.getInternalBuffer());
        return image;
    }();
    for (const bool in3d : {false, true}) {
        const std::size_t planes = in3d ? 3 : 1;
        const std::size_t voxels = 37 * 9 * planes;
        std::vector<std::uint32_t> expected;
        std::uint32_t largest = 0;
        for (std::size_t i = 0; i < 24 / planes; ++i) {
            Volume volume(37, 9, planes);
            std::copy_n(input.getInternalBuffer() + i * voxels, voxels, volume.voxels.begin());
            const ReferenceLabels one = oracle::referenceFloodFill(volume, 2);
            expected.insert(expected.end(), one.labels.begin(), one.labels.end());
            largest = std::max(largest, one.count);
        }
        for (const std::size_t voxelsPerBand : {0U, 1U}) {
            Way way;
            way.tuning.voxelsPerBand = voxelsPerBand;
            const Outcome outcome = labelImage(input, in3d, 2, way);
            EXPECT_EQ(labelsOf(outcome.image), expected);
            EXPECT_EQ(outcome.count, largest);
        }
    }
}

}  // namespace
}  // namespace rix::segmentation
