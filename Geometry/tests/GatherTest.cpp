// Every operation that moves voxels without interpolation, against loops over all voxels, on every type.

#include <rix/geometry/ConcatenateImages.h>
#include <rix/geometry/Crop.h>
#include <rix/geometry/Flip.h>
#include <rix/geometry/MergeChannels.h>
#include <rix/geometry/Pad.h>
#include <rix/geometry/PermuteAxes.h>
#include <rix/geometry/Rotate90.h>
#include <rix/geometry/Shift.h>
#include <rix/geometry/SplitChannels.h>

#include <rix/access/ForcedStores.h>

#include "RunFilter.h"
#include "Sanitizers.h"
#include "Testing.h"

namespace rix::test {
namespace {

using namespace geometry;

/// Where a voxel of the output comes from; none where it has the border's value.
using Place = std::optional<Extents>;

std::size_t offsetOf(const Extents& n, const Extents& p) {
    return (((p[4] * n[3] + p[3]) * n[2] + p[2]) * n[1] + p[1]) * n[0] + p[0];
}

/// Compares all samples, as bytes. @param value of the border, as bytes of a sample
template <class Source>
void expectGathered(const io::MemoryImage& input, const io::MemoryImage& output, const Extents& extents,
                    const Source& source, const void* value = nullptr) {
    ASSERT_EQ(helper::getExtents(output), extents);
    ASSERT_EQ(output.getVoxelType(), input.getVoxelType());
    EXPECT_EQ(output.getInterpretation(), input.getInterpretation());
    const std::size_t size = helper::getElementSize(input);
    const Extents n = helper::getExtents(input);
    std::size_t wrong = 0;
    forEachPosition(extents, [&](const Extents& p) {
        const Place from = source(p);
        const void* const expected = from.has_value() ? input.getInternalBuffer() + offsetOf(n, *from) * size : value;
        wrong += std::memcmp(output.getInternalBuffer() + offsetOf(extents, p) * size, expected, size) != 0 ? 1U : 0U;
    });
    EXPECT_EQ(wrong, 0U) << helper::describeImage(input) << " gave " << helper::describeImage(output);
}

std::vector<io::MemoryImage> imagesOfAllTypes(const Extents& extents) {
    std::vector<io::MemoryImage> images;
    for (const VoxelTypes type : allTypes) {
        images.push_back(makeRandomImage({.voxelType = type, .extents = extents}, 3, Extremes::All));
    }
    images.push_back(makeRandomImage({.extents = extents, .interpretation = RIX_BINARY}, 4));
    images.push_back(makeRandomImage({.voxelType = RIX_UINT16, .extents = extents, .interpretation = RIX_LABEL}, 5));
    return images;
}

/// With results that go past the caches, too, which small images never take by themselves.
template <class Check>
void withBothStores(const Check& check) {
    check();
    const access::ForcedStores streaming(access::Stores::Streaming);
    check();
}

TEST(Geometry, CropsOnAllAxes) {
    for (const io::MemoryImage& input : imagesOfAllTypes({150, 7, 4, 3, 3})) {
        Crop crop;
        crop.setFirstColumn(5);
        crop.setColumns(131);
        crop.setFirstRow(2);
        crop.setFirstPlane(1);
        crop.setPlanes(2);
        crop.setFirstFrame(2);
        crop.setFirstChannel(1);
        crop.setChannels(1);
        withBothStores([&] {
            expectGathered(input, runFilter(crop, input), {131, 5, 2, 1, 1}, [](const Extents& p) -> Place {
                return Extents{p[0] + 5, p[1] + 2, p[2] + 1, p[3] + 2, p[4] + 1};
            });
        });
    }
}

TEST(Geometry, RefusesBoxesBeyondTheImage) {
    const io::MemoryImage input = makeRandomImage({.extents = {10, 8, 1, 1, 1}}, 1);
    const auto refusalOf = [&](const auto& set) {
        Crop crop;
        set(crop);
        return messageOf<RuleException>([&] { runFilter(crop, input); });
    };
    EXPECT_THAT(refusalOf([](Crop& crop) {
                    crop.setFirstColumn(4);
                    crop.setColumns(7);
                }),
                testing::HasSubstr("\"columns\" must be at most 6, the elements from \"firstColumn\" = 4 on"));
    EXPECT_THAT(refusalOf([](Crop& crop) { crop.setFirstRow(8); }), testing::HasSubstr("\"firstRow\""));
    EXPECT_THAT(refusalOf([](Crop& crop) { crop.setFirstPlane(-1); }), testing::HasSubstr("\"firstPlane\""));
    EXPECT_THAT(refusalOf([](Crop& crop) { crop.setChannels(2); }), testing::HasSubstr("\"channels\""));
}

TEST(Geometry, FlipsEveryAxis) {
    for (const std::size_t columns : {1U, 63U, 300U}) {
        for (const io::MemoryImage& input : imagesOfAllTypes({columns, 6, 5, 2, 2})) {
            for (const std::size_t axis : {0U, 1U, 2U}) {
                Flip flip;
                flip.setAxis(static_cast<Flip::Axis>(axis));
                const Extents n = helper::getExtents(input);
                withBothStores([&] {
                    const io::MemoryImage output = runFilter(flip, input);
                    expectGathered(input, output, n, [&](Extents p) -> Place {
                        p[axis] = n[axis] - 1 - p[axis];
                        return p;
                    });
                    EXPECT_TRUE(imagesEqual(input, runFilter(flip, output)));
                });
            }
        }
    }
}

/// The index that a border policy reads on an axis; none where it is the value.
std::optional<std::size_t> borderIndex(std::int64_t place, std::int64_t n, Pad::BorderPolicy policy) {
    if (policy == Pad::MIRROR) {
        while (place < 0 || place >= n) {
            place = place < 0 ? -1 - place : 2 * n - 1 - place;
        }
    } else if (policy == Pad::CONTINUE) {
        place = std::clamp<std::int64_t>(place, 0, n - 1);
    }
    return place < 0 || place >= n ? std::nullopt : std::optional(static_cast<std::size_t>(place));
}

TEST(Geometry, PadsByEveryPolicy) {
    for (const Extents& extents : {Extents{90, 5, 3, 2, 1}, Extents{3, 1, 2, 1, 2}}) {
        for (const io::MemoryImage& input : imagesOfAllTypes(extents)) {
            for (const auto policy : {Pad::MIRROR, Pad::CONTINUE, Pad::FIXED}) {
                const std::array<std::int64_t, 3> before{100, 2, 7};
                Pad pad;
                pad.setBeforeColumns(before[0]);
                pad.setAfterColumns(9);
                pad.setBeforeRows(before[1]);
                pad.setAfterRows(11);
                pad.setBeforePlanes(before[2]);
                pad.setBorderPolicy(policy);
                pad.setBorderValue(7.0);
                std::array<std::uint8_t, 16> value{};
                access::dispatch(access::AllTypes{}, input.getVoxelType(), [&](auto tag) {
                    using T = typename decltype(tag)::type;
                    const T sample = static_cast<T>(input.getInterpretation() == RIX_BINARY ? 1 : 7);
                    std::memcpy(value.data(), &sample, sizeof(sample));
                });
                const Extents n = extents;
                withBothStores([&] {
                    const auto source = [&](const Extents& p) -> Place {
                        Extents from = p;
                        for (std::size_t axis = 0; axis < 3; ++axis) {
                            const auto index = borderIndex(static_cast<std::int64_t>(p[axis]) - before[axis],
                                                           static_cast<std::int64_t>(n[axis]), policy);
                            if (!index.has_value()) {
                                return std::nullopt;
                            }
                            from[axis] = *index;
                        }
                        return from;
                    };
                    expectGathered(input, runFilter(pad, input), {n[0] + 109, n[1] + 13, n[2] + 7, n[3], n[4]}, source,
                                   value.data());
                });
            }
        }
    }
}

TEST(Geometry, RefusesMarginsThatMemoryDoesNotHold) {
    const io::MemoryImage input = makeRandomImage({.extents = {10, 8, 1, 1, 1}}, 1);
    Pad pad;
    pad.setBeforeColumns(std::numeric_limits<std::int64_t>::max());
    pad.setAfterColumns(std::numeric_limits<std::int64_t>::max());
    EXPECT_THAT(messageOf<RuleException>([&] { runFilter(pad, input); }), testing::HasSubstr("too large"));
}

TEST(Geometry, TurnsFromTheFirstAxisOfThePlaneToTheSecond) {
    for (const io::MemoryImage& input : imagesOfAllTypes({70, 33, 18, 1, 2})) {
        const Extents n = helper::getExtents(input);
        for (const auto& [plane, first, second] :
             {std::tuple{Rotate90::XY, 0U, 1U}, {Rotate90::XZ, 0U, 2U}, {Rotate90::YZ, 1U, 2U}}) {
            Rotate90 rotation;
            rotation.setPlane(plane);
            for (const int turns : {1, 2, 3, -1, 4}) {
                rotation.setQuarterTurns(turns);
                Extents extents = n;
                if (turns % 2 != 0) {
                    std::swap(extents[first], extents[second]);
                }
                // A turn takes a step along the first axis to one along the second, and that to one back along the
                // first.
                const auto source = [&](const Extents& p) -> Place {
                    Extents from = p;
                    Extents shape = extents;
                    for (int turn = (turns + 4) % 4; turn > 0; --turn) {
                        const Extents to = from;
                        from[first] = to[second];
                        from[second] = shape[first] - 1 - to[first];
                        std::swap(shape[first], shape[second]);
                    }
                    return from;
                };
                withBothStores([&] { expectGathered(input, runFilter(rotation, input), extents, source); });
            }
        }
    }
}

TEST(Geometry, PutsAxesInAnyOrder) {
    const String letters = "xyztc";
    const std::vector<io::MemoryImage> images = imagesOfAllTypes({19, 70, 4, 3, 2});
    String order = letters;
    std::sort(order.begin(), order.end());
    std::size_t next = 0;
    Sampling sampling(3);
    do {
        // The types take turns; each of the orders has some, in which the shapes differ.
        for (std::size_t i = 0; i < 3; ++i) {
            const io::MemoryImage& input = images[next++ % images.size()];
            if (!sampling.takesNext()) {
                continue;
            }
            SCOPED_TRACE(order);
            PermuteAxes permutation;
            permutation.setOrder(order);
            Extents extents{};
            String inverse = letters;
            for (std::size_t axis = 0; axis < extents.size(); ++axis) {
                const std::size_t old = letters.find(order[axis]);
                extents[axis] = input.getNumOf(static_cast<Components>(old));
                inverse[old] = letters[axis];
            }
            withBothStores([&] {
                const io::MemoryImage output = runFilter(permutation, input);
                expectGathered(input, output, extents, [&](const Extents& p) -> Place {
                    Extents from{};
                    for (std::size_t axis = 0; axis < p.size(); ++axis) {
                        from[letters.find(order[axis])] = p[axis];
                    }
                    return from;
                });
                PermuteAxes back;
                back.setOrder(inverse);
                EXPECT_TRUE(imagesEqual(input, runFilter(back, output)));
            });
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Geometry, TransposesImagesOfEveryProportion) {
    for (const auto& [columns, rows] :
         {std::pair{1U, 3000U}, {3000U, 1U}, {3U, 2000U}, {2000U, 3U}, {64U, 64U}, {640U, 1100U}, {1025U, 513U}}) {
        for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT32, RIX_FLOAT64, RIX_COMPLEX_FLOAT64}) {
            const io::MemoryImage input =
                makeRandomImage({.voxelType = type, .extents = {columns, rows, 2, 1, 1}}, 8, Extremes::All);
            PermuteAxes permutation;
            withBothStores([&] {
                expectGathered(input, runFilter(permutation, input), {rows, columns, 2, 1, 1},
                               [](const Extents& p) -> Place { return Extents{p[1], p[0], p[2], p[3], p[4]}; });
            });
        }
    }
}

TEST(Geometry, RefusesWhatIsNoOrderOfTheAxes) {
    const io::MemoryImage input = makeRandomImage({.extents = {10, 8, 1, 1, 1}}, 1);
    for (const char* const order : {"", "xyzt", "xyztcc", "xxztc", "XYZTC"}) {
        PermuteAxes permutation;
        permutation.setOrder(order);
        EXPECT_THAT(messageOf<RuleException>([&] { runFilter(permutation, input); }), testing::HasSubstr("\"order\""));
    }
}

TEST(Geometry, KeepsLabelsOfPlanesApart) {
    io::MemoryImage input =
        makeRandomImage({.voxelType = RIX_UINT16, .extents = {10, 8, 3, 1, 1}, .interpretation = RIX_LABEL}, 1);
    ASSERT_TRUE(helper::setLabelScope(input, LabelScope::Plane));
    PermuteAxes permutation;
    EXPECT_EQ(helper::getLabelScope(runFilter(permutation, input)), LabelScope::Plane);
    permutation.setOrder("xytzc");
    EXPECT_EQ(helper::getLabelScope(runFilter(permutation, input)), LabelScope::Volume);
    permutation.setOrder("xzytc");
    EXPECT_THAT(messageOf<RuleException>([&] { runFilter(permutation, input); }),
                testing::HasSubstr("\"order\" must leave the planes of this label image"));
    Rotate90 rotation;
    rotation.setPlane(Rotate90::YZ);
    EXPECT_THROW(runFilter(rotation, input), RuleException);
}

TEST(Geometry, ShiftsTowardsGreaterIndicesAndAround) {
    for (const io::MemoryImage& input : imagesOfAllTypes({130, 5, 4, 2, 1})) {
        const Extents n = helper::getExtents(input);
        const std::array<std::int64_t, 3> offsets{-7, 13, 2};
        Shift shift;
        shift.setOffsetX(offsets[0]);
        shift.setOffsetY(offsets[1]);
        shift.setOffsetZ(offsets[2]);
        withBothStores([&] {
            expectGathered(input, runFilter(shift, input), n, [&](Extents p) -> Place {
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    const auto extent = static_cast<std::int64_t>(n[axis]);
                    p[axis] = static_cast<std::size_t>(
                        (static_cast<std::int64_t>(p[axis]) - offsets[axis] + 100 * extent) % extent);
                }
                return p;
            });
        });
    }
}

TEST(Geometry, SplitsAndMergesChannels) {
    for (io::MemoryImage& input : imagesOfAllTypes({40, 7, 2, 2, 3})) {
        input.setColorInterpretation(RGB);
        std::vector<io::MemoryImage> channels;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            SplitChannels split;
            split.setChannel(static_cast<std::int64_t>(channel));
            channels.push_back(runFilter(split, input));
            expectGathered(input, channels.back(), {40, 7, 2, 2, 1}, [&](Extents p) -> Place {
                p[4] = channel;
                return p;
            });
            EXPECT_EQ(channels.back().getColorInterpretation(), UNKNOWN);
        }
        io::MemoryImage merged;
        MergeChannels merge;
        merge.setInputImage1(&channels[0]);
        merge.setInputImage2(&channels[1]);
        merge.setInputImage4(&channels[2]);
        merge.setOutputImage(&merged);
        merge.run();
        EXPECT_EQ(merged.getColorInterpretation(), UNKNOWN);
        input.setColorInterpretation(UNKNOWN);
        EXPECT_TRUE(imagesEqual(input, merged));
    }
}

