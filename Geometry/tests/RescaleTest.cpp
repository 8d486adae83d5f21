// Images of other extents, and the coefficients of splines, against their definitions as dense matrices.

#include <rix/geometry/BSplineCoefficients2d.h>
#include <rix/geometry/BSplineCoefficients3d.h>
#include <rix/geometry/Rescale2d.h>
#include <rix/geometry/Rescale3d.h>

#include "Levels.h"
#include "LineReference.h"
#include "RunFilter.h"
#include "Sanitizers.h"
#include "Testing.h"

namespace rix::test {
namespace {

using namespace geometry;

template <class Rescaling>
io::MemoryImage rescaled(const ImageModel& input, const std::array<std::int64_t, 3>& sizes,
                         const std::function<void(Rescaling&)>& set) {
    Rescaling rescaling;
    rescaling.setSizeX(sizes[0]);
    rescaling.setSizeY(sizes[1]);
    if constexpr (std::is_same_v<Rescaling, Rescale3d>) {
        rescaling.setSizeZ(sizes[2]);
    }
    set(rescaling);
    return runFilter(rescaling, input);
}

double rangeOf(VoxelTypes type) {
    return type == RIX_UINT8 || type == RIX_INT8 ? 255 : type == RIX_UINT16 || type == RIX_INT16 ? 65535 : 4294967295.0;
}

/// Integers that are nearest to the reference, but for what sums in reals may be off; reals near it.
void expectScaled(const ImageModel& input, const io::MemoryImage& output, const std::array<LineReference, 3>& lines) {
    const bool isReal = input.getVoxelType() == RIX_FLOAT32 || input.getVoxelType() == RIX_FLOAT64;
    const double range = isReal ? 1000 : rangeOf(input.getVoxelType());
    const double precision = input.getVoxelType() == RIX_FLOAT64 ? 1e-13 : 2e-6;
    const double bound = precision * range + (isReal ? 0.0 : 0.5);
    for (std::size_t frame = 0; frame < input.getNumOf(SEQUENCE); ++frame) {
        const Extents n = helper::getExtents(input);
        std::array<std::size_t, 3> extents{n[0], n[1], n[2]};
        std::vector<double> expected = applyLines(volumeOf<double>(input, frame, 0), extents, lines);
        const std::vector<double> result = volumeOf<double>(output, frame, 0);
        ASSERT_EQ(result.size(), expected.size());
        double worst = 0;
        for (std::size_t i = 0; i < result.size(); ++i) {
            if (!isReal) {
                const bool isSigned = input.getVoxelType() == RIX_INT16 || input.getVoxelType() == RIX_INT32;
                const double least = isSigned ? -(range + 1) / 2 : 0.0;
                expected[i] = std::clamp(expected[i], least, least + range);
            }
            worst = std::max(worst, std::abs(result[i] - expected[i]));
        }
        EXPECT_LE(worst, bound) << helper::describeImage(input) << " gave " << helper::describeImage(output);
    }
}

constexpr std::pair<ScalingInterpolation, Scaled> rules[] = {{ScalingInterpolation::LINEAR, Scaled::Linear},
                                                             {ScalingInterpolation::CUBIC_BSPLINE, Scaled::Spline},
                                                             {ScalingInterpolation::LANCZOS, Scaled::Lanczos},
                                                             {ScalingInterpolation::AREA, Scaled::Area}};

TEST(Rescale, IsTheSumOfItsDefinition) {
    Sampling sampling(5);
    const std::array<std::int64_t, 3> sizes[] = {{131, 33, 5}, {20, 7, 2}, {70, 60, 3}, {1, 200, 1}};
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_INT16, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage input =
            makeRandomImage({.voxelType = type, .extents = {70, 23, 4, 2, 1}}, 3, Extremes::None);
        for (const auto& size : sizes) {
            for (const auto& [interpolation, rule] : rules) {
                for (const auto border :
                     {access::BorderPolicy::MIRROR, access::BorderPolicy::CONTINUE, access::BorderPolicy::FIXED}) {
                    for (const bool smooth : {false, true}) {
                        if (!sampling.takesNext()) {
                            continue;
                        }
                        const auto line = [&, chosen = rule](std::int64_t n, std::int64_t m) {
                            return scaledLine(chosen, n, m, smooth, border, 17.0);
                        };
                        const auto set = [&, chosen = interpolation](auto& rescaling) {
                            rescaling.setInterpolation(chosen);
                            rescaling.setAntiAliasing(smooth ? AntiAliasing::YES : AntiAliasing::NO);
                            rescaling.setBorderPolicy(border);
                            rescaling.setBorderValue(17.0);
                        };
                        SCOPED_TRACE(getInfoScalingInterpolation().getLabelFromValue(static_cast<int>(interpolation)) +
                                     ", border " + std::to_string(static_cast<int>(border)) +
                                     (smooth ? ", smoothed" : ""));
                        expectScaled(input, rescaled<Rescale2d>(input, size, set),
                                     {line(70, size[0]), line(23, size[1]), line(4, 4)});
                        if (type == RIX_UINT8 || type == RIX_FLOAT64) {
                            expectScaled(input, rescaled<Rescale3d>(input, size, set),
                                         {line(70, size[0]), line(23, size[1]), line(4, size[2])});
                        }
                    }
                }
            }
        }
    }
}

/// The mean over a box in whole numbers, and rounded by them: to nearest, ties to even.
std::int64_t exactMean(const std::vector<std::int64_t>& samples, const std::array<std::int64_t, 3>& n,
                       const std::array<std::int64_t, 3>& m, const std::array<std::int64_t, 3>& p) {
    std::int64_t sum = 0;
    std::array<std::int64_t, 3> q{};
    const auto share = [&](std::size_t axis) {
        return std::max<std::int64_t>(0, std::min((p[axis] + 1) * n[axis], (q[axis] + 1) * m[axis]) -
                                             std::max(p[axis] * n[axis], q[axis] * m[axis]));
    };
    for (q[2] = 0; q[2] < n[2]; ++q[2]) {
        for (q[1] = 0; q[1] < n[1]; ++q[1]) {
            for (q[0] = 0; q[0] < n[0]; ++q[0]) {
                sum += share(0) * share(1) * share(2) *
                       samples[static_cast<std::size_t>((q[2] * n[1] + q[1]) * n[0] + q[0])];
            }
        }
    }
    const std::int64_t all = n[0] * n[1] * n[2];
    const std::int64_t low = sum >= 0 ? sum / all : -((-sum + all - 1) / all);
    const std::int64_t twice = 2 * (sum - low * all);
    return low + (twice > all || (twice == all && low % 2 != 0) ? 1 : 0);
}

TEST(Rescale, GivesExactMeansOfIntegers) {
    const std::array<std::int64_t, 3> n{24, 18, 6};
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT32}) {
        // Few values, so that many means lie half-way.
        const io::MemoryImage input = makeImage({.voxelType = type, .extents = {24, 18, 6, 1, 1}},
                                                [&](std::size_t x, std::size_t y, std::size_t z, std::size_t,
                                                    std::size_t) { return (x * 7 + y * 5 + z * x) % 4; });
        const auto samples = samplesOf<std::int32_t>(input);
        const std::vector<std::int64_t> wide(samples.begin(), samples.end());
        for (const std::array<std::int64_t, 3>& m :
             {std::array<std::int64_t, 3>{12, 9, 3}, {4, 3, 1}, {5, 7, 4}, {24, 6, 6}}) {
            const auto output = rescaled<Rescale3d>(
                input, m, [](Rescale3d& rescaling) { rescaling.setInterpolation(Rescale3d::AREA); });
            const auto result = samplesOf<std::int32_t>(output);
            std::size_t next = 0;
            forEachPosition(helper::getExtents(output), [&](const Extents& p) {
                const auto expected = exactMean(wide, n, m,
                                                {static_cast<std::int64_t>(p[0]), static_cast<std::int64_t>(p[1]),
                                                 static_cast<std::int64_t>(p[2])});
                EXPECT_EQ(result[next++], expected) << helper::describeImage(output);
            });
        }
    }
}

