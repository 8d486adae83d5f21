#pragma once

#include <cstdint>

#include <gtest/gtest.h>

#include <rix/image/ImageModel.h>

namespace rix::test {

/// How strictly two images are compared; named with designated initialisers at the call. The default accepts no
/// difference at all.
///
/// Without a tolerance samples are compared bit for bit, so that -0 differs from 0; a NaN equals every NaN. The two
/// tolerances hold for reals and for the parts of complex samples; a sample within either of them is accepted.
struct ComparisonOptions {
    double absoluteTolerance = 0.0;
    std::uint64_t unitsInTheLastPlace = 0;
    enum class Headers {
        Everything,       ///< extents, types, interpretations and calibration
        ExtentsAndTypes,  ///< for results that don't keep the rest
    } headers = Headers::Everything;
};

/// Compares two images of any storage: `EXPECT_TRUE(imagesEqual(expected, actual))`.
///
/// The failure tells every difference of the headers; and of the samples how many differ and by how much, and the
/// position and the values of the first.
::testing::AssertionResult imagesEqual(const ImageModel& expected, const ImageModel& actual,
                                       const ComparisonOptions& options = {});

}  // namespace rix::test
