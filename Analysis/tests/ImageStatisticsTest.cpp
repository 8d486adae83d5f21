// Statistics against the definitions, computed in extended precision from sorted values.

#include <rix/analysis/ImageStatistics.h>
#include <rix/image/StridedImage.h>

#include "Testing.h"

namespace rix::analysis {
namespace {

using test::Extents;
using Real = long double;

/// The voxels of a group with their places in the image.
struct Sample {
    double value;
    Extents at;
};

void expectNear(double actual, Real expected, Real scale, const char* what) {
    EXPECT_LE(std::fabs(static_cast<Real>(actual) - expected), 1e-10L * scale) << what << ": " << actual;
}

Real quantileOf(const std::vector<double>& sorted, double quantile) {
    const Real place = static_cast<Real>(quantile) * static_cast<Real>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const double high = sorted[std::min(below + 1, sorted.size() - 1)];
    return sorted[below] + (place - static_cast<Real>(below)) * (static_cast<Real>(high) - sorted[below]);
}

/// Entropy and mode over the values, or over 256 classes of equal width.
void expectClasses(const std::vector<double>& sorted, bool byValue, const ImageStatisticsMsr& table, std::size_t row) {
    const double low = sorted.front();
    const double high = sorted.back();
    std::map<double, std::size_t> counts;
    for (const double value : sorted) {
        const double place = high > low ? (value / 2 - low / 2) * (256 / (high / 2 - low / 2)) : 0;
        ++counts[byValue ? value : std::min(std::floor(place), 255.0)];
    }
    Real entropy = 0;
    double mode = counts.begin()->first;
    for (const auto& [key, count] : counts) {
        const Real share = static_cast<Real>(count) / static_cast<Real>(sorted.size());
        entropy -= share * std::log(share);
        mode = count > counts[mode] ? key : mode;
    }
    expectNear(table.entropy[row], entropy, 1, "entropy");
    const double centre = byValue ? mode : low * (1 - (mode + 0.5) / 256) + high * ((mode + 0.5) / 256);
    EXPECT_EQ(table.mode[row], centre);
}

void expectStatistics(const std::vector<Sample>& samples, bool byValue, const std::vector<double>& quantiles,
                      const ImageStatisticsMsr& table, std::size_t row) {
    std::vector<double> sorted;
    std::int64_t nan = 0;
    Real sum = 0;
    Real magnitude = 0;
    for (const Sample& sample : samples) {
        nan += std::isnan(sample.value) ? 1 : 0;
        if (std::isfinite(sample.value)) {
            sorted.push_back(sample.value);
            sum += sample.value;
            magnitude += std::fabs(static_cast<Real>(sample.value));
        }
    }
    std::sort(sorted.begin(), sorted.end());
    const auto n = static_cast<Real>(sorted.size());
    ASSERT_EQ(table.count[row], static_cast<std::int64_t>(sorted.size()));
    EXPECT_EQ(table.nanCount[row], nan);
    EXPECT_EQ(table.infiniteCount[row], static_cast<std::int64_t>(samples.size() - sorted.size()) - nan);
    if (sorted.empty()) {
        EXPECT_TRUE(std::isnan(table.mean[row]) && std::isnan(table.minimum[row]) && std::isnan(table.entropy[row]));
        EXPECT_EQ(table.minimumAt[COLUMNS][row], -1);
        return;
    }
    // Distances from one of the values: they may be finer than what extended precision has beside a large mean.
    const Real origin = sorted[sorted.size() / 2];
    Real shift = 0;
    for (const double value : sorted) {
        shift += (value - origin) / n;
    }
    Real powers[3] = {};
    for (const double value : sorted) {
        const Real distance = (value - origin) - shift;
        powers[0] += distance * distance;
        powers[1] += distance * distance * distance;
        powers[2] += distance * distance * distance * distance;
    }
    const Real variance = powers[0] / n;
    EXPECT_EQ(table.minimum[row], sorted.front());
    EXPECT_EQ(table.maximum[row], sorted.back());
    expectNear(table.sum[row], sum, magnitude * 1e-5L, "sum");  // to 1e-15
    expectNear(table.mean[row], sum / n, magnitude / n * 1e-4L, "mean");
    expectNear(table.variance[row], variance, variance, "variance");
    expectNear(table.standardDeviation[row], std::sqrt(variance), std::sqrt(variance), "deviation");
    if (variance > 0) {
        const Real skewness = powers[1] / n / std::pow(variance, 1.5L);
        expectNear(table.skewness[row], skewness, 1 + std::fabs(skewness), "skewness");
        const Real kurtosis = powers[2] / n / (variance * variance);
        expectNear(table.kurtosis[row], kurtosis - 3, kurtosis, "kurtosis");
    }
    expectClasses(sorted, byValue, table, row);
    for (std::size_t i = 0; i < quantiles.size(); ++i) {
        const Real expected = quantileOf(sorted, quantiles[i]);
        EXPECT_LE(std::fabs(static_cast<Real>(table.quantiles[i][row]) - expected), 1e-12L * std::fabs(expected))
            << "quantile " << quantiles[i];
    }
    for (const auto* const at : {&table.minimumAt, &table.maximumAt}) {
        const double extreme = at == &table.minimumAt ? sorted.front() : sorted.back();
        const auto first =
            std::find_if(samples.begin(), samples.end(), [&](const Sample& sample) { return sample.value == extreme; });
        for (std::size_t axis = 0; axis < first->at.size(); ++axis) {
            EXPECT_EQ((*at)[axis][row], static_cast<std::int64_t>(first->at[axis])) << axis;
        }
    }
}

struct Case {
    const char* name;
    VoxelTypes type;
    Extents extents;
    std::function<test::SampleValue(std::size_t)> sample;  ///< by the place in storage order
};

/// Numbers without pattern, from 0 to 1.
double scattered(std::size_t place) {
    std::uint64_t x = (place + 1) * 0x9E3779B97F4A7C15U;
    x = (x ^ (x >> 31)) * 0xBF58476D1CE4E5B9U;
    return static_cast<double>((x ^ (x >> 29)) >> 11) * 0x1p-53;
}

const Case cases[] = {
    {"bytes", RIX_UINT8, {67, 5, 3, 2, 2}, [](std::size_t i) { return static_cast<int>(scattered(i) * 200); }},
    {"signed bytes",
     RIX_INT8,
     {19, 7, 2, 1, 3},
     [](std::size_t i) { return static_cast<int>(scattered(i) * 255) - 128; }},
    {"words", RIX_UINT16, {301, 250, 2, 1, 1}, [](std::size_t i) { return static_cast<int>(scattered(i) * 65535.99); }},
    {"signed words",
     RIX_INT16,
     {31, 4, 1, 3, 1},
     [](std::size_t i) { return static_cast<int>(scattered(i / 7) * 65535) - 32768; }},
    {"large integers",
     RIX_UINT32,
     {301, 250, 1, 2, 1},
     [](std::size_t i) { return 4294967295 - static_cast<std::int64_t>(scattered(i) * 1000); }},
    {"integers",
     RIX_INT32,
     {33, 9, 2, 2, 2},
     [](std::size_t i) { return static_cast<std::int64_t>(scattered(i) * 4294967295.0) - 2147483648; }},
    {"small deviation of a large mean",
     RIX_FLOAT32,
     {509, 300, 1, 1, 1},
     [](std::size_t i) { return 8388608.0 + std::floor(scattered(i) * 4); }},
    {"some that are not finite",
     RIX_FLOAT32,
     {67, 41, 3, 2, 1},
     [](std::size_t i) {
         return i % 97 == 5   ? std::nan("")
                : i % 89 == 3 ? -std::numeric_limits<double>::infinity()
                              : scattered(i) - 0.5;
     }},
    {"one far off", RIX_FLOAT64, {200000, 1, 1, 1, 1}, [](std::size_t i) { return i == 65536 ? 1e9 : scattered(i); }},
    {"fine differences", RIX_FLOAT64, {251, 77, 2, 1, 2}, [](std::size_t i) { return 1e6 + scattered(i) * 1e-6; }},
    {"constant", RIX_FLOAT64, {9, 4, 1, 1, 1}, [](std::size_t) { return -7.25; }},
    {"nothing finite", RIX_FLOAT32, {5, 4, 2, 1, 1}, [](std::size_t) { return std::nan(""); }},
};

const std::vector<double> askedFor{0.0, 0.05, 0.5, 0.731, 1.0, 0.25, 0.75, 0.9, 0.99, 0.001};
constexpr const char* askedText = "0, 0.05,0.5 ,0.731, 1, 0.25, 0.75, 0.9, 0.99, 0.001";

TEST(ImageStatistics, AreThoseOfTheDefinitionForEveryGroupMaskAndLevel) {
    for (const Case& tested : cases) {
        const Extents& n = tested.extents;
        const auto placeOf = [&](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t c, auto...) {
            return x + n[0] * (y + n[1] * (z + n[2] * (t + n[3] * c)));
        };
        const io::MemoryImage image = test::makeImage({.voxelType = tested.type, .extents = n},
                                                      [&](auto... at) { return tested.sample(placeOf(at...)); });
        const io::MemoryImage mask = test::makeImage({.extents = n, .interpretation = RIX_BINARY}, [&](auto... at) {
            return scattered(placeOf(at...) + 77) < 0.3 ? 1 : 0;
        });
        const std::vector<double> values = test::samplesOf<double>(image);
        const std::vector<double> inside = test::samplesOf<double>(mask);
        const bool byValue = helper::getSizeOf(tested.type) <= 2;
        for (const int by : {0, 1, 2, 3}) {
            for (const bool isMasked : {false, true}) {
                std::map<Extents, std::vector<Sample>> groups;  // by channel, frame, plane
                for (std::size_t i = 0; i < values.size(); ++i) {
                    const Extents at{i % n[0], i / n[0] % n[1], i / n[0] / n[1] % n[2], i / n[0] / n[1] / n[2] % n[3],
                                     i / n[0] / n[1] / n[2] / n[3]};
                    const bool byPlane = by == ImageStatistics::PLANE;
                    std::vector<Sample>& group =
                        groups[{by != ImageStatistics::IMAGE ? at[4] : 0,
                                byPlane || by == ImageStatistics::VOLUME ? at[3] : 0, byPlane ? at[2] : 0, 0, 0}];
                    if (!isMasked || inside[i] != 0) {
                        group.push_back({values[i], at});
                    }
                }
                std::vector<std::uint64_t> bits;
                for (const OptimLevelType level : test::runnableLevels()) {
                    SCOPED_TRACE(testing::Message() << tested.name << (isMasked ? " masked" : "") << ", group by " << by
                                                    << ", level " << level);
                    ImageStatistics algorithm;
                    algorithm.setAutoCpuDispatch(false);
                    algorithm.setOptimLevel(level);
                    algorithm.setInputImage(&image);
                    algorithm.setInputMaskImage(isMasked ? &mask : nullptr);
                    algorithm.setGroupBy(static_cast<ImageStatistics::GroupBy>(by));
                    algorithm.setQuantiles(askedText);
                    algorithm.run();
                    const ImageStatisticsMsr& table = *algorithm.getOutputMeasurement();
                    ASSERT_EQ(table.count.size(), groups.size());
                    std::size_t row = 0;
                    std::vector<std::uint64_t> now;
                    for (const auto& [place, samples] : groups) {
                        if (bits.empty()) {
                            expectStatistics(samples, byValue, askedFor, table, row);
                        }
                        for (const auto* const column : {&table.sum, &table.mean, &table.variance, &table.kurtosis}) {
                            now.push_back(std::bit_cast<std::uint64_t>((*column)[row]));
                        }
                        ++row;
                    }
                    EXPECT_TRUE(bits.empty() || bits == now);
                    bits = now;
                }
            }
        }
    }
}

/// The values of the columns of a table as bits, by their names.
std::map<String, std::vector<std::uint64_t>> bitsOf(const ImageStatisticsMsr& statistics) {
    const vessel::DataFrame table = statistics.toDataFrame();
    std::map<String, std::vector<std::uint64_t>> columns;
    for (std::size_t i = 0; i < table.getColumnCount(); ++i) {
        std::vector<std::uint64_t>& bits = columns[table.getColumnInfo(i).name];
        const bool isReal = table.getColumnType(i) == vessel::ColumnType::REAL;
        for (std::size_t row = 0; row < table.getRowCount(); ++row) {
            bits.push_back(isReal ? std::bit_cast<std::uint64_t>(table.getReals(i)[row])
                                  : static_cast<std::uint64_t>(table.getIntegers(i)[row]));
        }
    }
    return columns;
}

TEST(ImageStatistics, TellWhatIsAskedForAsTheyDoBesideEverythingElse) {
    for (const Case& tested : cases) {
        const Extents& n = tested.extents;
        std::size_t next = 0;
        const io::MemoryImage image =
            test::makeImage({.voxelType = tested.type, .extents = n}, [&](auto...) { return tested.sample(next++); });
        const io::MemoryImage mask = test::makeImage({.extents = n, .interpretation = RIX_BINARY},
                                                     [&](auto x, auto y, auto...) { return (x + y) % 3 != 0; });
        ImageStatistics algorithm;
        algorithm.setInputImage(&image);
        for (const io::MemoryImage* const part : {&mask, static_cast<const io::MemoryImage*>(nullptr)}) {
            algorithm.setInputMaskImage(part);
            algorithm.setMeasures("All");
            algorithm.run();
            const auto all = bitsOf(*algorithm.getOutputMeasurement());
            std::size_t columns = 0;
            for (const char* const measure :
                 {"Count", "Minimum", "Maximum", "Sum", "Mean", "Variance", "StandardDeviation", "Skewness", "Kurtosis",
                  "Entropy", "Mode", "NanCount", "InfiniteCount", "MinimumPosition", "MaximumPosition"}) {
                algorithm.setMeasures(measure);
                algorithm.run();
                for (const auto& [name, bits] : bitsOf(*algorithm.getOutputMeasurement())) {
                    SCOPED_TRACE(String(tested.name) + ' ' + name);
                    ASSERT_TRUE(all.contains(name));
                    ++columns;
                    EXPECT_EQ(bits, all.at(name));
                }
            }
            EXPECT_EQ(columns, all.size());
        }
    }
}

TEST(ImageStatistics, OfSinglePrecisionHaveTheBitsOfTheSameValuesInDoublePrecision) {
    // Where sums of floats are known to be exact, what rounding takes is not computed; of doubles it always is.
    std::mt19937_64 generator(5);
    std::normal_distribution<double> normal;
    std::vector<std::function<double(std::size_t)>> kinds{
        [](std::size_t i) { return std::floor(scattered(i) * 4096) / 16; },
        [](std::size_t i) { return scattered(i); },
        [&](std::size_t) { return normal(generator); },
        [&](std::size_t) { return 1e-42 * normal(generator); },
        [](std::size_t i) { return std::exp(60 * scattered(i) - 30); },
        [](std::size_t i) { return i < 70000 ? (i % 3 == 0 ? -0.0 : 0.0) : scattered(i) * 1e-30; },
        [](std::size_t i) { return i == 40000 ? 1e30 : std::floor(scattered(i) * 100); },
        [](std::size_t i) { return i % 40000 == 9 ? std::nan("") : 3e38 * scattered(i) - 1e38; },
    };
    for (int exponent = -12; exponent > -24; --exponent) {  // around where sums of so many begin to be rounded
        kinds.push_back([=](std::size_t i) { return std::ldexp(1 + scattered(i), i % 40 == 3 ? exponent : 0); });
    }
    for (const auto& kind : kinds) {
        std::vector<float> values(301 * 500);
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = static_cast<float>(kind(i));
        }
        std::map<String, std::vector<std::uint64_t>> expected;
        for (const VoxelTypes type : {RIX_FLOAT64, RIX_FLOAT32}) {
            std::size_t next = 0;
            const io::MemoryImage image = test::makeImage({.voxelType = type, .extents = {301, 500, 1, 1, 1}},
                                                          [&](auto...) { return values[next++]; });
            for (const OptimLevelType level : test::runnableLevels()) {
                ImageStatistics algorithm;
                algorithm.setAutoCpuDispatch(false);
                algorithm.setOptimLevel(level);
                algorithm.setInputImage(&image);
                algorithm.run();
                const auto bits = bitsOf(*algorithm.getOutputMeasurement());
                EXPECT_TRUE(expected.empty() || bits == expected) << (&kind - kinds.data()) << ' ' << level;
                expected = bits;
            }
        }
    }
}

TEST(ImageStatistics, OfMoreElementsThan32BitsCountAreThoseOfWhatRepeats) {
    if (test::sanitized) {
        GTEST_SKIP() << "too slow with a sanitizer";
    }
    constexpr std::size_t frames = 8192;
    const io::MemoryImage tile = test::makeImage({.extents = {1024, 1024, 1, 1, 1}}, [](auto x, auto y, auto...) {
        return 250 + static_cast<int>(scattered(x + 1024 * y) * 5.5);  // a small deviation of a large mean
    });
    ImageHeader header = helper::headerOf(tile);
    header.extents[SEQUENCE] = frames;  // 2^33 elements
    const StridedImage repeated(static_cast<const void*>(tile.getInternalBuffer()), header, {1, 1024, 0, 0, 0});
    const auto statisticsOf = [](const ImageModel& image) {
        ImageStatistics algorithm;
        algorithm.setInputImage(&image);
        algorithm.setQuantiles("0.3");
        algorithm.run();
        return *algorithm.getOutputMeasurement();
    };
    const ImageStatisticsMsr one = statisticsOf(tile);
    const ImageStatisticsMsr all = statisticsOf(repeated);
    EXPECT_EQ(all.count[0], std::int64_t{1} << 33);
    EXPECT_EQ(all.sum[0], one.sum[0] * frames);
    EXPECT_EQ(all.mean[0], one.mean[0]);
    EXPECT_EQ(all.mode[0], one.mode[0]);
    EXPECT_EQ(all.quantiles.front()[0], one.quantiles.front()[0]);
    for (const auto column : {&ImageStatisticsMsr::variance, &ImageStatisticsMsr::skewness,
                              &ImageStatisticsMsr::kurtosis, &ImageStatisticsMsr::entropy}) {
        expectNear((all.*column)[0], (one.*column)[0], std::fabs(static_cast<Real>((one.*column)[0])), "of moments");
    }
}

TEST(ImageStatistics, RefuseMasksMeasuresAndQuantilesThatAreNone) {
    const io::MemoryImage image = test::makeImage({.extents = {8, 4, 1, 1, 1}}, [](auto...) { return 1; });
    const io::MemoryImage other = test::makeImage({.extents = {8, 3, 1, 1, 1}}, [](auto...) { return 1; });
    const io::MemoryImage wide =
        test::makeImage({.voxelType = RIX_UINT16, .extents = {8, 4, 1, 1, 1}}, [](auto...) { return 256; });
    ImageStatistics algorithm;
    algorithm.setInputImage(&image);
    for (const io::MemoryImage* const mask : {&other, &wide}) {
        algorithm.setInputMaskImage(mask);
        EXPECT_THROW(algorithm.run(), RuleException);
    }
    algorithm.setInputMaskImage(nullptr);
    for (const char* const text : {"0.5,", "1.01", "-0.1", "nan", "half", "0.5 0.6", ",", "0x1p-1"}) {
        algorithm.setQuantiles(text);
        EXPECT_THROW(algorithm.run(), RuleException) << text;
    }
    algorithm.setQuantiles(" ");
    for (const char* const text : {"", "Median", "Mean,", "mean", "Mean;Sum"}) {
        algorithm.setMeasures(text);
        EXPECT_THROW(algorithm.run(), RuleException) << text;
    }
    algorithm.setMeasures(" Mean ,Count, Mean");
    algorithm.run();
    EXPECT_TRUE(algorithm.getOutputMeasurement()->quantiles.empty());
    EXPECT_EQ(algorithm.getOutputMeasurement()->mean.size(), 1U);
    EXPECT_EQ(algorithm.getOutputMeasurement()->sum.size(), 0U);
}

}  // namespace
}  // namespace rix::analysis
