// What a run takes, refuses and leaves behind; that nothing depends on threads, blocks or storage.

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/access/BlockSize.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModelFull2d.h>

#include "ImageComparison.h"
#include "ImageFactories.h"
#include "LabelingWays.h"

namespace rix::segmentation {
namespace {

using testing::HasSubstr;

TEST(LabelingRun, IsTheSameForEveryThreadCountScheduleAndLevel) {
    // Large enough for several bands and for threads.
    const io::MemoryImage images[] = {imageOf(randomVolume(1500, 1401, 1, 45, 1)),
                                      imageOf(randomVolume(190, 150, 77, 20, 2))};
    for (const io::MemoryImage& image : images) {
        const bool in3d = image.getNumOf(PLANS) > 1;
        for (int axes = 1; axes <= (in3d ? connectivities3d : connectivities2d); ++axes) {
            const Outcome expected = labelImage(image, in3d, axes, {});
            std::vector<Way> ways;
            for (const OptimLevelType level : runnableLevels()) {
                for (const int threads : {1, 2, 3, 7}) {
                    ways.push_back({.level = level, .threads = threads});
                }
                ways.push_back({.level = level, .scheduler = std::make_shared<access::ShuffledScheduler>(5)});
            }
            for (const Way& way : ways) {
                const Outcome outcome = labelImage(image, in3d, axes, way);
                EXPECT_EQ(outcome.count, expected.count);
                ASSERT_TRUE(test::imagesEqual(expected.image, outcome.image))
                    << "axes " << axes << ", level " << way.level << ", threads " << way.threads;
            }
        }
    }
}

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

TEST(LabelingRun, TakesAndFillsViews) {
    io::MemoryImage input = imageOf(randomVolume(70, 41, 3, 40, 4));
    test::setDistinctCalibration(input);
    const ImageModelFull2d plane(static_cast<const ImageModel*>(&input), 1, 0, 0);
    const Outcome expected = labelImage(input, false, 2, {});
    io::MemoryImage target = test::makeRandomImage({.voxelType = RIX_UINT32, .extents = {70, 41, 2, 1, 1}}, 4);
    const io::MemoryImage before = target;
    ImageModelFull2d targetPlane(&target, 1, 0, 0);
    Run2d run({});
    run.algorithm.setNeighborhood(Labeling2d::CONNECTIVITY_8);
    run.algorithm.setInputObjectImage(&plane);
    run.algorithm.setOutputLabelImage(&targetPlane);
    run.algorithm.run();
    const ImageModelFull2d expectedPlane(static_cast<const ImageModel*>(&expected.image), 1, 0, 0);
    EXPECT_TRUE(test::imagesEqual(expectedPlane, targetPlane));
    EXPECT_TRUE(
        std::equal(before.getInternalBuffer(), before.getInternalBuffer() + 70 * 41 * 4, target.getInternalBuffer()))
        << "the other plane of the target was written";
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

    Run3d run({.labelType = 1});
    run.algorithm.setInputObjectImage(&input);
    const AlgorithmDescription description = run.algorithm.describe();
    ASSERT_EQ(description.outputs.size(), 1U);
    EXPECT_EQ(description.outputs[0].voxelType, RIX_UINT16);
    EXPECT_EQ(description.outputs[0].extents, helper::getExtents(outcome.image));
    EXPECT_EQ(description.kind, AlgorithmKind::Labeling);
    // At least one word of bits and 4 bytes for each row and for each of 10 possible runs of it.
    EXPECT_GE(description.extraMemory, 21U * (8 + 4 + 4 * 10));
    EXPECT_FALSE(description.extraMemoryIsExact);
    EXPECT_FALSE(description.inPlace);
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

/// Calls back before each part of the run, which it counts, and after it.
class WatchingScheduler : public access::BlockScheduler {
public:
    explicit WatchingScheduler(
        std::function<void(std::size_t)> before, std::function<void()> after = [] {})
        : m_before(std::move(before)), m_after(std::move(after)) {}
    void forEach(std::size_t count, access::FunctionRef<void(std::size_t)> block) override {
        for (std::size_t i = 0; i < count; ++i) {
            m_before(parts++);
            block(i);
            m_after();
        }
    }

    std::size_t parts = 0;

private:
    std::function<void(std::size_t)> m_before;
    std::function<void()> m_after;
};

/// Blocks so small that no work is too small for the scheduler.
constexpr std::size_t tinyBlocks = 64;

TEST(LabelingRun, StopsBeforeAnyPartAndRunsAfterwards) {
    const access::ScopedBlockBytes blocks(tinyBlocks);
    const io::MemoryImage input = imageOf(randomVolume(100, 20, 1, 50, 3));
    const Outcome expected = labelImage(input, false, 1, {.labelType = 0});
    Way way{.labelType = 0};
    way.tuning.voxelsPerBand = 500;
    Run2d run(way);
    io::MemoryImage output;
    run.algorithm.setInputObjectImage(&input);
    run.algorithm.setOutputLabelImage(&output);
    const auto counting = std::make_shared<WatchingScheduler>([](std::size_t) {});
    run.algorithm.setBlockScheduler(counting);
    run.algorithm.run();
    // Four bands packed, joined, numbered and painted; three seams joined and resolved.
    EXPECT_GE(counting->parts, 4U * 4 + 3 * 2);
    for (std::size_t part = 0; part < counting->parts; ++part) {
        run.algorithm.setBlockScheduler(std::make_shared<WatchingScheduler>([&](std::size_t begun) {
            if (begun == part) {
                run.algorithm.cancelExecution();
            }
        }));
        EXPECT_THROW(run.algorithm.run(), UserCancelException) << "part " << part;
        EXPECT_EQ(run.algorithm.getNumberOfLabels(), 0U);
        run.algorithm.setBlockScheduler(nullptr);
        run.algorithm.run();
        ASSERT_TRUE(test::imagesEqual(expected.image, output));
    }
}

TEST(LabelingRun, ReportsProgressThatNeverFalls) {
    const access::ScopedBlockBytes blocks(tinyBlocks);
    const io::MemoryImage input = imageOf(randomVolume(100, 60, 1, 50, 3));
    for (const int labelType : {0, 1, 2}) {
        Way way{.labelType = labelType};
        way.tuning.voxelsPerBand = 500;
        Run2d run(way);
        io::MemoryImage output;
        run.algorithm.setInputObjectImage(&input);
        run.algorithm.setOutputLabelImage(&output);
        std::vector<double> seen;
        run.algorithm.setBlockScheduler(std::make_shared<WatchingScheduler>(
            [](std::size_t) {}, [&] { seen.push_back(run.algorithm.getProgress()); }));
        run.algorithm.run();
        EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
        // One of the declared steps holds all the work.
        EXPECT_DOUBLE_EQ(seen.back(), 1.0 / (4 - labelType));
        EXPECT_EQ(run.algorithm.getProgress(), 1.0);
    }
}

/// What is wrong with the properties, and what the message must contain.
template <class Labeling>
struct Refusal {
    const char* name;
    std::function<void(Labeling&)> spoil;
    std::vector<const char*> texts;
    const char* cause = nullptr;  ///< the whole innermost text, where it is fixed
};

template <class Labeling>
void checkRefusals() {
    static const io::MemoryImage good = test::makeRandomImage({.extents = {9, 9, 2, 1, 1}}, 1);
    static const io::MemoryImage vectors =
        test::makeRandomImage({.extents = {9, 9, 1, 1, 1}, .elementType = VECTOR_2}, 1);
    static const io::MemoryImage empty;
    static io::MemoryImage same = good;
    static ImageModelFull2d wrongShape(&same, 0, 0, 0);
    static ImageModelFull2d secondPlane(&same, 1, 0, 0);
    const auto given = [](VoxelTypes type) {
        return [type](Labeling& a) {
            static std::vector<io::MemoryImage> images(16);
            images[static_cast<std::size_t>(type)] =
                test::makeRandomImage({.voxelType = type, .extents = {9, 9, 1, 1, 1}}, 1);
            a.setInputObjectImage(&images[static_cast<std::size_t>(type)]);
        };
    };
    const std::vector<const char*> typeTexts{"inputObjectImage", "uint8, uint16, uint32, int8, int16", "ConvertImage",
                                             "thresholding"};
    const std::vector<Refusal<Labeling>> refusals = {
        {"no input",
         [](Labeling& a) { a.setInputObjectImage(nullptr); },
         {"The parameter \"inputObjectImage\" must be set."}},
        {"no output",
         [](Labeling& a) { a.setOutputLabelImage(nullptr); },
         {"The parameter \"outputLabelImage\" must be set."}},
        {"int32", given(RIX_INT32), typeTexts},
        {"float32", given(RIX_FLOAT32), typeTexts},
        {"float64", given(RIX_FLOAT64), typeTexts},
        {"complex", given(RIX_COMPLEX_FLOAT32), typeTexts},
        {"vectors", [](Labeling& a) { a.setInputObjectImage(&vectors); }, {"inputObjectImage", "2-Vector"}},
        {"empty", [](Labeling& a) { a.setInputObjectImage(&empty); }, {"inputObjectImage", "empty"}},
        {"label type",
         [](Labeling& a) { a.setLabelType(static_cast<typename Labeling::LabelType>(3)); },
         {"labelType", "3", "LABEL_8_BIT, LABEL_16_BIT, LABEL_32_BIT"},
         "bad value of labelType parameter."},
        {"label type below",
         [](Labeling& a) { a.setLabelType(static_cast<typename Labeling::LabelType>(-1)); },
         {"labelType", "-1"},
         "bad value of labelType parameter."},
        {"neighbourhood",
         [](Labeling& a) { a.setNeighborhood(static_cast<decltype(a.getNeighborhood())>(3)); },
         {"neighborhood", "3", "CONNECTIVITY_"},
         "The value of the parameter \"neighborhood\" is not valid"},
        {"in place",
         [](Labeling& a) {
             a.setInputObjectImage(&same);
             a.setOutputLabelImage(&same);
         },
         {"outputLabelImage", "must be not equal to", "inputObjectImage"}},
        {"overlapping",
         [](Labeling& a) {
             a.setInputObjectImage(&same);
             a.setOutputLabelImage(&secondPlane);
         },
         {"outputLabelImage", "share samples", "inputObjectImage"}},
        {"a view of another shape", [](Labeling& a) { a.setOutputLabelImage(&wrongShape); }, {"outputLabelImage"}},
    };
    for (const Refusal<Labeling>& refusal : refusals) {
        SCOPED_TRACE(refusal.name);
        Labeling algorithm;
        io::MemoryImage output;
        const auto repair = [&] {
            algorithm.setInputObjectImage(&good);
            algorithm.setLabelType(Labeling::LABEL_8_BIT);
            algorithm.setNeighborhood({});
            algorithm.setOutputLabelImage(&output);
        };
        repair();
        refusal.spoil(algorithm);
        try {
            algorithm.run();
            ADD_FAILURE() << "accepted";
        } catch (const RuleException& exception) {
            for (const char* text : refusal.texts) {
                EXPECT_THAT(exception.getInfo(), HasSubstr(text));
            }
            if (refusal.cause != nullptr) {
                EXPECT_EQ(exception.getMessage(), refusal.cause);
            }
        }
        EXPECT_TRUE(test::imagesEqual(good, same)) << "a refused run must not touch an image";
        repair();
        EXPECT_NO_THROW(algorithm.run());
    }
}

TEST(LabelingRun, RefusesBadPropertiesByNameAndRunsAfterwards) {
    checkRefusals<Labeling2d>();
    checkRefusals<Labeling3d>();
}

TEST(LabelingRun, HasTheDocumentedDefaultsAndTakesText) {
    Labeling2d flat;
    EXPECT_EQ(flat.getLabelType(), Labeling2d::LABEL_8_BIT);
    EXPECT_EQ(flat.getNeighborhood(), Labeling2d::CONNECTIVITY_4);
    Labeling3d deep;
    EXPECT_EQ(deep.getLabelType(), Labeling3d::LABEL_8_BIT);
    EXPECT_EQ(deep.getNeighborhood(), Labeling3d::CONNECTIVITY_6);
    String normalised;
    EXPECT_TRUE(deep.getPropertyfromName("neighborhood")->read("CONNECTIVITY_18", normalised));
    EXPECT_EQ(deep.getNeighborhood(), Labeling3d::CONNECTIVITY_18);
    EXPECT_TRUE(flat.getPropertyfromName("labelType")->read("LABEL_32_BIT", normalised));
    EXPECT_EQ(flat.getLabelType(), Labeling2d::LABEL_32_BIT);
    const char* const names[] = {"inputObjectImage", "labelType", "neighborhood"};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(flat.getInputProperty(i)->getName(), names[i]);
        EXPECT_EQ(deep.getInputProperty(i)->getName(), names[i]);
    }
}

}  // namespace
}  // namespace rix::segmentation