TEST(Geometry, RefusesRunsOfChannelsThatItMoves) {
    const io::MemoryImage input = makeRandomImage({.extents = {10, 8, 1, 2, 3}}, 1);
    io::MemoryImage output;
    PermuteAxes permutation;
    permutation.setInputImage(&input);
    permutation.setOutputImage(&output);
    permutation.enableIterationOnSpectralAxis(true);
    permutation.run();
    permutation.setOrder("yxtzc");
    permutation.run();
    permutation.setOrder("cxyzt");
    EXPECT_THAT(messageOf<RuleException>([&] { permutation.run(); }), testing::HasSubstr("spectral series"));
}

TEST(Geometry, PutsPiecesTogetherAlongEveryAxis) {
    for (const io::MemoryImage& input : imagesOfAllTypes({50, 6, 5, 4, 7})) {
        for (const std::size_t axis : {0U, 1U, 2U, 3U, 4U}) {
            const auto n = static_cast<std::int64_t>(helper::getExtents(input)[axis]);
            std::vector<io::MemoryImage> pieces;
            for (const auto& [first, count] : {std::pair<std::int64_t, std::int64_t>{0, 1}, {1, n - 2}, {n - 1, 1}}) {
                Crop crop;
                constexpr std::array setFirst{&Crop::setFirstColumn, &Crop::setFirstRow, &Crop::setFirstPlane,
                                              &Crop::setFirstFrame, &Crop::setFirstChannel};
                constexpr std::array setCount{&Crop::setColumns, &Crop::setRows, &Crop::setPlanes, &Crop::setFrames,
                                              &Crop::setChannels};
                (crop.*setFirst[axis])(first);
                (crop.*setCount[axis])(count);
                pieces.push_back(runFilter(crop, input));
            }
            io::MemoryImage whole;
            ConcatenateImages concatenation;
            concatenation.setInputImage1(&pieces[0]);
            concatenation.setInputImage2(&pieces[1]);
            concatenation.setInputImage3(&pieces[2]);
            concatenation.setAxis(static_cast<ConcatenateImages::Axis>(axis));
            concatenation.setOutputImage(&whole);
            concatenation.run();
            EXPECT_TRUE(imagesEqual(input, whole)) << "along axis " << axis;
        }
    }
}

