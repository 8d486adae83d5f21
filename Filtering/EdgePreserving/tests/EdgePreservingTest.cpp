// The filters that keep edges against their formulas in double precision: types, borders, levels, cuts.

#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/BlockSize.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/filtering/smoothing/AnisotropicDiffusion2d.h>
#include <rix/filtering/smoothing/AnisotropicDiffusion3d.h>
#include <rix/filtering/smoothing/BilateralFilter2d.h>
#include <rix/filtering/smoothing/BilateralFilter3d.h>
#include <rix/filtering/smoothing/GuidedFilter2d.h>
#include <rix/filtering/smoothing/GuidedFilter3d.h>
#include <rix/filtering/smoothing/NonLocalMeansFilter2d.h>
#include <rix/filtering/smoothing/NonLocalMeansFilter3d.h>
#include <rix/settings/Settings.h>

#include "Failures.h"
#include "ImageComparison.h"
#include "ImageFactories.h"
#include "ImageSamples.h"
#include "Levels.h"
#include "WindowReference.h"

namespace rix::test {
namespace {

using access::BorderPolicy;
using namespace filtering::smoothing;

constexpr BorderPolicy policies[] = {BorderPolicy::MIRROR, BorderPolicy::CONTINUE, BorderPolicy::FIXED};
constexpr double fixedValue = 90;

/// Steps, a ramp and noise within 0 and 200.
io::MemoryImage makeScene(VoxelTypes type, const Extents& extents) {
    return makeImage({.voxelType = type, .extents = extents}, [](auto x, auto y, auto z, auto t, auto) {
        const auto noise = static_cast<std::int64_t>((x * 7919 + y * 104729 + z * 1299709 + t * 15485863) % 31);
        return (x > y + 3 ? 120 : 20) + static_cast<std::int64_t>(x) + noise;
    });
}

template <class Filter, class Set>
io::MemoryImage filtered(const ImageModel& image, const Set& set, OptimLevelType level, int threads = 1,
                         const std::shared_ptr<access::BlockScheduler>& scheduler = nullptr) {
    io::MemoryImage output;
    Filter filter;
    filter.settings().setMaximumNumberOfThreads(threads);
    filter.setAutoCpuDispatch(false);
    filter.setOptimLevel(level);
    filter.setBlockScheduler(scheduler);
    filter.setInputImage(&image);
    filter.setBorderValue(fixedValue);
    set(filter);
    filter.setOutputImage(&output);
    filter.run();
    return output;
}

using Definition = std::function<io::MemoryImage(const ImageModel&, BorderPolicy)>;

/// Compares with the definition, and all levels and small blocks with each other.
/// @param tolerance of real results, for values of some 200
template <class Filter, class Set>
void expectTheDefinition(const Extents& extents, double tolerance, const Set& set, const Definition& definition) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage image = makeScene(type, extents);
        for (const BorderPolicy policy : policies) {
            const auto all = [&](Filter& filter) {
                filter.setBorderPolicy(policy);
                set(filter);
            };
            const io::MemoryImage result = filtered<Filter>(image, all, SCALAR);
            const io::MemoryImage expected = definition(image, policy);
            const bool isInteger = access::contains(access::Integers{}, result.getVoxelType());
            const double bound = result.getVoxelType() == RIX_FLOAT64 ? 1e-10 : tolerance + (isInteger ? 0.5 : 0.0);
            for (std::size_t t = 0; t < extents[3]; ++t) {
                const auto actual = volumeOf<double>(result, t, 0);
                const auto wanted = volumeOf<double>(expected, t, 0);
                for (std::size_t i = 0; i < actual.size(); ++i) {
                    ASSERT_NEAR(actual[i], wanted[i], bound)
                        << "voxel " << i << ", type " << type << ", policy " << static_cast<int>(policy);
                }
            }
            for (const OptimLevelType level : runnableLevels()) {
                ASSERT_TRUE(imagesEqual(result, filtered<Filter>(image, all, level))) << "level " << level;
            }
            const access::ScopedBlockBytes blocks(4096);
            ASSERT_TRUE(imagesEqual(result, filtered<Filter>(image, all, runnableLevels().back(), 2,
                                                             std::make_shared<access::ShuffledScheduler>(3))));
        }
    }
}

