// The type of the output, against the provisional labels that a scan pixel by pixel opens.

#include <rix/image/ImageModelFull2d.h>
#include <rix/properties/EnumInfo.h>

#include "LabelingWays.h"

namespace rix::segmentation {
namespace {

using oracle::ReferenceLabels;
using testing::HasSubstr;

/// Teeth that a spine in the last row makes one object: one label, but as many provisional ones as there are teeth.
Volume comb(std::size_t teeth, std::size_t rows, std::size_t planes = 1) {
    Volume volume(2 * teeth, rows, planes);
    for (std::size_t z = 0; z < planes; ++z) {
        for (std::size_t y = 0; y < rows; ++y) {
            for (std::size_t x = 0; x < volume.columns; ++x) {
                volume.at(x, y, z) = x % 2 == 0 || (y + 1 == rows && z + 1 == planes) ? 1 : 0;
            }
        }
    }
    return volume;
}

/// The first `count` places of a grid of pixels that touch nothing.
Volume isolated(std::size_t columns, std::size_t rows, std::size_t count) {
    Volume volume(columns, rows);
    for (std::size_t y = 0; y < rows; y += 2) {
        for (std::size_t x = 0; x < columns && count > 0; x += 2, --count) {
            volume.at(x, y) = 1;
        }
    }
    return volume;
}

/// The largest label that is needed on the way or in the end.
std::uint64_t largestLabel(const Volume& volume, int axes, std::size_t processors, std::uint64_t finalCount) {
    return std::max(finalCount, oracle::mostLabelsOfScan(volume, axes, processors));
}

/// Compares the outcome with what flood fill and scan give, and tells which type both came to.
int checkType(const Volume& volume, int axes, int labelType, std::size_t processors, std::size_t voxelsPerBand = 0) {
    const ReferenceLabels expected = oracle::referenceFloodFill(volume, axes);
    const std::uint64_t largest = largestLabel(volume, axes, processors, expected.count);
    const int expectedType = std::max(labelType, largest <= 0xFF ? 0 : largest <= 0xFFFF ? 1 : 2);
    const String name = volume.planes > 1 ? "[Labeling3d]" : "[Labeling2d]";
    const String message =
        expectedType == labelType
            ? ""
            : name + " upgrade output type to " + Labeling2d::getInfoLabelType().getLabelFromValue(expectedType);
    for (const OptimLevelType level : runnableLevels()) {
        Way way{.level = level, .labelType = labelType};
        way.processors = processors;
        way.tuning.voxelsPerBand = voxelsPerBand;
        const Outcome outcome = labelImage(imageOf(volume), volume.planes > 1, axes, way);
        EXPECT_EQ(outcome.image.getVoxelType(), labelVoxelTypes[expectedType])
            << "level " << level << ", processors " << processors << ", axes " << axes;
        EXPECT_EQ(labelsOf(outcome.image), expected.labels);
        EXPECT_EQ(outcome.image.getInterpretation(), RIX_LABEL);
        EXPECT_EQ(outcome.message, message);
    }
    return expectedType;
}

TEST(LabelingType, WidensWhenTheFinalCountDoesNotFit) {
    // Many bands, none of which has many labels.
    EXPECT_EQ(checkType(isolated(40, 60, 255), 2, 0, 30), 0);
    EXPECT_EQ(checkType(isolated(40, 60, 256), 2, 0, 30), 1);
    EXPECT_EQ(checkType(isolated(40, 60, 300), 1, 0, 30), 1);
    EXPECT_EQ(checkType(isolated(512, 512, 65535), 2, 0, 64), 1);
    EXPECT_EQ(checkType(isolated(514, 512, 65536), 2, 0, 64), 2);
    EXPECT_EQ(checkType(isolated(514, 512, 65536), 2, 1, 64), 2);
    EXPECT_EQ(checkType(isolated(40, 60, 10), 2, 2, 30), 2);
}

TEST(LabelingType, WidensWhenTheProvisionalLabelsOfABandDoNotFit) {
    for (const std::size_t voxelsPerBand : {0U, 1U}) {
        EXPECT_EQ(checkType(comb(255, 9), 1, 0, 1, voxelsPerBand), 0);
        EXPECT_EQ(checkType(comb(256, 9), 1, 0, 1, voxelsPerBand), 1);
        EXPECT_EQ(checkType(comb(256, 9), 2, 0, 4, voxelsPerBand), 1);
        EXPECT_EQ(checkType(comb(65535, 2), 1, 0, 1, voxelsPerBand), 1);
        EXPECT_EQ(checkType(comb(65536, 2), 1, 0, 1, voxelsPerBand), 2);
        // The planes, one by one or together, and the rows where there are fewer planes than processors.
        for (const std::size_t processors : {1U, 3U, 4U, 5U, 9U}) {
            EXPECT_EQ(checkType(comb(255, 6, 4), 1, 0, processors, voxelsPerBand), 0);
            EXPECT_EQ(checkType(comb(256, 6, 4), 1, 0, processors, voxelsPerBand), 1);
        }
    }
}

TEST(LabelingType, FollowsTheBandsOfAnyNumberOfProcessors) {
    // Densities and sizes at which the provisional labels of a band come to about 255.
    struct Case {
        std::size_t columns, rows, planes;
        int percent, axes;
    };
    constexpr Case cases[] = {{61, 37, 1, 30, 1}, {61, 37, 1, 55, 1}, {64, 45, 1, 30, 2},  {97, 38, 1, 40, 2},
                              {21, 19, 9, 25, 1}, {21, 19, 9, 14, 2}, {21, 19, 11, 12, 3}, {90, 41, 3, 9, 3},
                              {23, 70, 2, 30, 1}, {35, 33, 6, 10, 2}};
    int seen[3] = {};
    for (const Case& c : cases) {
        for (const std::size_t processors : {1U, 2U, 3U, 4U, 5U, 7U, 8U, 13U, 40U}) {
            const Volume volume = randomVolume(c.columns, c.rows, c.planes, c.percent, processors);
            ++seen[checkType(volume, c.axes, 0, processors, processors % 2)];
        }
    }
    EXPECT_GT(seen[0], 10) << "the cases must lie on both sides of the limit";
    EXPECT_GT(seen[1], 10);
}

TEST(LabelingType, FailsByNameExactlyWhenTheWidestTypeDoesNotHoldTheLabels) {
    for (const std::size_t processors : {1U, 2U, 3U, 5U, 8U}) {
        for (int axes = 1; axes <= 3; ++axes) {
            const Volume volume = randomVolume(71, 22, axes == 3 ? 7 : 1, 33, processors);
            const io::MemoryImage image = imageOf(volume);
            const ReferenceLabels expected = oracle::referenceFloodFill(volume, axes);
            const std::uint64_t needed = largestLabel(volume, axes, processors, expected.count);
            Way way;
            way.processors = processors;
            way.tuning.largestLabel = needed;
            EXPECT_EQ(labelsOf(labelImage(image, axes == 3, axes, way).image), expected.labels);
            way.tuning.largestLabel = needed - 1;
            EXPECT_EQ(test::messageOf<RuntimeError>([&] { labelImage(image, axes == 3, axes, way); }),
                      "Too much labels to be contained in an unsigned int 32 bits image.");
        }
    }
}

TEST(LabelingType, KeepsThePropertyAndTheOutputsMeaning) {
    Run2d run({.labelType = 0});
    const io::MemoryImage input = imageOf(isolated(40, 60, 300));
    io::MemoryImage output;
    run.algorithm.setInputObjectImage(&input);
    run.algorithm.setOutputLabelImage(&output);
    run.algorithm.run();
    EXPECT_EQ(run.algorithm.getLabelType(), Labeling2d::LABEL_8_BIT);
    EXPECT_EQ(output.getVoxelType(), RIX_UINT16);
    EXPECT_EQ(run.algorithm.getNumberOfLabels(), 300U);
    // The next run begins with the property's type again.
    const io::MemoryImage few = imageOf(isolated(40, 60, 3));
    run.algorithm.setInputObjectImage(&few);
    run.algorithm.run();
    EXPECT_EQ(output.getVoxelType(), RIX_UINT8);
    EXPECT_EQ(run.algorithm.getNumberOfLabels(), 3U);
    EXPECT_EQ(run.algorithm.getProgressionMessage(), "");
}

TEST(LabelingType, FillsViewsWhoseTypeHoldsTheLabels) {
    enum class End { Labelled, Refused, Failed };
    struct Case {
        VoxelTypes view;
        int labelType;
        std::size_t objects;
        End end;
        const char* message;
    };
    constexpr const char* to16 = "[Labeling2d] upgrade output type to LABEL_16_BIT";
    constexpr Case cases[] = {
        {RIX_UINT8, 0, 255, End::Labelled, ""},    {RIX_UINT8, 0, 256, End::Failed, to16},
        {RIX_UINT16, 0, 255, End::Labelled, ""},   {RIX_UINT16, 0, 256, End::Labelled, to16},
        {RIX_UINT32, 0, 256, End::Labelled, to16}, {RIX_UINT32, 1, 3, End::Labelled, ""},
        {RIX_UINT32, 2, 3, End::Labelled, ""},     {RIX_UINT16, 2, 3, End::Refused, ""},
        {RIX_UINT8, 1, 3, End::Refused, ""},       {RIX_INT16, 0, 3, End::Refused, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(helper::voxelTypesToString(c.view) + ", " + std::to_string(c.objects) + " objects");
        const io::MemoryImage input = imageOf(isolated(40, 60, c.objects));
        io::MemoryImage target;
        ASSERT_TRUE(target.reserve(c.view, 40, 60, 2, 1, 1));
        ImageModelFull2d view(&target, 1, 0, 0);
        Run2d run({.labelType = c.labelType});
        run.algorithm.setInputObjectImage(&input);
        run.algorithm.setOutputLabelImage(&view);
        End end = End::Labelled;
        try {
            run.algorithm.run();
            io::MemoryImage copy;
            copy.enforceSameCharacteristics(&view, SIZE | TYPE);
            std::copy_n(target.getInternalBuffer() + 40 * 60 * helper::getSizeOf(c.view),
                        40 * 60 * helper::getSizeOf(c.view), copy.getInternalBuffer());
            EXPECT_EQ(labelsOf(copy), oracle::referenceFloodFill(isolated(40, 60, c.objects), 1).labels);
        } catch (const RuleException& error) {
            end = End::Refused;
            EXPECT_THAT(error.getInfo(), HasSubstr("outputLabelImage"));
        } catch (const ResizeImageError& error) {
            end = End::Failed;
            EXPECT_EQ(error.getMessage(), "The temporary label image cannot be allocated or resized.");
            EXPECT_THAT(error.getInfo(), HasSubstr("uint16"));
        }
        EXPECT_EQ(end, c.end);
        EXPECT_EQ(run.algorithm.getProgressionMessage(), c.message);
        EXPECT_EQ(view.getVoxelType(), c.view);
        EXPECT_EQ(run.algorithm.getNumberOfLabels(), end == End::Labelled ? c.objects : 0U);
    }
}

}  // namespace
}  // namespace rix::segmentation
