// What a run takes beyond inputs and outputs is what its description says, and is kept below the limit.
//
// With RIX_PRINT_MEMORY set, the test prints a table of stated and measured peaks.

#include <cstdio>

#include "GenericTest.h"
#include "Properties.h"

namespace rix::test {
namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

/// An image that comes near the worst case of an algorithm whose description can only give a bound.
struct WorstCase {
    const char* className;
    ImageTraits traits;
    /// The sample at a column and an element that is counted in storage order.
    std::int64_t (*sample)(std::size_t column, std::size_t element);
    bool isEveryInput = false;           ///< else of the first, and the other images are left out
    std::map<String, double> numbers{};  ///< values of inputs that make it so
};

/// No line has more runs, and no two columns are connected.
std::int64_t stripes(std::size_t column, std::size_t /*element*/) {
    return column % 2 == 0 ? 1 : 0;
}
/// Each pixel is an object.
std::int64_t everyLabel(std::size_t /*column*/, std::size_t element) {
    return static_cast<std::int64_t>(element + 1);
}
/// All is one object.
std::int64_t everywhere(std::size_t /*column*/, std::size_t /*element*/) {
    return 1;
}
/// Every class of a histogram occurs.
std::int64_t everyClass(std::size_t /*column*/, std::size_t element) {
    return static_cast<std::int64_t>(element % 65535);
}
/// Equal numbers of values that differ in their leading digits: between two of them lie the quantiles 0.1 and 0.9.
std::int64_t hundredValues(std::size_t /*column*/, std::size_t element) {
    return static_cast<std::int64_t>(element % 100);
}
/// Of an image with an odd number of columns, no two neighbours are alike.
std::int64_t chequers(std::size_t /*column*/, std::size_t element) {
    return static_cast<std::int64_t>(element % 2);
}

const WorstCase worstCases[] = {
    {"PruneSkeleton2d", {.extents = {300, 200, 1, 1, 1}, .interpretation = RIX_BINARY}, &everywhere},
    {"PruneSkeleton3d", {.extents = {256, 16, 12, 1, 1}, .interpretation = RIX_BINARY}, &everywhere},
    {"SkeletonGraph2d", {.extents = {300, 200, 1, 1, 1}, .interpretation = RIX_BINARY}, &everywhere},
    {"SkeletonGraph3d", {.extents = {256, 16, 12, 1, 1}, .interpretation = RIX_BINARY}, &everywhere},
    {"LocalThickness2d", {.extents = {1100, 1000, 1, 1, 1}, .interpretation = RIX_BINARY}, &everywhere},
    {"LocalThickness3d", {.extents = {110, 100, 100, 1, 1}, .interpretation = RIX_BINARY}, &everywhere},
    {"ConvexHullOfObjects2d",
     {.voxelType = RIX_UINT32, .extents = {600, 1000, 1, 1, 1}, .interpretation = RIX_LABEL},
     &everyLabel},
    {"Labeling2d", {.extents = {2000, 1500, 1, 1, 1}, .interpretation = RIX_BINARY}, &stripes},
    {"Labeling3d", {.extents = {400, 300, 40, 1, 1}, .interpretation = RIX_BINARY}, &stripes},
    {"FillHoles2d", {.extents = {2000, 1500, 1, 1, 1}, .interpretation = RIX_BINARY}, &stripes},
    {"FillHoles3d", {.extents = {400, 300, 40, 1, 1}, .interpretation = RIX_BINARY}, &stripes},
    {"RemoveBorderObjects2d",
     {.extents = {2000, 1500, 1, 1, 1}, .interpretation = RIX_BINARY},
     &stripes,
     false,
     {{"neighborhood", 0.0}}},
    {"RemoveBorderObjects3d",
     {.extents = {400, 300, 40, 1, 1}, .interpretation = RIX_BINARY},
     &stripes,
     false,
     {{"neighborhood", 0.0}}},
    {"ReconstructionByDilation2d",
     {.extents = {2000, 1500, 1, 1, 1}, .interpretation = RIX_BINARY},
     &stripes,
     true,
     {{"neighborhood", 0.0}}},
    {"ReconstructionByDilation3d",
     {.extents = {400, 300, 40, 1, 1}, .interpretation = RIX_BINARY},
     &stripes,
     true,
     {{"neighborhood", 0.0}}},
    {"ReconstructionByErosion2d",
     {.extents = {2000, 1500, 1, 1, 1}, .interpretation = RIX_BINARY},
     &stripes,
     true,
     {{"neighborhood", 0.0}}},
    {"ReconstructionByErosion3d",
     {.extents = {400, 300, 40, 1, 1}, .interpretation = RIX_BINARY},
     &stripes,
     true,
     {{"neighborhood", 0.0}}},
    {"ConnectedThreshold2d",
     {.extents = {2000, 1500, 1, 1, 1}},
     &stripes,
     true,
     {{"lowerThreshold", 1.0}, {"upperThreshold", 1.0}, {"neighborhood", 0.0}}},
    {"ConnectedThreshold3d",
     {.extents = {400, 300, 40, 1, 1}},
     &stripes,
     true,
     {{"lowerThreshold", 1.0}, {"upperThreshold", 1.0}, {"neighborhood", 0.0}}},
    {"HysteresisThresholding2d",
     {.extents = {2000, 1500, 1, 1, 1}},
     &stripes,
     false,
     {{"lowerThreshold", 1.0}, {"upperThreshold", 1.0}, {"neighborhood", 0.0}}},
    {"HysteresisThresholding3d",
     {.extents = {400, 300, 40, 1, 1}},
     &stripes,
     false,
     {{"lowerThreshold", 1.0}, {"upperThreshold", 1.0}, {"neighborhood", 0.0}}},
    {"LabelAnalysis",
     {.voxelType = RIX_UINT32, .extents = {500, 1000, 1, 1, 1}, .interpretation = RIX_LABEL},
     &everyLabel},
    {"ContourLines2d", {.extents = {501, 400, 1, 1, 1}}, &chequers},
    {"RegionMerging2d",
     {.voxelType = RIX_UINT32, .extents = {600, 500, 1, 1, 1}, .interpretation = RIX_LABEL},
     &everyLabel,
     true,
     {{"threshold", 1e9}}},
    {"RegionMerging3d",
     {.voxelType = RIX_UINT32, .extents = {80, 60, 40, 1, 1}, .interpretation = RIX_LABEL},
     &everyLabel,
     true,
     {{"threshold", 1e9}}},
    {"SelectObjects",
     {.voxelType = RIX_UINT32, .extents = {500, 1000, 1, 1, 1}, .interpretation = RIX_LABEL},
     &everyLabel},
    {"MeasureToImage",
     {.voxelType = RIX_UINT32, .extents = {500, 1000, 1, 1, 1}, .interpretation = RIX_LABEL},
     &everyLabel},
    {"RemoveSmallObjects2d",
     {.voxelType = RIX_UINT32, .extents = {500, 1000, 1, 1, 1}, .interpretation = RIX_LABEL},
     &everyLabel},
    {"RemoveSmallObjects3d",
     {.voxelType = RIX_UINT32, .extents = {100, 100, 50, 1, 1}, .interpretation = RIX_LABEL},
     &everyLabel},
    {"LabelOverlap",
     {.voxelType = RIX_UINT32, .extents = {500, 1000, 1, 1, 1}, .interpretation = RIX_LABEL},
     &everyLabel,
     true},
    {"LocalPeaks2d", {.extents = {1000, 500, 1, 1, 1}}, &stripes},
    {"LocalPeaks3d", {.extents = {100, 100, 50, 1, 1}}, &stripes},
    {"AutoThresholdingValue", {.voxelType = RIX_FLOAT32, .extents = {1000, 300, 1, 1, 1}}, &everyClass},
    {"AutoThresholdingBright", {.voxelType = RIX_FLOAT32, .extents = {1000, 300, 1, 1, 1}}, &everyClass},
    {"AutoThresholdingDark", {.voxelType = RIX_FLOAT32, .extents = {1000, 300, 1, 1, 1}}, &everyClass},
    {"ImageStatistics", {.voxelType = RIX_UINT16, .extents = {1000, 300, 1, 1, 1}}, &everyClass},
    {"IntensityRescale",
     {.voxelType = RIX_FLOAT32, .extents = {1000, 300, 1, 1, 1}},
     &hundredValues,
     false,
     {{"rangeMode", 1.0}, {"inputMinimum", 0.1}, {"inputMaximum", 0.9}}},
    {"TensorVoting2d", {.voxelType = RIX_UINT16, .extents = {500, 400, 1, 1, 1}}, &everyClass},
    {"TensorVoting3d", {.voxelType = RIX_UINT16, .extents = {60, 50, 40, 1, 1}}, &everyClass},
};

std::unique_ptr<Subject> makeWorstCase(const Example& example) {
    for (const WorstCase& worst : worstCases) {
        if (example.info->getName() != worst.className) {
            continue;
        }
        std::size_t element = 0;
        auto image = std::make_shared<io::MemoryImage>(
            makeImage(worst.traits, [&](std::size_t column, std::size_t, std::size_t, std::size_t, std::size_t) {
                return worst.sample(column, element++);
            }));
        setDistinctCalibration(*image);
        InputImages images(example.images.size());
        std::fill_n(images.begin(), worst.isEveryInput ? images.size() : 1, image);
        Example changed = example;
        for (const auto& [name, value] : worst.numbers) {
            changed = changed.withNumber(name, value);
        }
        return Subject::make(changed, images, Storage::Memory);
    }
    return nullptr;
}

/// Lets the output be the input, where the algorithm says that it may. Rules still refuse it where types differ.
bool putInPlace(BaseAlgorithm& algorithm) {
    if (!algorithm.describe().inPlace) {
        return false;
    }
    for (BaseProperty* const output : outputsOf(algorithm)) {
        for (BaseProperty* const input : inputsOf(algorithm)) {
            if (holdsImage(output) && holdsImage(input) && readImageSlot(input) != nullptr) {
                setImage(output, const_cast<ImageModel*>(readImageSlot(input)->get()));
                return true;
            }
        }
    }
    return false;
}

class Memory : public GenericTest {
protected:
    struct Use {
        std::size_t stated = 0;
        bool isExact = true;
        std::size_t measured = 0;
    };