Definition bilateral(std::int64_t radius, bool ofVolumes, double s, double t) {
    return [=](const ImageModel& image, BorderPolicy policy) {
        return windowReference(image, RIX_FLOAT64, policy, fixedValue, [&](const Neighbours& around) {
            double sum = 0;
            double weights = 0;
            for (std::int64_t z = ofVolumes ? -radius : 0; z <= (ofVolumes ? radius : 0); ++z) {
                for (std::int64_t y = -radius; y <= radius; ++y) {
                    for (std::int64_t x = -radius; x <= radius; ++x) {
                        const auto square = static_cast<double>(x * x + y * y + z * z);
                        if (square <= static_cast<double>(radius * radius)) {
                            const double difference = around(x, y, z) - around(0, 0, 0);
                            const double weight =
                                std::exp(-square / (2 * s * s)) * std::exp(-difference * difference / (2 * t * t));
                            sum += weight * around(x, y, z);
                            weights += weight;
                        }
                    }
                }
            }
            return sum / weights;
        });
    };
}

TEST(BilateralFilter, IsItsDefinition) {
    expectTheDefinition<BilateralFilter2d>({43, 19, 2, 2, 1}, 4e-4, [](auto&) {}, bilateral(3, false, 1, 10));
    expectTheDefinition<BilateralFilter2d>(
        {70, 9, 1, 1, 1}, 4e-4,
        [](auto& filter) {
            filter.setKernelRadius(5);
            filter.setSpatialStandardDeviation(2.5);
            filter.setIntensityStandardDeviation(60);
        },
        bilateral(5, false, 2.5, 60));
    // So many weights that they are not kept.
    expectTheDefinition<BilateralFilter2d>(
        {43, 19, 1, 1, 1}, 4e-4, [](auto& filter) { filter.setKernelRadius(10); }, bilateral(10, false, 1, 10));
    expectTheDefinition<BilateralFilter3d>(
        {23, 9, 6, 2, 1}, 4e-4, [](auto& filter) { filter.setKernelRadius(2); }, bilateral(2, true, 1, 10));
}

Definition nonLocalMeans(std::int64_t patch, std::int64_t search, bool ofVolumes, double strength) {
    const auto forEach = [ofVolumes](std::int64_t radius, auto use) {
        for (std::int64_t z = ofVolumes ? -radius : 0; z <= (ofVolumes ? radius : 0); ++z) {
            for (std::int64_t y = -radius; y <= radius; ++y) {
                for (std::int64_t x = -radius; x <= radius; ++x) {
                    use(x, y, z);
                }
            }
        }
    };
    return [=](const ImageModel& image, BorderPolicy policy) {
        return windowReference(image, RIX_FLOAT64, policy, fixedValue, [&](const Neighbours& around) {
            double sum = 0;
            double weights = 0;
            forEach(search, [&](auto dx, auto dy, auto dz) {
                double squares = 0;
                double count = 0;
                forEach(patch, [&](auto x, auto y, auto z) {
                    squares += std::pow(around(x, y, z) - around(x + dx, y + dy, z + dz), 2);
                    ++count;
                });
                const double weight = std::exp(-squares / count / (strength * strength));
                sum += weight * around(dx, dy, dz);
                weights += weight;
            });
            return sum / weights;
        });
    };
}

