// The Gaussian filters against their definition in double precision, on every type, border and level.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numeric>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/BlockSize.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>
#include <rix/filtering/smoothing/GaussianFilter2d.h>
#include <rix/filtering/smoothing/GaussianFilter3d.h>
#include <rix/image/DiskImage.h>
#include <rix/image/ImageModel3dWithFull2d.h>
#include <rix/settings/Settings.h>

#include "BoxReference.h"
#include "BoxRuns.h"
#include "Failures.h"
#include "GaussianReference.h"
#include "ImageComparison.h"
#include "ImageFactories.h"
#include "ImageSamples.h"

namespace rix::test {
namespace {

using access::BorderPolicy;
using filtering::smoothing::GaussianFilter2d;
using filtering::smoothing::GaussianFilter3d;

struct GaussianCase {
    std::array<double, 3> deviations{1, 1, 0};
    BorderPolicy border = BorderPolicy::MIRROR;
    double borderValue = 0;
    algorithms::OutputType output = algorithms::OutputType::SAME_AS_INPUT;
    algorithms::LengthUnit unit = algorithms::LengthUnit::VOXEL;
};

template <class Algorithm>
void runWith(const ImageModel& input, ImageModel& output, const GaussianCase& c, const RunOptions& options) {
    Algorithm algorithm;
    algorithm.settings().setMaximumNumberOfThreads(options.threads);
    algorithm.setAutoCpuDispatch(false);
    algorithm.setOptimLevel(options.level);
    algorithm.setBlockScheduler(options.scheduler);
    algorithm.setInputImage(&input);
    algorithm.setStandardDeviationX(c.deviations[0]);
    algorithm.setStandardDeviationY(c.deviations[1]);
    if constexpr (requires { algorithm.setStandardDeviationZ(1); }) {
        algorithm.setStandardDeviationZ(c.deviations[2]);
    }
    algorithm.setLengthUnit(c.unit);
    algorithm.setBorderPolicy(c.border);
    algorithm.setBorderValue(c.borderValue);
    algorithm.setOutputType(c.output);
    algorithm.setOutputImage(&output);
    algorithm.run();
}

void runGaussian(const ImageModel& input, ImageModel& output, const GaussianCase& c, const RunOptions& options = {}) {
    if (c.deviations[2] > 0) {
        runWith<GaussianFilter3d>(input, output, c, options);
    } else {
        runWith<GaussianFilter2d>(input, output, c, options);
    }
}

io::MemoryImage runGaussian(const ImageModel& input, const GaussianCase& c, const RunOptions& options = {}) {
    io::MemoryImage output;
    runGaussian(input, output, c, options);
    return output;
}

/// Compares every voxel of a result with the definition; `range` is that of the input.
void compareWithDefinition(const io::MemoryImage& input, const io::MemoryImage& output, const GaussianCase& c,
                           double range) {
    const auto n = helper::getExtents(input);
    access::dispatch(
        access::Reals{}, input.getVoxelType(), access::Reals{}, output.getVoxelType(), [&](auto tagIn, auto tagOut) {
            using In = typename decltype(tagIn)::type;
            using Out = typename decltype(tagOut)::type;
            const double tolerance = std::is_integral_v<Out> ? 0.5 + std::max(0x1p-7, range * 2e-6) : 2e-5 * range;
            for (std::size_t volume = 0; volume < n[3] * n[4]; ++volume) {
                const auto samples = volumeOf<In>(input, volume % n[3], volume / n[3]);
                std::vector<double> expected(samples.begin(), samples.end());
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    expected =
                        gaussianAlong(expected, {n[0], n[1], n[2]}, axis, c.deviations[axis], c.border, c.borderValue);
                }
                const auto actual = volumeOf<Out>(output, volume % n[3], volume / n[3]);
                for (std::size_t i = 0; i < actual.size(); ++i) {
                    ASSERT_NEAR(static_cast<double>(actual[i]), expected[i], tolerance)
                        << "voxel " << i << " of " << helper::describeImage(input);
                }
            }
        });
}

std::vector<double> volumeAs(const io::MemoryImage& image) {
    std::vector<double> values;
    access::dispatch(access::Floatings{}, image.getVoxelType(), [&](auto tag) {
        const auto samples = volumeOf<typename decltype(tag)::type>(image, 0, 0);
        values.assign(samples.begin(), samples.end());
    });
    return values;
}

TEST(GaussianFilter, IsItsDefinitionOnEveryTypeBorderAndLevel) {
    const GaussianCase cases[] = {
        {},
        {{2.3, 0.4, 0}, BorderPolicy::CONTINUE},
        {{0, 3, 0}, BorderPolicy::FIXED, 50},
        {{4, 0, 0}, BorderPolicy::MIRROR, 0, algorithms::OutputType::FLOAT_32_BIT},
        {{0.8, 1.5, 1.2}},
        {{1, 0, 2}, BorderPolicy::FIXED, 20, algorithms::OutputType::FLOAT_32_BIT},
        {{0, 0, 3}, BorderPolicy::CONTINUE},
        {{12, 9, 0}},  // recursive, and wider than the image several times
        {{0.3, 31, 5}, BorderPolicy::FIXED, 30},
        {{60, 0, 4}, BorderPolicy::CONTINUE, 0, algorithms::OutputType::FLOAT_32_BIT},
    };
    struct Type {
        VoxelTypes type;
        double range;
    };
    const Type types[] = {{RIX_UINT8, 255},      {RIX_INT8, 255},  {RIX_UINT16, 65535}, {RIX_INT16, 65535},
                          {RIX_UINT32, 1 << 24}, {RIX_INT32, 1e5}, {RIX_FLOAT32, 1000}, {RIX_FLOAT64, 1e5}};
    const access::ScopedBlockBytes blocks(4096);
    for (const Type& type : types) {
        const io::MemoryImage input = makeImage(
            {.voxelType = type.type, .extents = {43, 19, 7, 2, 1}},
            [&](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t) {
                const auto hash = static_cast<double>((x * 7919 + y * 104729 + z * 1299709 + t * 15485863) % 997);
                const bool isSigned = type.type == RIX_INT8 || type.type == RIX_INT16;
                return static_cast<std::int64_t>(hash / 996 * type.range - (isSigned ? (type.range + 1) / 2 : 0));
            });
        for (const GaussianCase& c : cases) {
            const io::MemoryImage output = runGaussian(input, c);
            EXPECT_EQ(output.getVoxelType(),
                      c.output == algorithms::OutputType::FLOAT_32_BIT ? RIX_FLOAT32 : type.type);
            ASSERT_NO_FATAL_FAILURE(compareWithDefinition(input, output, c, type.range));
            for (const OptimLevelType level : runnableLevels()) {
                const auto shuffled = std::make_shared<access::ShuffledScheduler>(5);
                EXPECT_TRUE(imagesEqual(output, runGaussian(input, c, {level, 2, shuffled})));
            }
        }
    }
}

TEST(GaussianFilter, GivesTheKernelForAnImpulseAndKeepsConstants) {
    const io::MemoryImage impulse = makeImage({.voxelType = RIX_FLOAT64, .extents = {41, 1, 1, 1, 1}},
                                              [](std::size_t x, auto...) { return x == 20 ? 1.0 : 0.0; });
    const auto kernel = volumeOf<double>(runGaussian(impulse, {{2, 0, 0}}), 0, 0);
    double sum = 0;
    for (std::size_t i = 0; i < kernel.size(); ++i) {
        EXPECT_DOUBLE_EQ(kernel[i], kernel[40 - i]);
        EXPECT_EQ(kernel[i] > 0, i >= 10 && i <= 30);
        sum += kernel[i];
    }
    EXPECT_DOUBLE_EQ(sum, 1.0);
    EXPECT_NEAR(kernel[22] / kernel[20], std::exp(-0.5), 1e-15);

    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT32, RIX_INT32, RIX_INT16, RIX_FLOAT64}) {
        for (const bool highest : {false, true}) {
            io::MemoryImage constant;
            access::dispatch(access::Reals{}, type, [&](auto tag) {
                using Limits = std::numeric_limits<typename decltype(tag)::type>;
                constant = makeImage({.voxelType = type, .extents = {50, 20, 9, 1, 1}}, [&](auto...) {
                    return Limits::is_integer ? highest ? Limits::max() : Limits::lowest() : 3;
                });
            });
            const io::MemoryImage smooth = runGaussian(constant, {{2, 3, 1.5}});
            EXPECT_TRUE(imagesEqual(constant, smooth, {.absoluteTolerance = 1e-14}));
        }
    }
    // A width so small that no neighbour counts, and one of 0, change nothing: infinities stay where they are.
    const io::MemoryImage wild =
        makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {40, 9, 3, 1, 1}}, 9, Extremes::All);
    EXPECT_TRUE(imagesEqual(wild, runGaussian(wild, {{0, 0, 0}})));
    EXPECT_TRUE(imagesEqual(wild, runGaussian(wild, {{0.01, std::numeric_limits<double>::denorm_min(), 0.01}})));
}