/// Bytes between two by two elements in whole numbers, to nearest, ties to even.
std::uint8_t exactlyBetween(const std::vector<std::uint8_t>& samples, const std::array<std::int64_t, 2>& n,
                            const std::array<std::int64_t, 2>& m, const std::array<std::int64_t, 2>& p) {
    std::array<std::int64_t, 2> floor{};
    std::array<std::int64_t, 2> behind{};  // in parts of 2 m
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const std::int64_t numerator = (2 * p[axis] + 1) * n[axis] - m[axis];
        floor[axis] = numerator < 0 ? -1 : numerator / (2 * m[axis]);
        behind[axis] = numerator - 2 * m[axis] * floor[axis];
    }
    std::int64_t sum = 0;
    for (const std::int64_t j : {0, 1}) {
        for (const std::int64_t i : {0, 1}) {
            const std::int64_t x = std::clamp<std::int64_t>(floor[0] + i, 0, n[0] - 1);
            const std::int64_t y = std::clamp<std::int64_t>(floor[1] + j, 0, n[1] - 1);
            sum += (i == 0 ? 2 * m[0] - behind[0] : behind[0]) * (j == 0 ? 2 * m[1] - behind[1] : behind[1]) *
                   samples[static_cast<std::size_t>(y * n[0] + x)];
        }
    }
    const std::int64_t all = 4 * m[0] * m[1];
    const std::int64_t low = sum / all;
    const std::int64_t twice = 2 * (sum - low * all);
    return static_cast<std::uint8_t>(low + (twice > all || (twice == all && low % 2 != 0) ? 1 : 0));
}