TEST(NonLocalMeansFilter, IsItsDefinition) {
    expectTheDefinition<NonLocalMeansFilter2d>(
        {40, 15, 1, 2, 1}, 2e-3, [](auto& filter) { filter.setSearchRadius(3); }, nonLocalMeans(1, 3, false, 10));
    expectTheDefinition<NonLocalMeansFilter2d>(
        {19, 9, 2, 1, 1}, 2e-3,
        [](auto& filter) {
            filter.setPatchRadius(2);
            filter.setSearchRadius(2);
            filter.setStrength(40);
        },
        nonLocalMeans(2, 2, false, 40));
    const auto radii = [](int patch, int search) {
        return [=](auto& filter) {
            filter.setPatchRadius(patch);
            filter.setSearchRadius(search);
        };
    };
    expectTheDefinition<NonLocalMeansFilter2d>({13, 7, 1, 1, 1}, 2e-3, radii(6, 1), nonLocalMeans(6, 1, false, 10));
    expectTheDefinition<NonLocalMeansFilter2d>({5, 3, 1, 1, 1}, 2e-3, radii(0, 8), nonLocalMeans(0, 8, false, 10));
    expectTheDefinition<NonLocalMeansFilter3d>({7, 4, 6, 1, 1}, 2e-3, radii(2, 2), nonLocalMeans(2, 2, true, 10));
    expectTheDefinition<NonLocalMeansFilter3d>(
        {20, 6, 5, 1, 1}, 2e-3, [](auto& filter) { filter.setSearchRadius(1); }, nonLocalMeans(1, 1, true, 10));
}

/// @param guideOf the guide's value from the image's
Definition guided(std::int64_t radius, bool ofVolumes, double contrast, double (*guideOf)(double)) {
    const auto mean = [=](auto value) {
        double sum = 0;
        double count = 0;
        for (std::int64_t z = ofVolumes ? -radius : 0; z <= (ofVolumes ? radius : 0); ++z) {
            for (std::int64_t y = -radius; y <= radius; ++y) {
                for (std::int64_t x = -radius; x <= radius; ++x) {
                    sum += value(x, y, z);
                    ++count;
                }
            }
        }
        return sum / count;
    };
    return [=](const ImageModel& image, BorderPolicy policy) {
        return windowReference(image, RIX_FLOAT64, policy, fixedValue, [&](const Neighbours& around) {
            double meanA = 0;
            const double meanB = mean([&](auto x, auto y, auto z) {
                const auto in = [&](auto i, auto j, auto k) { return around(x + i, y + j, z + k); };
                const auto guide = [&](auto i, auto j, auto k) { return guideOf(in(i, j, k)); };
                const double m = mean(in);
                const double g = mean(guide);
                const double covariance = mean([&](auto... p) { return (guide(p...) - g) * (in(p...) - m); });
                const double variance = mean([&](auto... p) { return std::pow(guide(p...) - g, 2); });
                const double a = covariance / (variance + contrast * contrast);
                meanA += a;
                return m - a * g;
            });
            const double windows = std::pow(static_cast<double>(2 * radius + 1), ofVolumes ? 3 : 2);
            return meanA / windows * guideOf(around(0, 0, 0)) + meanB;
        });
    };
}

TEST(GuidedFilter, IsItsDefinition) {
    const auto itself = [](double value) { return value; };
    expectTheDefinition<GuidedFilter2d>({23, 13, 2, 1, 1}, 1e-4, [](auto&) {}, guided(2, false, 10, itself));
    expectTheDefinition<GuidedFilter2d>(
        {9, 7, 1, 1, 1}, 1e-4,
        [](auto& filter) {
            filter.setKernelRadius(3);
            filter.setContrast(0.5);
        },
        guided(3, false, 0.5, itself));
    expectTheDefinition<GuidedFilter3d>(
        {11, 5, 4, 2, 1}, 1e-4, [](auto& filter) { filter.setKernelRadius(1); }, guided(1, true, 10, itself));
}

TEST(GuidedFilter, FollowsTheGuide) {
    const auto guideOf = [](double value) { return value * value / 64; };
    const Extents extents{23, 13, 1, 1, 1};
    const io::MemoryImage image = makeScene(RIX_FLOAT64, extents);
    const auto samples = volumeOf<double>(image, 0, 0);
    const io::MemoryImage guide =
        makeImage({.voxelType = RIX_FLOAT32, .extents = extents},
                  [&](auto x, auto y, auto...) { return guideOf(samples[y * extents[0] + x]); });
    const auto result =
        filtered<GuidedFilter2d>(image, [&](auto& filter) { filter.setInputGuideImage(&guide); }, SCALAR);
    const auto expected = volumeOf<double>(guided(2, false, 10, guideOf)(image, BorderPolicy::MIRROR), 0, 0);
    EXPECT_THAT(volumeOf<double>(result, 0, 0), testing::Pointwise(testing::DoubleNear(1e-8), expected));
}