TEST(Geometry, RefusesPiecesThatDoNotFit) {
    const io::MemoryImage first = makeRandomImage({.extents = {10, 8, 1, 1, 1}}, 1);
    const io::MemoryImage wider = makeRandomImage({.extents = {11, 8, 1, 1, 1}}, 1);
    const io::MemoryImage labels = makeRandomImage({.extents = {10, 8, 1, 1, 1}, .interpretation = RIX_LABEL}, 1);
    io::MemoryImage output;
    ConcatenateImages concatenation;
    concatenation.setInputImage1(&first);
    concatenation.setOutputImage(&output);
    const auto refusalOf = [&](const ImageModel& second) {
        concatenation.setInputImage2(&second);
        return messageOf<RuleException>([&] { concatenation.run(); });
    };
    concatenation.setAxis(ConcatenateImages::ROWS);
    EXPECT_THAT(refusalOf(wider), testing::AllOf(testing::HasSubstr("inputImage2"), testing::HasSubstr("columns")));
    EXPECT_THAT(refusalOf(labels), testing::HasSubstr("inputImage2"));
    concatenation.setInputImage2(&wider);
    concatenation.setAxis(ConcatenateImages::COLUMNS);
    concatenation.run();
    EXPECT_EQ(output.getNumOf(COLUMNS), 21U);
}

}  // namespace
}  // namespace rix::test