    static Use measure(BaseAlgorithm& algorithm, int threads, const String& what) {
        algorithm.settings().setMaximumNumberOfThreads(threads);
        Use use;
        const AlgorithmDescription description = algorithm.describe();
        use.stated = description.extraMemory;
        use.isExact = description.extraMemoryIsExact;
        const Outcome outcome = runOnce(algorithm);
        EXPECT_TRUE(outcome.succeeded) << what << ": " << outcome.text();
        use.measured = algorithm.getPeakExtraMemory();
        if (std::getenv("RIX_PRINT_MEMORY") != nullptr) {
            std::printf("%12zu %s %12zu  %d threads  %s\n", use.stated, use.isExact ? "=" : "<", use.measured, threads,
                        what.c_str());
        }
        EXPECT_LE(use.measured, use.stated) << what << ", " << threads << " threads";
        // How many of the threads take part is chance: only one thread that always does shows whether more was stated.
        if (use.isExact && threads == 1) {
            EXPECT_LE(use.stated, use.measured + std::max(mebibyte, use.measured / 10)) << what;
        }
        return use;
    }
};

TEST_P(Memory, IsWhatTheDescriptionSays) {
    std::vector<Example> examples = variantsOf(example());
    examples.push_back(largeExample(example()));
    bool isExact = true;
    for (const Example& each : examples) {
        std::size_t statedForOne = 0;
        for (const int threads : {1, sanitized ? 1 : 3}) {
            Subject subject(each);
            const Use use = measure(subject.algorithm(), threads, each.toText());
            isExact = use.isExact && isExact;
            statedForOne = threads == 1 ? use.stated : statedForOne;
            EXPECT_LE(use.stated, statedForOne * static_cast<std::size_t>(threads)) << each.toText();
            Subject changed(each);
            if (putInPlace(changed.algorithm()) && runOnce(changed.algorithm()).exceptionClass != "RuleException") {
                measure(changed.algorithm(), threads, each.toText() + " in place");
            }
        }
    }
    const auto worst = makeWorstCase(example());
    EXPECT_EQ(worst == nullptr, isExact) << "a bound needs an example near it, which belongs into the table above";
    if (worst != nullptr) {
        const Use use = measure(worst->algorithm(), 1, example().info->getName() + " near the worst case");
        EXPECT_GE(use.measured, use.stated / 2);
    }
}

TEST_P(Memory, IsRefusedBeyondTheLimitAndTheNextRunWorks) {
    std::unique_ptr<Subject> subject = makeWorstCase(example());
    if (subject == nullptr) {
        subject = std::make_unique<Subject>(largeExample(example()));
        if (putInPlace(subject->algorithm()) && !runOnce(subject->algorithm()).succeeded) {
            subject->restore();
        }
    }
    BaseAlgorithm& algorithm = subject->algorithm();
    for (const int threads : {1, 3}) {
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setMaximumExtraMemoryUsage(0);
        ASSERT_TRUE(runOnce(algorithm).succeeded);
        // How many threads take part is chance; what is refused is the statement, where it is exact.
        const AlgorithmDescription description = algorithm.describe();
        const std::size_t needed =
            description.extraMemoryIsExact ? description.extraMemory : algorithm.getPeakExtraMemory();
        algorithm.setMaximumExtraMemoryUsage(1);
        if (needed <= mebibyte) {
            EXPECT_TRUE(runOnce(algorithm).succeeded) << "less is needed than the least limit there is";
            continue;
        }
        const Outcome refused = runOnce(algorithm);
        EXPECT_EQ(refused.exceptionClass, "MemoryError") << refused.text();
        EXPECT_TRUE(refused.names("bytes of extra memory")) << refused.text();
        EXPECT_TRUE(refused.names("the limit is " + std::to_string(mebibyte))) << refused.text();
        EXPECT_TRUE(isReady(algorithm));
        algorithm.setMaximumExtraMemoryUsage(static_cast<int>(needed / mebibyte) + 8);
        const Outcome next = runOnce(algorithm);
        EXPECT_TRUE(next.succeeded) << next.text();
    }
}

RIX_FOR_EVERY_ALGORITHM(Memory);

}  // namespace
}  // namespace rix::test
