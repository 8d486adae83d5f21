// What a run takes, refuses and leaves behind.

#include <mutex>

#include <rix/access/BlockSize.h>
#include <rix/image/ImageDetails.h>
#include <rix/image/ImageModelFull2d.h>

#include "LabelingWays.h"

namespace rix::segmentation {
namespace {

using testing::HasSubstr;

TEST(LabelingRun, TakesEveryObjectType) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_UINT32, RIX_INT8, RIX_INT16}) {
        for (const std::size_t columns : {5U, 64U, 131U}) {
            // A third of the samples is 0; others have bits in the low or the high byte only, or are negative.
            const io::MemoryImage input = test::makeImage(
                {.voxelType = type, .extents = {columns, 23, 1, 1, 1}},
                [type](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) -> std::int64_t {
                    const std::size_t kind = (x * 7 + y * 13 + x * y) % 6;
                    const bool narrow = type == RIX_UINT8 || type == RIX_INT8;
                    const bool isSigned = type == RIX_INT8 || type == RIX_INT16;
                    return kind < 2 ? 0 : kind == 2 ? 1 : kind == 3 ? (narrow ? 64 : 0x4000) : isSigned ? -128 : 128;
                });
            const io::MemoryImage mask =
                test::makeImage({.extents = {columns, 23, 1, 1, 1}},
                                [](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
                                    return (x * 7 + y * 13 + x * y) % 6 < 2 ? 0 : 1;
                                });
            for (const OptimLevelType level : runnableLevels()) {
                EXPECT_TRUE(test::imagesEqual(labelImage(mask, false, 1, {.level = level}).image,
                                              labelImage(input, false, 1, {.level = level}).image))
                    << helper::voxelTypesToString(type) << ", " << columns << " columns, level " << level;
            }
        }
    }
}

TEST(LabelingRun, ShapesItsOutput) {
    io::MemoryImage input = imageOf(randomVolume(20, 10, 2, 40, 4));
    test::setDistinctCalibration(input);
    const Outcome outcome = labelImage(input, true, 1, {.labelType = 1});
    io::MemoryImage expected;
    expected.enforceSameCharacteristics(&input, SIZE | CALIBRATION);
    ASSERT_TRUE(expected.reserve(RIX_UINT16, 20, 10, 2, 1, 1));
    expected.setInterpretation(RIX_LABEL);
    std::copy_n(outcome.image.getInternalBuffer(), 20 * 10 * 2 * 2, expected.getInternalBuffer());
    EXPECT_TRUE(test::imagesEqual(expected, outcome.image));
}

TEST(LabelingRun, TellsWhetherLabelsAreThoseOfPlanes) {
    const io::MemoryImage volume = imageOf(randomVolume(20, 10, 2, 40, 4));
    const io::MemoryImage plane = imageOf(randomVolume(20, 10, 1, 40, 4));
    io::MemoryImage output;
    const auto label = [&](auto run, const ImageModel& input) {
        run.algorithm.setInputObjectImage(&input);
        run.algorithm.setOutputLabelImage(&output);
        run.algorithm.run();
        return helper::areLabelsOfPlanes(output);
    };
    EXPECT_TRUE(label(Run2d({}), volume));
    EXPECT_FALSE(label(Run3d({}), volume)) << "into the image that held labels of planes";
    EXPECT_TRUE(label(Run2d({}), volume));
    EXPECT_FALSE(label(Run2d({}), plane));
    EXPECT_EQ(helper::getLabelScope(output), LabelScope::Volume) << "a plane is all that there is";
}

TEST(LabelingRun, ShowsItsRunsInRasterOrder) {
    for (const NodeRows nodeRows : {NodeRows::Single, NodeRows::Pairs}) {
        const io::MemoryImage input = imageOf(randomVolume(192, 7, 3, 50, 8));
        using Run = std::tuple<std::size_t, std::size_t, std::size_t, std::uint64_t>;
        Run3d run({.threads = 3});
        run.state->tuning.nodeRows = nodeRows;
        run.state->tuning.voxelsPerBand = 1;
        std::mutex mutex;
        std::vector<std::vector<Run>> bands(3);
        run.state->visitRun = [&](std::size_t band, const LabelledRun& r) {
            const std::lock_guard lock(mutex);
            bands.at(band).emplace_back(r.line, r.firstColumn, r.lastColumn, r.label);
        };
        io::MemoryImage output;
        run.algorithm.setNeighborhood(Labeling3d::CONNECTIVITY_18);
        run.algorithm.setInputObjectImage(&input);
        run.algorithm.setOutputLabelImage(&output);
        run.algorithm.run();
        const std::vector<std::uint32_t> labels = labelsOf(output);
        std::vector<Run> expected;
        for (std::size_t line = 0; line < 21; ++line) {
            for (std::size_t x = 0; x < 192; ++x) {
                const std::uint32_t label = labels[line * 192 + x];
                if (label != 0 && x > 0 && labels[line * 192 + x - 1] != 0) {
                    ++std::get<2>(expected.back());
                } else if (label != 0) {
                    expected.emplace_back(line, x, x + 1, label);
                }
            }
        }
        std::vector<Run> seen;
        for (const auto& band : bands) {
            seen.insert(seen.end(), band.begin(), band.end());
        }
        EXPECT_EQ(seen, expected);
    }
}

TEST(LabelingRun, RefusesBadTypesOfLabelsAndOfObjects) {
    const io::MemoryImage good = test::makeRandomImage({.extents = {9, 9, 2, 1, 1}}, 1);
    const io::MemoryImage wide = test::makeRandomImage({.voxelType = RIX_INT32, .extents = {9, 9, 2, 1, 1}}, 1);
    Labeling3d algorithm;
    io::MemoryImage output;
    algorithm.setOutputLabelImage(&output);
    algorithm.setInputObjectImage(&good);
    algorithm.setLabelType(static_cast<Labeling3d::LabelType>(3));
    EXPECT_EQ(test::messageOf<RuleException>([&] { algorithm.run(); }), "bad value of labelType parameter.");
    algorithm.setLabelType(Labeling3d::LABEL_8_BIT);
    algorithm.setInputObjectImage(&wide);
    const String info = test::infoOf<RuleException>([&] { algorithm.run(); });
    for (const char* const text : {"inputObjectImage", "uint8, uint16, uint32, int8, int16", "ConvertImage"}) {
        EXPECT_THAT(info, HasSubstr(text));
    }
}

}  // namespace
}  // namespace rix::segmentation
