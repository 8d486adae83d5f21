// The thresholds of real pictures, against the formulas of the criteria.

#include <gtest/gtest.h>

#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/image/MemoryImage.h>
#include <rix/io/ImageFile.h>

#include "ImageFactories.h"
#include "ImageValues.h"
#include "ReferenceThresholds.h"

namespace rix {
namespace {

using analysis::AutoThresholdingValue;

double thresholdOf(const ImageModel& image, AutoThresholdingValue::ThresholdCriterionType criterion) {
    AutoThresholdingValue algorithm;
    analysis::AutoThresholdingMsr measurement;
    algorithm.setInputGrayImage(&image);
    algorithm.setThresholdCriterion(criterion);
    algorithm.setOutputMeasurement(&measurement);
    algorithm.run();
    return measurement.threshold[0];
}

TEST(ThresholdsOfSamples, EqualTheFormulas) {
    for (const char* name : {"coins.png", "cell.png", "gravel.png"}) {
        const auto image = io::readImage(String(RIX_SAMPLES "/") + name);
        const std::vector<double> values = test::allValues(*image);
        // The same picture with 16 bits, by a factor that makes its classes uneven, and as reals.
        const auto n = helper::getExtents(*image);
        const auto scaled = [&](double factor) {
            return
                [&values, &n, factor](std::size_t c, std::size_t y, auto...) { return factor * values[c + n[0] * y]; };
        };
        const io::MemoryImage wide = test::makeImage({.voxelType = RIX_UINT16, .extents = n}, scaled(257));
        const io::MemoryImage real = test::makeImage({.voxelType = RIX_FLOAT32, .extents = n}, scaled(0.125));
        for (const auto criterion : {AutoThresholdingValue::ENTROPY, AutoThresholdingValue::FACTORISATION,
                                     AutoThresholdingValue::MOMENTS, AutoThresholdingValue::ISODATA}) {
            for (const ImageModel* picture :
                 {static_cast<const ImageModel*>(image.get()), static_cast<const ImageModel*>(&wide),
                  static_cast<const ImageModel*>(&real)}) {
                const auto own = test::allValues(*picture);
                const double expected =
                    test::referenceThreshold(criterion, own, test::referenceRange(own), picture != &real);
                EXPECT_EQ(thresholdOf(*picture, criterion), expected)
                    << name << " as " << helper::voxelTypesToString(picture->getVoxelType()) << ", criterion "
                    << criterion;
            }
        }
    }
}

}  // namespace
}  // namespace rix
