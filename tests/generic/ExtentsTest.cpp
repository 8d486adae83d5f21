// Images of every shape: thin ones, ones with frames and channels, empty ones, and one of more than 2^31 elements.

#include <fstream>

#include "GenericTest.h"
#include "Properties.h"

namespace rix::test {
namespace {

class AnyExtents : public GenericTest {
protected:
    /// Runs on an object that is used for all extents, whose outputs so change their shapes all the time.
    static Outcome runOn(const Example& example, const Storage storage, Results& results) {
        const InputImages images = makeInputs(example);
        const auto subject = Subject::make(example, images, storage);
        const AlgorithmDescription description = subject->algorithm().describe();
        const Outcome outcome = runOnce(subject->algorithm());
        EXPECT_TRUE(isReady(subject->algorithm()));
        EXPECT_TRUE(subject->outputsAreReadable());
        if (outcome.succeeded) {
            results = subject->results();
            for (const OutputDescription& output : description.outputs) {
                EXPECT_EQ(output.voxelType, results.images.at(output.name).getVoxelType()) << output.name;
                EXPECT_EQ(output.extents, helper::getExtents(results.images.at(output.name))) << output.name;
            }
        }
        return outcome;
    }

    static bool namesAProperty(const Outcome& outcome, const BaseAlgorithm& algorithm) {
        for (const auto& list : {inputsOf(algorithm), outputsOf(algorithm)}) {
            for (const BaseProperty* const property : list) {
                if (outcome.names(property->getName())) {
                    return true;
                }
            }
        }
        return false;
    }
};

TEST_P(AnyExtents, WorkOrAreRefusedByName) {
    const std::unique_ptr<BaseAlgorithm> algorithm = example().info->createInstance(nullptr);
    const Extents extents[] = {
        {1, 1, 1, 1, 1},  {9, 1, 1, 1, 1}, {1, 9, 1, 1, 1},  {1, 1, 9, 1, 1}, {67, 1, 3, 1, 1},
        {1, 67, 3, 1, 1}, {2, 2, 1, 1, 1}, {5, 4, 1, 3, 1},  {5, 4, 1, 1, 3}, {5, 4, 3, 2, 2},
        {1, 1, 1, 4, 1},  {1, 1, 1, 1, 4}, {33, 2, 1, 2, 3}, {0, 4, 3, 1, 1}, {4, 0, 3, 1, 1},
        {4, 3, 0, 1, 1},  {4, 3, 1, 0, 1}, {4, 3, 1, 1, 0},  {0, 0, 0, 0, 0},
    };
    int ran = 0;
    for (const Extents& each : extents) {
        const Example shaped = example().withExtents(each);
        SCOPED_TRACE(shaped.toText());
        const bool empty = std::find(each.begin(), each.end(), std::size_t{0}) != each.end();
        Results results;
        const Outcome outcome = runOn(shaped, Storage::Memory, results);
        if (!outcome.succeeded) {
            // The samples of tiny images may be good for nothing (a histogram of one voxel): then any class that fits.
            const bool byRule = outcome.exceptionClass == "RuleException" || isRefusedByRunners(*algorithm, outcome);
            EXPECT_TRUE(byRule || (!empty && outcome.isOfTheFamily && outcome.exceptionClass != "UnexpectedError"))
                << outcome.text();
            EXPECT_TRUE(namesAProperty(outcome, *algorithm) || isRefusedByRunners(*algorithm, outcome))
                << outcome.text();
            continue;
        }
        ran += empty ? 0 : 1;
        EXPECT_TRUE(resultsEqual(referenceResults(shaped), results)) << "the portable level";
        Results copied;
        const Outcome again = runOn(shaped, Storage::Opaque, copied);
        EXPECT_TRUE(again.succeeded) << again.text();
        EXPECT_TRUE(resultsEqual(results, copied)) << "on an image that copies its rows";
    }
    EXPECT_GT(ran, 0) << "no shape was accepted";
}

TEST_P(AnyExtents, IterationOverFramesAndChannelsIsARunForEach) {
    Extents extents = example().extents();
    extents[SEQUENCE] = 2;
    extents[SPECTRAL_SERIES] = 3;
    const Example shaped = example().withExtents(extents);
    const InputImages images = makeInputs(shaped);
    const auto iterated = Subject::make(shaped, images, Storage::Memory);
    iterated->algorithm().enableIterationOnSequenceAxis(true);
    iterated->algorithm().enableIterationOnSpectralAxis(true);
    const Outcome outcome = runOnce(iterated->algorithm());
    if (!outcome.succeeded) {
        EXPECT_EQ(outcome.exceptionClass, "RuleException") << outcome.text();
        EXPECT_TRUE(namesAProperty(outcome, iterated->algorithm())) << outcome.text();
        return;
    }
    EXPECT_EQ(iterated->algorithm().getProgress(), 1.0);
    const Results whole = iterated->results();
    EXPECT_TRUE(iterated->inputsAreUntouched());

    // A second run finds the properties as they were: no view is left behind in them.
    ASSERT_TRUE(runOnce(iterated->algorithm()).succeeded);
    EXPECT_TRUE(resultsEqual(whole, iterated->results()));

    // Without iteration a point operation gives the same: no voxel knows of another.
    if (iterated->algorithm().describe().kind == AlgorithmKind::Point) {
        EXPECT_TRUE(resultsEqual(referenceResults(shaped), whole)) << shaped.toText();
    }
}

RIX_FOR_EVERY_ALGORITHM(AnyExtents);

// More than 2^31 elements ---------------------------------------------------------------------------------------------

std::size_t availableMemory() {
    std::ifstream info("/proc/meminfo");
    String word;
    while (info >> word) {
        if (word == "MemAvailable:") {
            std::size_t kibibytes = 0;
            info >> kibibytes;
            return kibibytes << 10;
        }
    }
    return 0;
}

/// Bytes of the images of an example of `voxels` voxels, results included.
std::size_t bytesOf(const InputImages& inputs, const Results& results, std::size_t voxels) {
    std::size_t bytes = 0;
    for (const auto& image : inputs) {
        bytes += image != nullptr ? voxels * helper::getElementSize(*image) : 0;
    }
    for (const auto& [name, image] : results.images) {
        bytes += voxels * helper::getElementSize(image);
    }
    return bytes;
}

/// The point operation of the registry on images of `uint8` that takes the least memory.
std::optional<Example> leanestPointOperation() {
    std::optional<Example> leanest;
    std::size_t least = std::numeric_limits<std::size_t>::max();
    for (const std::string& name : registeredNames()) {
        const auto example = findExample(AlgoInfo::fromName(name));
        if (!example.has_value() || example->images.empty()) {
            continue;
        }
        Subject probe(example->withVoxelType(RIX_UINT8));
        if (probe.algorithm().describe().kind == AlgorithmKind::Point && runOnce(probe.algorithm()).succeeded) {
            const Results results = probe.results();
            const std::size_t bytes = bytesOf(makeInputs(probe.example()), results, 1);
            if (!results.images.empty() && bytes < least) {
                least = bytes;
                leanest = probe.example();
            }
        }
    }
    return leanest;
}

/// An image in which the rows of `tile` repeat, with more rows.
void fillWithRows(io::MemoryImage& image, const io::MemoryImage& tile) {
    const std::size_t bytes = tile.getNumOf(COLUMNS) * helper::getElementSize(tile);
    const std::size_t period = tile.getNumOf(ROWS);
    for (std::size_t row = 0; row < image.getNumOf(ROWS); ++row) {
        std::memcpy(image.getInternalBuffer() + row * bytes, tile.getInternalBuffer() + row % period * bytes, bytes);
    }
}

TEST(HugeImage, OfMoreThan2To31ElementsIsProcessedAsASmallOneIs) {
    if (sanitized) {
        GTEST_SKIP() << "too slow and too large with a sanitizer";
    }
    const auto example = leanestPointOperation();
    ASSERT_TRUE(example.has_value()) << "the registry has no point operation";
    constexpr std::size_t columns = 46'400;
    constexpr std::size_t rows = 46'400;
    static_assert(columns * rows > std::size_t{1} << 31);
    constexpr std::size_t period = 61;  // shares no factor with the blocks' heights

    const Example tiled = example->withExtents({columns, period, 1, 1, 1});
    const InputImages tiles = makeInputs(tiled);
    const Results expected = referenceResults(tiled);
    const std::size_t bytes = bytesOf(tiles, expected, columns * rows) + (std::size_t{2} << 30);  // for all others
    if (availableMemory() < bytes) {
        GTEST_SKIP() << "needs " << (bytes >> 20) << " MiB of free memory";
    }

    SCOPED_TRACE(tiled.toText());
    Subject subject(tiled);  // for its other properties
    BaseAlgorithm& algorithm = subject.algorithm();
    std::vector<std::unique_ptr<io::MemoryImage>> inputs;
    std::size_t slot = 0;
    for (BaseProperty* const property : inputsOf(algorithm)) {
        if (holdsImage(property) && tiles.at(slot++) != nullptr) {
            const io::MemoryImage& tile = *tiles[slot - 1];
            inputs.push_back(std::make_unique<io::MemoryImage>());
            ASSERT_TRUE(inputs.back()->reserve(tile.getVoxelType(), columns, rows, 1, 1, 1));
            inputs.back()->setInterpretation(tile.getInterpretation());
            fillWithRows(*inputs.back(), tile);
            setImage(property, inputs.back().get());
        }
    }
    const Outcome outcome = runOnce(algorithm);
    ASSERT_TRUE(outcome.succeeded) << outcome.text();
    for (BaseProperty* const property : outputsOf(algorithm)) {
        if (!holdsImage(property)) {
            continue;
        }
        const ImageModel& output = *writtenImageSlot(property)->get();
        const io::MemoryImage& tile = expected.images.at(property->getName());
        ASSERT_EQ(helper::getExtents(output), (Extents{columns, rows, 1, 1, 1}));
        ASSERT_EQ(output.getVoxelType(), tile.getVoxelType());
        const std::size_t rowBytes = columns * helper::getElementSize(tile);
        for (std::size_t row = 0; row < rows; ++row) {
            ConstRawData samples = nullptr;
            ASSERT_TRUE(output.getConstRowAt(columns, samples, 0, row, 0, 0, 0));
            ASSERT_EQ(std::memcmp(samples, tile.getInternalBuffer() + row % period * rowBytes, rowBytes), 0)
                << property->getName() << " differs in row " << row;
        }
    }
}

}  // namespace
}  // namespace rix::test
