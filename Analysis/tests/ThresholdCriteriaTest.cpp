// The criteria on histograms made by the tests, against their formulas.

#include <rix/access/PlainContext.h>
#include <rix/analysis/ThresholdCriteria.h>

#include "ReferenceThresholds.h"

namespace rix::analysis {
namespace {

test::ReferenceHistogram referenceOf(const math::Histogram& histogram) {
    const auto counts = histogram.getCounts();
    return {{counts.begin(), counts.end()}, histogram.getMinimum(), histogram.getBinSize()};
}

math::Histogram makeHistogram(std::size_t classes, double minimum, double width,
                              const std::function<std::uint64_t(std::size_t)>& count) {
    math::Histogram histogram(classes, minimum, minimum + width * static_cast<double>(classes));
    for (std::size_t i = 0; i < classes; ++i) {
        histogram.addToClass(i, count(i));
    }
    return histogram;
}

/// Counts of a mixture of bells, none of them symmetric.
std::uint64_t bells(std::size_t i, std::initializer_list<std::array<double, 3>> parts) {
    double sum = 0.0;
    for (const auto& [centre, width, height] : parts) {
        const double x = (static_cast<double>(i) - centre) / width;
        sum += height * std::exp(-0.5 * x * x / (x > 0 ? 2.0 : 1.0));
    }
    return static_cast<std::uint64_t>(sum);
}

std::vector<math::Histogram> generatedHistograms() {
    std::mt19937_64 random(17);
    std::vector<math::Histogram> all;
    const auto add = [&](std::size_t classes, double minimum, double width, auto count) {
        all.push_back(makeHistogram(classes, minimum, width, count));
    };
    add(256, 0, 1, [](std::size_t i) { return bells(i, {{60, 12, 9000}, {180, 25, 4000}}); });
    add(256, 0, 1, [](std::size_t i) { return bells(i, {{40, 9, 90000}, {90, 5, 300}, {230, 3, 70}}); });
    add(256, -128, 1, [](std::size_t i) { return bells(i, {{200, 30, 1000000}}); });
    add(256, 0, 1, [&](std::size_t) { return random() % 1000; });
    add(200, 17, 1, [&](std::size_t i) { return i % 7 == 3 ? random() % 100000 : 0; });
    add(65535, -2147483648.0, 65537, [](std::size_t i) { return bells(i, {{9000, 800, 900}, {40000, 4000, 1700}}); });
    add(65535, 0, 0.25, [&](std::size_t i) { return random() % 50 + bells(i, {{50000, 90, 40000}}); });
    add(4096, 1000, 1, [](std::size_t i) { return 4096 - i; });
    add(2, 5, 1, [](std::size_t i) { return i == 0 ? 1000 : 1000000; });
    add(1000, 0, 1, [](std::size_t i) { return i * i % 1009 * (i / 300); });
    return all;
}

using Criterion = double (*)(const math::Histogram&);
using Reference = double (*)(const test::ReferenceHistogram&);
constexpr struct {
    const char* name;
    Criterion criterion;
    Reference reference;
} criteria[] = {
    {"ENTROPY", &details::computeThresholdEntropy, &test::referenceEntropy},
    {"FACTORISATION", &details::computeThresholdFactorization, &test::referenceFactorisation},
    {"MOMENTS", &details::computeThresholdMoments, &test::referenceMoments},
};

TEST(ThresholdCriteria, EqualTheirFormulasOnGeneratedHistograms) {
    const auto histograms = generatedHistograms();
    ASSERT_EQ(histograms.size(), 10U);
    for (std::size_t i = 0; i < histograms.size(); ++i) {
        for (const auto& [name, criterion, reference] : criteria) {
            EXPECT_EQ(criterion(histograms[i]), reference(referenceOf(histograms[i]))) << name << " of histogram " << i;
        }
    }
}

TEST(ThresholdCriteria, DecideTiesForTheFirstClass) {
    // Mirror images of themselves: the cuts on both sides of the middle are equally good.
    for (const std::uint64_t n : {1U, 3U, 7U, 1000003U}) {
        const auto histogram = makeHistogram(5, 100, 1, [n](std::size_t i) { return i % 2 == 0 ? n : 0; });
        EXPECT_EQ(details::computeThresholdEntropy(histogram), 101) << n;
        EXPECT_EQ(details::computeThresholdFactorization(histogram), 101) << n;
    }
    // Half of the voxels lie up to class 1, exactly as many as the moments ask for.
    const auto symmetric = makeHistogram(4, 0, 1, [](std::size_t i) { return i == 1 || i == 2 ? 3 : 7; });
    EXPECT_EQ(details::computeThresholdMoments(symmetric), 2);
}

TEST(ThresholdCriteria, GiveTheFirstClassStartOfAnEmptyHistogram) {
    const io::MemoryImage image =
        test::makeImage({.voxelType = RIX_FLOAT32, .extents = {5, 4, 1, 1, 1}}, [](auto...) { return std::nan(""); });
    access::PlainContext context(access::serialScheduler());
    const math::Histogram empty(10, 3.0, 5.0);
    for (const auto criterion : {ThresholdChoices::ENTROPY, ThresholdChoices::FACTORISATION, ThresholdChoices::MOMENTS,
                                 ThresholdChoices::ISODATA}) {
        EXPECT_EQ(details::computeThreshold(criterion, empty, image, context), 3.0) << criterion;
        EXPECT_THROW(static_cast<void>(details::computeThreshold(criterion, math::Histogram(), image, context)),
                     InvalidCall);
    }
    EXPECT_EQ(
        details::computeThreshold(static_cast<ThresholdChoices::ThresholdCriterionType>(4), empty, image, context),
        0.0);
}

TEST(ThresholdCriteria, FailWhereNoClassFollows) {
    const auto one = makeHistogram(1, 7, 1, [](std::size_t) { return 12; });
    for (const Criterion criterion : {&details::computeThresholdEntropy, &details::computeThresholdFactorization}) {
        EXPECT_EQ(test::messageOf<InvalidCall>([&] { static_cast<void>(criterion(one)); }),
                  "The class index must be less than the number of classes 1");
    }
    // The moments of a single occupied class ask for no class at all.
    EXPECT_EQ(details::computeThresholdMoments(one), 7);
}

TEST(ThresholdCriteria, IsodataStopsAfterTenIterations) {
    // Values whose density falls steadily: the middle of the means creeps from the bright end to where it belongs.
    std::vector<double> values;
    for (int i = 0; i < 4000; ++i) {
        values.push_back((1.0 + i) * (1.0 + i));  // whole numbers that single precision holds exactly
    }
    math::Histogram histogram(2, 0.0, 3.0e7);
    histogram.addIntensity(0.0);
    histogram.addIntensity(2.0e7);  // it starts between the two classes, at 1.5e7
    const auto step = [&](double threshold) {
        double sums[2] = {0.0, 0.0};
        double counts[2] = {0.0, 0.0};
        for (const double value : values) {
            sums[value < threshold ? 0 : 1] += value;
            counts[value < threshold ? 0 : 1] += 1.0;
        }
        return (sums[0] / counts[0] + sums[1] / counts[1]) / 2;
    };
    double tenth = 1.5e7;
    for (int i = 0; i < 10; ++i) {
        tenth = step(tenth);
    }
    ASSERT_GT(std::abs(step(tenth) - tenth), 1e-6) << "the values let it settle too soon";
    for (const VoxelTypes type : {RIX_FLOAT64, RIX_FLOAT32, RIX_INT32, RIX_UINT32}) {
        const io::MemoryImage image = test::makeImage(
            {.voxelType = type, .extents = {400, 5, 2, 1, 1}},
            [&](std::size_t c, std::size_t y, std::size_t z, auto...) { return values[c + 400 * (y + 5 * z)]; });
        access::PlainContext context(access::serialScheduler());
        EXPECT_EQ(details::computeThresholdIsodata(histogram, image, context), tenth) << type;
    }
}

}  // namespace
}  // namespace rix::analysis
