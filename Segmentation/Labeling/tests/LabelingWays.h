#pragma once

#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>

#include "LabelingOracle.h"
#include "LabelingState.h"

/// Running the labeling in all the ways that a user cannot see.
namespace rix::segmentation {

using oracle::Volume;
using test::runnableLevels;

inline constexpr int connectivities2d = 2;
inline constexpr int connectivities3d = 3;

/// How an image is labelled, beside what a user sees.
struct Way {
    OptimLevelType level = SCALAR;
    LabelingTuning tuning = {};
    std::size_t processors = 0;  ///< that the type is decided for; 0: those of the machine
    int threads = 1;
    int labelType = 2;
    std::shared_ptr<access::BlockScheduler> scheduler = nullptr;
};

template <class Labeling>
struct Run {
    explicit Run(const Way& way) : state(new LabelingState), algorithm(state) {
        state->tuning = way.tuning;
        algorithm.settings().setMaximumNumberOfThreads(way.threads);
        algorithm.settings().setValueAsSize_t("RIX_LABEL_TYPE_PROCESSORS", way.processors);
        algorithm.setAutoCpuDispatch(false);
        algorithm.setOptimLevel(way.level);
        algorithm.setBlockScheduler(way.scheduler);
        algorithm.setLabelType(static_cast<typename Labeling::LabelType>(way.labelType));
    }
    LabelingState* state;
    Labeling algorithm;
};
using Run2d = Run<Labeling2d>;
using Run3d = Run<Labeling3d>;

struct Outcome {
    io::MemoryImage image;
    std::uint64_t count = 0;
    String message;
};

template <class Run>
Outcome outcomeOf(Run&& run, const ImageModel& input, int axes, OptimLevelType level) {
    Outcome outcome;
    String normalised;
    EXPECT_TRUE(run.algorithm.getPropertyfromName("neighborhood")->read(std::to_string(axes - 1), normalised));
    run.algorithm.setInputObjectImage(&input);
    run.algorithm.setOutputLabelImage(&outcome.image);
    run.algorithm.run();
    EXPECT_EQ(run.algorithm.getLastRunLevel(), level);
    outcome.count = run.algorithm.getNumberOfLabels();
    outcome.message = run.algorithm.getProgressionMessage();
    return outcome;
}

/// @param axes 1, 2 or 3, as in the oracle
inline Outcome labelImage(const ImageModel& input, bool in3d, int axes, const Way& way) {
    return in3d ? outcomeOf(Run3d(way), input, axes, way.level) : outcomeOf(Run2d(way), input, axes, way.level);
}

inline io::MemoryImage imageOf(const Volume& volume) {
    io::MemoryImage image;
    EXPECT_TRUE(image.reserve(RIX_UINT8, volume.columns, volume.rows, volume.planes, 1, 1));
    std::copy(volume.voxels.begin(), volume.voxels.end(), image.getInternalBuffer());
    return image;
}

inline std::vector<std::uint32_t> labelsOf(const io::MemoryImage& image) {
    std::size_t count = 0;
    EXPECT_TRUE(helper::getElementCount(image, count));
    std::vector<std::uint32_t> labels(count);
    access::dispatch(access::UnsignedIntegers{}, image.getVoxelType(), [&](auto tag) {
        const auto* const samples = reinterpret_cast<const typename decltype(tag)::type*>(image.getInternalBuffer());
        std::copy(samples, samples + count, labels.begin());
    });
    return labels;
}

inline Volume randomVolume(std::size_t columns, std::size_t rows, std::size_t planes, int percent, std::uint64_t seed) {
    Volume volume(columns, rows, planes);
    std::mt19937_64 random(seed * 1000003 + static_cast<std::uint64_t>(percent));
    for (std::uint8_t& voxel : volume.voxels) {
        voxel =
            random() % 100 < static_cast<std::uint64_t>(percent) ? static_cast<std::uint8_t>(random() % 255 + 1) : 0;
    }
    return volume;
}

}  // namespace rix::segmentation