Definition diffusion(bool rational, double contrast, double timeStep, int steps, std::vector<double> h) {
    return [=](const ImageModel& image, BorderPolicy policy) {
        io::MemoryImage current = windowReference(image, RIX_FLOAT64, policy, fixedValue,
                                                  [](const Neighbours& around) { return around(0, 0, 0); });
        for (int i = 0; i < steps; ++i) {
            current = windowReference(current, RIX_FLOAT64, policy, fixedValue, [&](const Neighbours& around) {
                double sum = 0;
                for (std::size_t axis = 0; axis < h.size(); ++axis) {
                    for (const int side : {-1, 1}) {
                        const double v =
                            around(axis == 0 ? side : 0, axis == 1 ? side : 0, axis == 2 ? side : 0) - around(0, 0, 0);
                        const double x = std::pow(v / h[axis] / contrast, 2);
                        sum += (rational ? 1 / (1 + x) : std::exp(-x)) * v / (h[axis] * h[axis]);
                    }
                }
                return around(0, 0, 0) + timeStep * sum;
            });
        }
        return current;
    };
}

TEST(AnisotropicDiffusion, IsItsDefinition) {
    expectTheDefinition<AnisotropicDiffusion2d>(
        {43, 19, 2, 1, 1}, 2e-3, [](auto&) {}, diffusion(false, 10, 0.125, 10, {1, 1}));
    expectTheDefinition<AnisotropicDiffusion2d>(
        {40, 7, 1, 1, 1}, 2e-3,
        [](auto& filter) {
            filter.setConductance(AnisotropicDiffusion2d::RATIONAL);
            filter.setContrast(30);
            filter.setTimeStep(0.25);
            filter.setNumberOfIterations(1);
        },
        diffusion(true, 30, 0.25, 1, {1, 1}));
    expectTheDefinition<AnisotropicDiffusion3d>(
        {23, 9, 6, 2, 1}, 2e-3, [](auto& filter) { filter.setNumberOfIterations(2); },
        diffusion(false, 10, 0.125, 2, {1, 1, 1}));
}

TEST(AnisotropicDiffusion, MeasuresInTheWorldAndStaysStable) {
    io::MemoryImage image = makeScene(RIX_FLOAT32, {23, 9, 6, 1, 1});
    image.setSpacingOf(COLUMNS, 0.5);
    image.setSpacingOf(ROWS, -0.5);
    image.setSpacingOf(PLANS, 1.5);
    const auto inTheWorld = [](auto& filter) { filter.setLengthUnit(algorithms::LengthUnit::WORLD); };
    const auto result = volumeOf<double>(filtered<AnisotropicDiffusion3d>(image, inTheWorld, SCALAR), 0, 0);
    const auto expected =
        volumeOf<double>(diffusion(false, 10, 0.125, 10, {1, 1, 3})(image, BorderPolicy::MIRROR), 0, 0);
    EXPECT_THAT(result, testing::Pointwise(testing::DoubleNear(2e-3), expected));

    const auto withStep = [](double step) { return [step](auto& filter) { filter.setTimeStep(step); }; };
    EXPECT_NO_THROW(filtered<AnisotropicDiffusion2d>(image, withStep(0.25), SCALAR));
    EXPECT_THROW(filtered<AnisotropicDiffusion2d>(image, withStep(0.26), SCALAR), RuleException);
    EXPECT_NO_THROW(filtered<AnisotropicDiffusion3d>(image, withStep(1.0 / 6), SCALAR));
    EXPECT_THROW(filtered<AnisotropicDiffusion3d>(image, withStep(0.17), SCALAR), RuleException);
    image.setSpacingOf(ROWS, 0);
    EXPECT_THROW(filtered<AnisotropicDiffusion2d>(image, inTheWorld, SCALAR), RuleException);
}

