// Phantoms: objects keep their rules, and picture, labels and table tell of the same ones.

#include <rix/synthesis/PhantomImage.h>

#include "SynthesisTestSupport.h"

namespace rix::test {
namespace {

using namespace synthesis;

struct Made {
    std::vector<double> values;
    std::vector<double> labels;
    ShapesMsr table;
};

Made make(PhantomImage& phantom, const std::array<std::int64_t, 5>& extents) {
    Made made;
    io::MemoryImage labels;
    phantom.setOutputLabelImage(&labels);
    phantom.setOutputMeasurement(&made.table);
    phantom.setOutputType(ImageGenerator::FLOAT_64_BIT);
    made.values = valuesOf(madeBy(phantom, extents));
    made.labels = valuesOf(labels);
    return made;
}

TEST(PhantomImage, ShowsTheObjectsOfItsTable) {
    for (const auto kind : {PhantomImage::DISCS, PhantomImage::NUCLEI, PhantomImage::FIBRES, PhantomImage::PORES,
                            PhantomImage::VESSELS}) {
        for (const std::int64_t planes : {1L, 30L}) {
            SCOPED_TRACE(testing::Message() << kind << ", " << planes << " planes");
            PhantomImage phantom;
            phantom.setKind(kind);
            phantom.setSpacing({1, 1, 1});
            phantom.setMinimumRadius(2);
            phantom.setMaximumRadius(6);
            phantom.setNumberOfObjects(25);
            phantom.setOverlap(kind == PhantomImage::FIBRES ? 1.0 : 0.0);
            const Made made = make(phantom, {120, 100, planes, 1, 1});
            const ShapesMsr& table = made.table;
            ASSERT_EQ(table.label.size(), 25U);
            const bool apart = kind != PhantomImage::FIBRES && kind != PhantomImage::VESSELS;
            std::vector<double> sizes(26);
            double sum = 0;
            for (std::size_t i = 0; i < made.values.size(); ++i) {
                const auto label = static_cast<std::size_t>(made.labels[i]);
                sizes.at(label) += 1;
                sum += made.values[i] - 100;
                if (label > 0) {
                    // A voxel whose centre is in an object is not darker (brighter, for pores) than half of its
                    // contrast.
                    const double contrast = table.value[label - 1] - 100;
                    EXPECT_GT((made.values[i] - 100) / contrast, apart ? 0.2 : 0.0);
                }
            }
            double expected = 0;
            for (std::size_t row = 0; row < 25; ++row) {
                const double size = planes > 1 ? table.volume[row] : table.area[row];
                expected += size * (table.value[row] - 100);
                if (apart) {
                    // Whole and free: the centres counted are the size, but for the outline.
                    const double outline = planes > 1 ? table.surfaceArea[row] : table.perimeter[row];
                    EXPECT_NEAR(sizes[row + 1], size, 0.6 * outline) << row;
                    EXPECT_EQ(table.value[row] > 100, kind != PhantomImage::PORES);
                }
            }
            if (apart) {
                EXPECT_NEAR(sum / expected, 1, 2e-3);
            }
        }
    }
}

TEST(PhantomImage, IsOfItsSeedAndKeepsDistance) {
    PhantomImage phantom;
    phantom.setNumberOfObjects(1000);
    phantom.setMinimumRadius(5);
    phantom.setMaximumRadius(9);
    phantom.setOverlap(0.25);
    const Made made = make(phantom, {300, 300, 1, 1, 1});
    const std::size_t count = made.table.label.size();
    EXPECT_GT(count, 150U);
    EXPECT_LT(count, 1000U) << "there is no room for so many";
    for (std::size_t i = 0; i < count; ++i) {
        const double radius = made.table.equivalentDiameter[i] / 2;
        EXPECT_GE(radius, 5 - 1e-12);
        EXPECT_LE(radius, 9 + 1e-12);
        for (std::size_t axis = 0; axis < 2; ++axis) {
            const double place = (axis == 0 ? made.table.x : made.table.y)[i];
            EXPECT_GE(place, radius - 0.5 - 1e-9);
            EXPECT_LE(place, 299.5 - radius + 1e-9);
        }
        for (std::size_t j = 0; j < i; ++j) {
            const double distance = std::hypot(made.table.x[i] - made.table.x[j], made.table.y[i] - made.table.y[j]);
            EXPECT_GE(distance, 0.75 * (radius + made.table.equivalentDiameter[j] / 2) - 1e-9) << i << ' ' << j;
        }
    }
    EXPECT_EQ(make(phantom, {300, 300, 1, 1, 1}).values, made.values);
    phantom.setSeed(1);
    EXPECT_NE(make(phantom, {300, 300, 1, 1, 1}).table.x.values()[0], made.table.x[0]);
}

TEST(PhantomImage, IsSmoothedAndGetsNoiseOfItsOwnInEachFrame) {
    PhantomImage phantom;
    phantom.setBlurStandardDeviation(2);
    const Made sharpened = make(phantom, {128, 128, 1, 2, 1});
    phantom.setBlurStandardDeviation(0);
    const Made sharp = make(phantom, {128, 128, 1, 2, 1});
    EXPECT_EQ(sharpened.labels, sharp.labels);
    const auto roughness = [](const std::vector<double>& values) {
        double sum = 0;
        for (std::size_t i = 1; i < values.size(); ++i) {
            sum += (values[i] - values[i - 1]) * (values[i] - values[i - 1]);
        }
        return sum;
    };
    EXPECT_LT(roughness(sharpened.values), 0.4 * roughness(sharp.values));
    phantom.setNoiseStandardDeviation(5);
    const Made noisy = make(phantom, {128, 128, 1, 2, 1});
    double square = 0;
    double both = 0;
    const std::size_t frame = noisy.values.size() / 2;
    for (std::size_t i = 0; i < frame; ++i) {
        const double first = noisy.values[i] - sharp.values[i];
        square += first * first / static_cast<double>(frame);
        both += first * (noisy.values[frame + i] - sharp.values[frame + i]) / static_cast<double>(frame);
    }
    EXPECT_NEAR(square, 25, 4 * 25 * std::sqrt(2.0 / static_cast<double>(frame)));
    EXPECT_NEAR(both, 0, 4 * 25 / std::sqrt(static_cast<double>(frame)));
}

}  // namespace
}  // namespace rix::test