TEST(Rescale, RoundsBytesExactlyBetweenElementsAtSmallFractions) {
    constexpr std::array<std::int64_t, 2> sizes[][2] = {
        {{180, 12}, {270, 18}}, {{181, 9}, {362, 18}}, {{90, 12}, {270, 16}}, {{160, 8}, {200, 10}},
        {{7, 3}, {14, 9}},      {{1, 1}, {8, 3}},      {{150, 9}, {200, 6}},  {{210, 8}, {270, 20}},
        {{240, 6}, {160, 9}},   {{200, 5}, {100, 10}}};
    for (const auto& [n, m] : sizes) {
        const auto input =
            makeRandomImage({.voxelType = RIX_UINT8,
                             .extents = {static_cast<std::size_t>(n[0]), static_cast<std::size_t>(n[1]), 1, 1, 1}},
                            3, Extremes::All);
        const auto samples = samplesOf<std::uint8_t>(input);
        for (const OptimLevelType level : runnableLevels()) {
            for (const auto border : {access::BorderPolicy::MIRROR, access::BorderPolicy::CONTINUE}) {
                const auto output = rescaled<Rescale2d>(input, {m[0], m[1], 1}, [&](Rescale2d& rescaling) {
                    rescaling.setAutoCpuDispatch(false);
                    rescaling.setOptimLevel(level);
                    rescaling.setInterpolation(Rescale2d::LINEAR);
                    rescaling.setAntiAliasing(Rescale2d::NO);
                    rescaling.setBorderPolicy(border);
                });
                const auto result = samplesOf<std::uint8_t>(output);
                std::size_t wrong = 0;
                for (std::int64_t y = 0; y < m[1]; ++y) {
                    for (std::int64_t x = 0; x < m[0]; ++x) {
                        wrong +=
                            result[static_cast<std::size_t>(y * m[0] + x)] != exactlyBetween(samples, n, m, {x, y});
                    }
                }
                EXPECT_EQ(wrong, 0U) << n[0] << " x " << n[1] << " to " << m[0] << " x " << m[1] << ", level " << level;
            }
        }
    }
}

TEST(Rescale, TakesTheNearestElementOfEveryTypeAndMeaning) {
    for (const Interpretations meaning : {RIX_VALUE, RIX_LABEL, RIX_BINARY}) {
        for (const VoxelTypes type : realTypes) {
            const io::MemoryImage input = makeRandomImage(
                {.voxelType = type, .extents = {40, 9, 7, 2, 2}, .interpretation = meaning}, 3, Extremes::All);
            const auto samples = samplesOf<double>(input);
            const auto output = rescaled<Rescale3d>(input, {93, 4, 3}, [&](Rescale3d& rescaling) {
                rescaling.setInterpolation(meaning == RIX_VALUE ? Rescale3d::NEAREST : Rescale3d::AUTOMATIC);
            });
            EXPECT_EQ(output.getInterpretation(), meaning);
            const auto result = samplesOf<double>(output);
            std::size_t next = 0;
            std::size_t wrong = 0;
            forEachPosition(helper::getExtents(output), [&](const Extents& p) {
                const std::size_t x = (2 * p[0] + 1) * 40 / (2 * 93);
                const std::size_t y = (2 * p[1] + 1) * 9 / (2 * 4);
                const std::size_t z = (2 * p[2] + 1) * 7 / (2 * 3);
                const double expected = samples[(((p[4] * 2 + p[3]) * 7 + z) * 9 + y) * 40 + x];
                const double given = result[next++];
                wrong +=
                    std::memcmp(&expected, &given, sizeof(double)) != 0 && !(expected != expected && given != given);
            });
            EXPECT_EQ(wrong, 0U) << helper::describeImage(input);
        }
    }
}