template <class Filter>
void expectNanNearOnly(std::size_t reach) {
    const io::MemoryImage image =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {41, 31, 1, 1, 1}}, [](auto x, auto y, auto...) -> double {
            return x == 20 && y == 15 ? std::nan("") : static_cast<double>(x + y);
        });
    for (const OptimLevelType level : runnableLevels()) {
        const io::MemoryImage result = filtered<Filter>(image, [](auto&) {}, level);
        const auto samples = volumeOf<double>(result, 0, 0);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const std::size_t dx = i % 41 > 20 ? i % 41 - 20 : 20 - i % 41;
            const std::size_t dy = i / 41 > 15 ? i / 41 - 15 : 15 - i / 41;
            if (dx > reach || dy > reach) {
                ASSERT_FALSE(std::isnan(samples[i])) << i;
            } else if (dx == 0 || dy == 0) {
                ASSERT_TRUE(std::isnan(samples[i])) << i << ", level " << level;
            }
        }
    }
}

TEST(EdgePreserving, NanSpreadsToTheWindowsThatHoldIt) {
    expectNanNearOnly<BilateralFilter2d>(3);
    expectNanNearOnly<GuidedFilter2d>(4);
    expectNanNearOnly<NonLocalMeansFilter2d>(6);
    expectNanNearOnly<AnisotropicDiffusion2d>(10);
}

template <class Filter, class Set>
void expectUnchanged(const io::MemoryImage& image, const Set& set) {
    for (const OptimLevelType level : runnableLevels()) {
        ASSERT_TRUE(imagesEqual(image, filtered<Filter>(image, set, level))) << "level " << level;
    }
}

TEST(EdgePreserving, LeavesEvenImagesAndWhatDiffersFromAllElse) {
    const io::MemoryImage even =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {41, 31, 1, 1, 1}}, [](auto...) { return 0.1F; });
    expectUnchanged<BilateralFilter2d>(even, [](auto&) {});
    expectUnchanged<NonLocalMeansFilter2d>(even, [](auto&) {});
    expectUnchanged<AnisotropicDiffusion2d>(even, [](auto&) {});
    expectUnchanged<GuidedFilter2d>(even, [](auto&) {});
    const io::MemoryImage steep = makeImage({.voxelType = RIX_FLOAT32, .extents = {41, 31, 1, 1, 1}},
                                            [](auto x, auto y, auto...) { return static_cast<float>(41 * y + x + 1); });
    for (const double next : {1e-3, 1e-300}) {  // the square of the second is 0
        expectUnchanged<BilateralFilter2d>(steep, [&](auto& filter) { filter.setIntensityStandardDeviation(next); });
        expectUnchanged<BilateralFilter2d>(steep, [&](auto& filter) {
            filter.setKernelRadius(3);
            filter.setSpatialStandardDeviation(next);
        });
        expectUnchanged<NonLocalMeansFilter2d>(steep, [&](auto& filter) { filter.setStrength(next); });
        expectUnchanged<AnisotropicDiffusion2d>(steep, [&](auto& filter) { filter.setContrast(next / 1e3); });
    }
}

TEST(EdgePreserving, RefusesWhatMeasuresNothing) {
    const io::MemoryImage image = makeScene(RIX_UINT8, {9, 9, 1, 1, 1});
    EXPECT_THROW(filtered<BilateralFilter2d>(
                     image, [](auto& filter) { filter.setSpatialStandardDeviation(40); }, SCALAR),
                 RuleException)
        << "a radius that is computed";
    EXPECT_THROW(
        filtered<NonLocalMeansFilter2d>(image, [](auto& filter) { filter.setStrength(0); }, SCALAR), RuleException);
    EXPECT_THROW(filtered<AnisotropicDiffusion2d>(
                     image, [](auto& filter) { filter.setContrast(std::nan("")); }, SCALAR),
                 RuleException);
}

}  // namespace
}  // namespace rix::test
