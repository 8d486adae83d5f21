#pragma once

// What the tests of grey levels share: images made by a function.

#include "Kernels.h"

namespace rix::manipulation::test {

using rix::test::Extents;
using rix::test::Extremes;
using rix::test::imagesEqual;
using rix::test::makeRandomImage;
using rix::test::onEveryLevel;
using rix::test::realTypes;
using rix::test::samplesOf;

inline bool isFloating(VoxelTypes type) {
    return type == RIX_FLOAT32 || type == RIX_FLOAT64;
}

/// A real as a sample: rounded to nearest, ties to even, and clamped to integer types, in which NaN is 0.
template <class T>
T sampleOf(long double value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        constexpr auto lowest = static_cast<long double>(std::numeric_limits<T>::min());
        constexpr auto highest = static_cast<long double>(std::numeric_limits<T>::max());
        return std::isnan(value) ? T(0) : static_cast<T>(std::clamp(std::nearbyint(value), lowest, highest));
    }
}

/// The image of a type whose samples `function` makes of those of another image, which a binary one has as 0 and 1.
template <class Function>
io::MemoryImage mapped(const ImageModel& image, VoxelTypes type, const Function& function,
                       Interpretations interpretation = RIX_VALUE) {
    const Extents n = helper::getExtents(image);
    io::MemoryImage result;
    EXPECT_TRUE(result.reserve(type, n[0], n[1], n[2], n[3], n[4]));
    result.enforceSameCharacteristics(&image, CALIBRATION);
    result.setColorInterpretation(image.getColorInterpretation());
    result.setInterpretation(interpretation);
    const bool binary = image.getInterpretation() == RIX_BINARY;
    access::dispatch(access::Reals{}, image.getVoxelType(), access::Reals{}, type, [&](auto from, auto to) {
        using From = typename decltype(from)::type;
        using To = typename decltype(to)::type;
        auto* out = reinterpret_cast<To*>(result.getInternalBuffer());
        for (const From sample : samplesOf<From>(image)) {
            const long double value = binary ? (sample != From(0) ? 1.0L : 0.0L) : static_cast<long double>(sample);
            *out++ = sampleOf<To>(function(value));
        }
    });
    return result;
}

/// Of every type: random samples with the extremes of the type, NaN, infinities and zeros of both signs.
inline io::MemoryImage extremeImage(VoxelTypes type, const Extents& extents = {331, 7, 1, 1, 1}) {
    io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = extents}, 5, Extremes::All);
    rix::test::setDistinctCalibration(image);
    return image;
}

}  // namespace rix::manipulation::test