TEST(GaussianFilter, IsItsDefinitionAtEveryWidthAndNeverDriftsAlongLongLines) {
    for (const double deviation : {0.3, 0.7, 1.9, 2.9, 3.0, 4.0, 7.0, 30.0, 31.0, 60.0}) {
        for (const std::size_t columns : {1U, 5U, 16384U}) {
            // Steps and noise: recursions and their stretches show at steps, drift where it is flat.
            const io::MemoryImage input =
                makeImage({.voxelType = RIX_FLOAT32, .extents = {columns, 2, 1, 1, 1}},
                          [](std::size_t x, std::size_t y, auto...) {
                              const std::size_t noise = (x * 7919 + y * 104729) % 997;
                              return x % 5000 < 2100 ? 1000.0 : y == 0 ? 0.0 : static_cast<double>(noise);
                          });
            const GaussianCase c{{deviation, 0, 0}};
            ASSERT_NO_FATAL_FAILURE(compareWithDefinition(input, runGaussian(input, c), c, 1000)) << deviation;
        }
    }
}

/// Bytes have kernels of their own below a deviation of about 8, whose taps are rounded: black and white show it most.
TEST(GaussianFilter, BytesAreWithinTheirBoundAtEveryWidth) {
    for (int i = 1; i < 48; ++i) {
        const double deviation = i < 24 ? 0.09 * i : 0.17 * i;
        const std::size_t columns = i % 3 == 0 ? 7 : 30U + static_cast<std::size_t>(i);
        const io::MemoryImage input = makeImage(
            {.voxelType = RIX_UINT8, .extents = {columns, 40, 2, 1, 1}}, [&](auto x, auto y, auto z, auto...) {
                const std::size_t hash = (x * 7919 + y * 104729 + z * 1299709 + static_cast<std::size_t>(i)) % 997;
                return hash % 2 == 0 ? 255 : y < 20 ? 0 : 1;
            });
        const GaussianCase c{
            {deviation, i % 4 == 0 ? 0.0 : deviation, 0}, static_cast<BorderPolicy>(i % 3), i % 2 == 0 ? 255.0 : 99.5};
        const io::MemoryImage output = runGaussian(input, c);
        ASSERT_NO_FATAL_FAILURE(compareWithDefinition(input, output, c, 255)) << deviation;
        const access::ScopedBlockBytes blocks(1024);
        for (const OptimLevelType level : runnableLevels()) {
            ASSERT_TRUE(imagesEqual(output, runGaussian(input, c, {level, 2, nullptr}))) << deviation;
        }
    }
}