TEST(Rescale, GivesTheLabelWithTheLargestShareOfBoxesWithManyLabels) {
    // Each label once but for two of them, of which the smaller has a voxel less.
    constexpr std::uint32_t columns = 500;
    const io::MemoryImage input =
        makeImage({.voxelType = RIX_UINT32, .extents = {columns, 400, 1, 1, 1}, .interpretation = RIX_LABEL},
                  [](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) -> std::uint32_t {
                      const auto at = static_cast<std::uint32_t>(y * columns + x);
                      return at % 997 == 0 ? 7 : at % 997 == 5 && at > 997 ? 5 : at * 7919 % 200003 + 10;
                  });
    const auto output = rescaled<Rescale2d>(
        input, {1, 1, 1}, [](Rescale2d& rescaling) { rescaling.setInterpolation(Rescale2d::LABEL_MAJORITY); });
    EXPECT_EQ(samplesOf<std::uint32_t>(output).front(), 7U);
}

TEST(Rescale, GivesTheLabelWithTheLargestShare) {
    const std::array<std::int64_t, 3> n{20, 15, 6};
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT32}) {
        const io::MemoryImage input =
            makeImage({.voxelType = type, .extents = {20, 15, 6, 1, 1}, .interpretation = RIX_LABEL},
                      [](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                          return (x / 3 + y / 2 * 3 + z) % 6;
                      });
        const auto samples = samplesOf<std::int32_t>(input);
        for (const std::array<std::int64_t, 3>& m :
             {std::array<std::int64_t, 3>{7, 4, 6}, {10, 5, 2}, {33, 15, 6}, {1, 1, 1}}) {
            const auto output = rescaled<Rescale3d>(
                input, m, [](Rescale3d& rescaling) { rescaling.setInterpolation(Rescale3d::LABEL_MAJORITY); });
            const auto result = samplesOf<std::int32_t>(output);
            std::size_t next = 0;
            forEachPosition(helper::getExtents(output), [&](const Extents& p) {
                std::map<std::int32_t, std::int64_t> shares;
                const auto share = [&](std::size_t axis, std::int64_t q) {
                    const auto at = static_cast<std::int64_t>(p[axis]);
                    return std::max<std::int64_t>(
                        0, std::min((at + 1) * n[axis], (q + 1) * m[axis]) - std::max(at * n[axis], q * m[axis]));
                };
                for (std::int64_t z = 0; z < n[2]; ++z) {
                    for (std::int64_t y = 0; y < n[1]; ++y) {
                        for (std::int64_t x = 0; x < n[0]; ++x) {
                            shares[samples[static_cast<std::size_t>((z * n[1] + y) * n[0] + x)]] +=
                                share(0, x) * share(1, y) * share(2, z);
                        }
                    }
                }
                const auto best = std::max_element(shares.begin(), shares.end(),
                                                   [](const auto& a, const auto& b) { return a.second < b.second; });
                ASSERT_EQ(result[next++], best->first);
            });
        }
    }
}

TEST(Rescale, TakesExtentsFromSizesFactorsAndSpacings) {
    io::MemoryImage input = makeRandomImage({.voxelType = RIX_UINT8, .extents = {50, 41, 3, 1, 1}}, 1);
    input.setSpacingOf(COLUMNS, 0.5);
    input.setSpacingOf(ROWS, -2.0);
    const auto extentsWith = [&](const auto& set) {
        Rescale2d rescaling;
        set(rescaling);
        const io::MemoryImage output = runFilter(rescaling, input);
        EXPECT_NEAR(output.getSpacingOf(COLUMNS) * static_cast<double>(output.getNumOf(COLUMNS)), 25.0, 1e-12);
        return std::pair(output.getNumOf(COLUMNS), output.getNumOf(ROWS));
    };
    EXPECT_EQ(extentsWith([](Rescale2d& rescaling) { rescaling.setSizeX(7); }), std::pair(7UL, 41UL));
    EXPECT_EQ(extentsWith([](Rescale2d& rescaling) {
                  rescaling.setMode(Rescale2d::FACTORS);
                  rescaling.setFactorX(1.25);
                  rescaling.setFactorY(0.001);
              }),
              std::pair(63UL, 1UL));  // 62.5 is rounded away from 0
    EXPECT_EQ(extentsWith([](Rescale2d& rescaling) {
                  rescaling.setMode(Rescale2d::SPACING);
                  rescaling.setSpacingX(1.0);
                  rescaling.setSpacingY(1.0);
              }),
              std::pair(25UL, 82UL));
    const auto refusal = [&](const auto& set, const ImageModel& image) {
        return messageOf<RuleException>([&] {
            Rescale2d rescaling;
            set(rescaling);
            runFilter(rescaling, image);
        });
    };
    EXPECT_THAT(refusal(
                    [](Rescale2d& rescaling) {
                        rescaling.setMode(Rescale2d::FACTORS);
                        rescaling.setFactorY(1e12);
                    },
                    input),
                testing::HasSubstr("\"factorY\" must give at most 2147483647 elements"));
    const io::MemoryImage labels = makeRandomImage({.extents = {9, 9, 1, 1, 1}, .interpretation = RIX_LABEL}, 1);
    for (const auto interpolation :
         {Rescale2d::LINEAR, Rescale2d::CUBIC_BSPLINE, Rescale2d::LANCZOS, Rescale2d::AREA}) {
        EXPECT_THAT(refusal([&](Rescale2d& rescaling) { rescaling.setInterpolation(interpolation); }, labels),
                    testing::HasSubstr("\"interpolation\" must be AUTOMATIC, NEAREST or LABEL_MAJORITY"));
    }
    EXPECT_THAT(refusal([](Rescale2d& rescaling) { rescaling.setInterpolation(Rescale2d::LABEL_MAJORITY); }, input),
                testing::HasSubstr("\"interpolation\" must be another one for an image of values"));
}

