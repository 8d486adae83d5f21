// Labels, label by label, against a flood fill written from the definition; the type of the output against a scan pixel
// by pixel.

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModelFull2d.h>
#include <rix/image/MemoryImage.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>
#include <rix/settings/Settings.h>

#include "ImageComparison.h"
#include "ImageFactories.h"
#include "LabelingOracle.h"
#include "LabelingPrivate.h"

namespace rix::segmentation {
namespace {

using oracle::ReferenceLabels;
using oracle::ReferenceScan;
using oracle::Volume;
using testing::HasSubstr;

constexpr int connectivities2d = 2;
constexpr int connectivities3d = 3;

std::vector<OptimLevelType> runnableLevels() {
    std::vector<OptimLevelType> levels;
    for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
        if (devices::Cpu::supports(level)) {
            levels.push_back(level);
        }
    }
    return levels;
}

/// How an image is labelled, beside what a user sees.
struct Way {
    OptimLevelType level = SCALAR;
    LabelingTuning tuning = {};
    int threads = 1;
    int labelType = 2;
    std::shared_ptr<access::BlockScheduler> scheduler = nullptr;
};

template <class Labeling, class Private>
struct Run {
    explicit Run(const Way& way) : state(new Private), algorithm(state) {
        state->tuning = way.tuning;
        algorithm.settings().setMaximumNumberOfThreads(way.threads);
        algorithm.setAutoCpuDispatch(false);
        algorithm.setOptimLevel(way.level);
        algorithm.setBlockScheduler(way.scheduler);
        algorithm.setLabelType(static_cast<typename Labeling::LabelType>(way.labelType));
    }
    Private* state;
    Labeling algorithm;
};
using Run2d = Run<Labeling2d, Labeling2dPrivate>;
using Run3d = Run<Labeling3d, Labeling3dPrivate>;

/// @param axes 1, 2, 3 as in the oracle; 3D when `volumes` is set
struct Outcome {
    io::MemoryImage image;
    std::uint64_t count = 0;
    String message;
};
Outcome labelImage(const ImageModel& input, bool in3d, int axes, const Way& way) {
    Outcome outcome;
    if (in3d) {
        Run3d run(way);
        run.algorithm.setNeighborhood(static_cast<Labeling3d::Neighborhood3DType>(axes - 1));
        run.algorithm.setInputObjectImage(&input);
        run.algorithm.setOutputLabelImage(&outcome.image);
        run.algorithm.run();
        EXPECT_EQ(run.algorithm.getLastRunLevel(), way.level);
        outcome.count = run.algorithm.getNumberOfLabels();
        outcome.message = run.algorithm.getProgressionMessage();
    } else {
        Run2d run(way);
        run.algorithm.setNeighborhood(static_cast<Labeling2d::Neighborhood2DType>(axes - 1));
        run.algorithm.setInputObjectImage(&input);
        run.algorithm.setOutputLabelImage(&outcome.image);
        run.algorithm.run();
        EXPECT_EQ(run.algorithm.getLastRunLevel(), way.level);
        outcome.count = run.algorithm.getNumberOfLabels();
        outcome.message = run.algorithm.getProgressionMessage();
    }
    return outcome;
}

io::MemoryImage imageOf(const Volume& volume) {
    io::MemoryImage image;
    EXPECT_TRUE(image.reserve(RIX_UINT8, volume.columns, volume.rows, volume.planes, 1, 1));
    std::copy(volume.voxels.begin(), volume.voxels.end(), image.getInternalBuffer());
    return image;
}

std::vector<std::uint32_t> labelsOf(const io::MemoryImage& image) {
    std::size_t count = 0;
    EXPECT_TRUE(helper::getElementCount(image, count));
    std::vector<std::uint32_t> labels(count);
    access::dispatch(access::UnsignedIntegers{}, image.getVoxelType(), [&](auto tag) {
        const auto* const samples = reinterpret_cast<const typename decltype(tag)::type*>(image.getInternalBuffer());
        std::copy(samples, samples + count, labels.begin());
    });
    return labels;
}

std::string picture(const Volume& volume) {
    std::string text;
    for (std::size_t i = 0; i < volume.voxels.size() && i < 4000; ++i) {
        text += volume.voxels[i] != 0 ? '#' : '.';
        text += i % volume.columns + 1 == volume.columns ? "\n" : "";
    }
    return text;
}

/// The ways in which bands, nodes and levels can differ.
std::vector<Way> allWays() {
    std::vector<Way> ways;
    for (const OptimLevelType level : runnableLevels()) {
        for (const NodeRows nodeRows : {NodeRows::Single, NodeRows::Pairs}) {
            for (const std::size_t voxelsPerBand : {std::size_t{0}, std::size_t{1}, std::size_t{200}}) {
                Way way{.level = level};
                way.tuning.nodeRows = nodeRows;
                way.tuning.voxelsPerBand = voxelsPerBand;
                way.tuning.wideNodes = voxelsPerBand == 200;
                ways.push_back(way);
            }
        }
    }
    return ways;
}

/// Labels a volume in every way and compares with the flood fill.
void checkEveryWay(const Volume& volume) {
    const io::MemoryImage image = imageOf(volume);
    const bool in3d = volume.planes > 1;
    for (int axes = 1; axes <= (in3d ? connectivities3d : connectivities2d); ++axes) {
        const ReferenceLabels expected = oracle::referenceFloodFill(volume, axes);
        for (const Way& way : allWays()) {
            const Outcome outcome = labelImage(image, in3d, axes, way);
            ASSERT_EQ(outcome.count, expected.count);
            ASSERT_EQ(labelsOf(outcome.image), expected.labels)
                << "axes " << axes << ", level " << way.level << ", pairs "
                << (way.tuning.nodeRows == NodeRows::Pairs) << ", voxels of a band " << way.tuning.voxelsPerBand
                << "\n" << picture(volume);
        }
    }
}

Volume randomVolume(std::size_t columns, std::size_t rows, std::size_t planes, int percent, std::uint64_t seed) {
    Volume volume(columns, rows, planes);
    std::mt19937_64 random(seed * 1000003 + static_cast<std::uint64_t>(percent));
    for (std::uint8_t& voxel : volume.voxels) {
        voxel = random() % 100 < static_cast<std::uint64_t>(percent) ? static_cast<std::uint8_t>(random() % 255 + 1) : 0;
    }
    return volume;
}

/// All binary images of a shape as the planes (volumes) of one image.
void checkAllImages(const Volume& shape, bool in3d) {
    const std::size_t voxels = shape.voxels.size();
    const std::size_t images = std::size_t{1} << voxels;
    io::MemoryImage input;
    ASSERT_TRUE(input.reserve(RIX_UINT8, shape.columns, shape.rows, shape.planes, images, 1));
    for (std::size_t i = 0; i < images; ++i) {
        for (std::size_t v = 0; v < voxels; ++v) {
            input.getInternalBuffer()[i * voxels + v] = static_cast<std::uint8_t>((i >> v) & 1);
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
        for (Way way : allWays()) {
            way.labelType = static_cast<int>(way.level) % 3;
            const Outcome outcome = labelImage(input, in3d, axes, way);
            ASSERT_TRUE(labelsOf(outcome.image) == expected)
                << "axes " << axes << ", level " << way.level << ", voxels of a band " << way.tuning.voxelsPerBand;
        }
    }
}

TEST(Labeling, EqualsTheFloodFillOnEveryImageOfFourByFour) {
    checkAllImages(Volume(4, 4), false);
}

TEST(Labeling, EqualsTheFloodFillOnEveryVolumeOfThreeByThreeByTwo) {
    checkAllImages(Volume(3, 3, 2), true);
}

TEST(Labeling, EqualsTheFloodFillOnRandomImagesOfAwkwardSizes) {
    const std::size_t widths[] = {1, 2, 7, 62, 63, 64, 65, 66, 127, 128, 129, 191, 193, 257};
    std::uint64_t seed = 0;
    for (const std::size_t columns : widths) {
        for (const std::size_t rows : {1U, 2U, 3U, 8U, 17U}) {
            for (const int percent : {1, 10, 30, 50, 60, 75, 90, 99}) {
                checkEveryWay(randomVolume(columns, rows, 1, percent, ++seed));
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
    const std::array<std::size_t, 3> volumes[] = {{1, 1, 9}, {3, 1, 5}, {5, 4, 2}, {64, 3, 3}, {65, 7, 4}, {130, 5, 6}};
    for (const auto& [columns, rows, planes] : volumes) {
        for (const int percent : {2, 10, 20, 35, 50, 70, 95}) {
            checkEveryWay(randomVolume(columns, rows, planes, percent, ++seed));
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

}  // namespace
}  // namespace rix::segmentation