TEST(GaussianFilter, KeepsWhatIsNotFiniteWithinItsWindows) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
        for (const double deviation : {2.0, 6.0}) {
            const auto reach = static_cast<std::size_t>(5 * deviation);
            const auto make = [&](double a, double b) {
                return makeImage({.voxelType = type, .extents = {300, 3, 1, 1, 1}}, [=](std::size_t x, auto...) {
                    return x == 100 ? a : x == 220 ? b : static_cast<double>(x % 17);
                });
            };
            const GaussianCase c{{deviation, 0, 0}};
            const auto tame = volumeAs(runGaussian(make(0, 0), c));
            const auto wild = volumeAs(runGaussian(make(nan, infinity), c));
            for (std::size_t i = 0; i < wild.size(); ++i) {
                const std::size_t x = i % 300;
                if (x + reach >= 100 && x <= 100 + reach) {
                    ASSERT_TRUE(std::isnan(wild[i])) << x;
                } else if (x + reach >= 220 && x <= 220 + reach) {
                    ASSERT_EQ(wild[i], infinity) << x;
                } else {
                    ASSERT_EQ(wild[i], tame[i]) << x;
                }
            }
        }
    }
}

TEST(GaussianFilter, MeasuresInTheWorld) {
    io::MemoryImage image = makeRandomImage({.voxelType = RIX_UINT16, .extents = {60, 40, 9, 2, 1}}, 5);
    image.setSpacingOf(COLUMNS, 0.5);
    image.setSpacingOf(ROWS, -2);
    image.setSpacingOf(PLANS, 1);
    for (const GaussianCase& c : {GaussianCase{{1.2, 0.7, 0}}, GaussianCase{{1.2, 0.7, 2}}, GaussianCase{{0, 0, 2}}}) {
        GaussianCase world = c;
        world.unit = algorithms::LengthUnit::WORLD;
        world.deviations[0] *= 0.5;
        world.deviations[1] *= 2;
        EXPECT_TRUE(imagesEqual(runGaussian(image, c), runGaussian(image, world)));
    }
}