TEST(Rescale, ChoosesPerAxis) {
    const io::MemoryImage input =
        makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {64, 30, 1, 1, 1}}, 8, Extremes::None);
    const auto run = [&](std::int64_t x, std::int64_t y, ScalingInterpolation interpolation) {
        return rescaled<Rescale2d>(input, {x, y, 1},
                                   [&](Rescale2d& rescaling) { rescaling.setInterpolation(interpolation); });
    };
    using enum ScalingInterpolation;
    EXPECT_TRUE(imagesEqual(run(32, 15, AREA), run(32, 15, AUTOMATIC)));
    EXPECT_TRUE(imagesEqual(run(33, 60, LINEAR), run(33, 60, AUTOMATIC)));
    expectScaled(input, run(20, 40, AUTOMATIC),
                 {scaledLine(Scaled::Area, 64, 20, true, access::BorderPolicy::MIRROR, 0),
                  scaledLine(Scaled::Linear, 30, 40, true, access::BorderPolicy::MIRROR, 0),
                  scaledLine(Scaled::Linear, 1, 1, true, access::BorderPolicy::MIRROR, 0)});
}

// Coefficients --------------------------------------------------------------------------------------------------------

TEST(BSplineCoefficients, SolveTheMirroredSystem) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32, RIX_FLOAT64}) {
        for (const Extents& n :
             {Extents{1, 1, 1, 1, 1}, Extents{2, 3, 4, 1, 1}, Extents{37, 5, 9, 1, 1}, Extents{150, 40, 1, 1, 1}}) {
            const io::MemoryImage input = makeRandomImage({.voxelType = type, .extents = n}, 5, Extremes::None);
            const double largest = type == RIX_UINT8 ? 255 : 1000;
            for (int degree = 2; degree <= 5; ++degree) {
                const auto check = [&](const io::MemoryImage& output, bool throughPlanes) {
                    const auto line = [&](std::size_t length, bool isKept) {
                        const auto count = static_cast<Eigen::Index>(length);
                        return LineReference{
                            isKept ? Eigen::MatrixXd::Identity(count, count) : splineCoefficientMatrix(count, degree),
                            Eigen::VectorXd::Zero(count)};
                    };
                    std::array<std::size_t, 3> extents{n[0], n[1], n[2]};
                    const auto expected =
                        applyLines(samplesOf<double>(input), extents,
                                   {line(n[0], false), line(n[1], false), line(n[2], !throughPlanes)});
                    const auto result = samplesOf<double>(output);
                    double scale = largest;
                    double worst = 0;
                    for (std::size_t i = 0; i < result.size(); ++i) {
                        scale = std::max(scale, std::abs(expected[i]));
                        worst = std::max(worst, std::abs(result[i] - expected[i]));
                    }
                    EXPECT_LE(worst, scale * (type == RIX_FLOAT64 ? 1e-13 : 2e-6))
                        << degree << ", " << helper::describeImage(input);
                };
                BSplineCoefficients2d planes;
                planes.setDegree(degree);
                check(runFilter(planes, input), false);
                BSplineCoefficients3d volumes;
                volumes.setDegree(degree);
                check(runFilter(volumes, input), true);
            }
        }
    }
}

}  // namespace
}  // namespace rix::test