TEST(GaussianFilter, IsRoundInTheWorldWhateverTheSpacing) {
    for (const double deviation : {3.0, 7.0}) {  // by taps along the widest axis, recursively along all
        io::MemoryImage image = makeImage({.voxelType = RIX_FLOAT32, .extents = {121, 121, 61, 1, 1}},
                                          [](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                              return x == 60 && y == 60 && z == 30 ? 1e6 : 0;
                                          });
        image.setSpacingOf(COLUMNS, 1);
        image.setSpacingOf(ROWS, 1);
        image.setSpacingOf(PLANS, 2);
        const std::vector<double> smoothed = volumeOf<double>(
            runGaussian(image,
                        {.deviations = {deviation, deviation, deviation}, .unit = algorithms::LengthUnit::WORLD}),
            0, 0);
        const auto at = [&](std::size_t x, std::size_t y, std::size_t z) { return smoothed[(z * 121 + y) * 121 + x]; };
        const double peak = at(60, 60, 30);
        for (std::size_t steps = 1; steps <= 15; ++steps) {
            SCOPED_TRACE(steps);
            const double alongZ = at(60, 60, 30 + steps);
            EXPECT_NEAR(at(60 + 2 * steps, 60, 30), alongZ, 1e-4 * peak);
            EXPECT_NEAR(at(60, 60 - 2 * steps, 30), alongZ, 1e-4 * peak);
        }
        // (6, 6, 0) and (6, 0, 6) and (0, 6, 6) in the world lie equally far, (8, 2, 2) does, too.
        EXPECT_NEAR(at(66, 66, 30), at(66, 60, 33), 1e-4 * peak);
        EXPECT_NEAR(at(66, 66, 30), at(60, 54, 27), 1e-4 * peak);
        EXPECT_NEAR(at(66, 66, 30), at(68, 62, 31), 1e-4 * peak);
    }
}

TEST(GaussianFilter, RefusesASpacingThatMeasuresNothing) {
    io::MemoryImage image = makeRandomImage({.voxelType = RIX_UINT8, .extents = {9, 9, 2, 1, 1}}, 5);
    image.setSpacingOf(ROWS, 0);
    if (const auto exception = failureOf<RuleException>(
            [&] { runGaussian(image, {.deviations = {1, 1, 0}, .unit = algorithms::LengthUnit::WORLD}); })) {
        EXPECT_THAT(exception->getLevels().front().message, testing::HasSubstr("standardDeviationY"));
    }
    EXPECT_NO_THROW(runGaussian(image, {.deviations = {1, 0, 1}, .unit = algorithms::LengthUnit::WORLD}));
    EXPECT_THROW(runGaussian(image, image, {.output = algorithms::OutputType::FLOAT_32_BIT}), RuleException);
}

/// Counts what is written, or writes nothing.
class CountingStore final : public io::ChunkStore {
public:
    CountingStore(int& writes, bool isFull) : m_writes(writes), m_isFull(isFull) {}
    bool read(std::size_t /*chunk*/, RawData /*samples*/) override { return false; }
    void write(std::size_t /*chunk*/, ConstRawData /*samples*/) override {
        if (m_isFull) {
            throw WritingError("no space is left");
        }
        ++m_writes;
    }
    void finish(const ImageHeader& /*header*/) override {}

private:
    int& m_writes;
    bool m_isFull;
};

TEST(GaussianFilter, KeepsImagesOnDiskWhereSettingsAskForIt) {
    const io::MemoryImage input = test::makeRandomImage({.voxelType = RIX_UINT16, .extents = {300, 200, 1, 1, 1}}, 5);
    io::MemoryImage expected;
    GaussianFilter2d filter;
    filter.setInputImage(&input);
    filter.setStandardDeviationX(4.0);
    filter.setStandardDeviationY(4.0);
    filter.setOutputImage(&expected);
    filter.run();
    const std::size_t inMemory = filter.describe().extraMemory;
    for (const char* const key : {"RIX_TEMPORARY_IMAGE_ON_DISK", "RIX_RECURSIVITY_TMP_DISK_IMAGE"}) {
        io::MemoryImage output;
        filter.setOutputImage(&output);
        filter.settings().setValueAsBool(key, true);
        EXPECT_EQ(filter.describe().extraMemory + 300 * 200 * sizeof(float), inMemory);
        filter.run();
        filter.settings().remove(key);
        EXPECT_TRUE(test::imagesEqual(expected, output)) << key;
    }
    for (const bool flushes : {false, true}) {
        int writes = 0;
        bool isFull = false;
        io::DiskImage output(
            [&](const ImageHeader&, const auto&) { return std::make_unique<CountingStore>(writes, isFull); },
            {100, 100, 1, 1, 1});
        filter.setOutputImage(&output);
        filter.settings().setValueAsBool("RIX_DISKIMAGE_FLUSH", flushes);
        filter.run();
        EXPECT_EQ(writes, flushes ? 6 : 0);
        isFull = true;
        EXPECT_TRUE(output.reserve(RIX_UINT8, 1, 1, 1, 1, 1));  // the next run makes another store
        const auto runAgain = [&] { filter.run(); };
        if (flushes) {
            EXPECT_THROW(runAgain(), WritingError);
        } else {
            EXPECT_NO_THROW(runAgain());
        }
    }
}

}  // namespace
}  // namespace rix::test
