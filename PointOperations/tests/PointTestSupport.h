#pragma once

// What the tests of point operations share: whole images as vectors, and a reference of the conversions
// that is written from their definition.

#include "Kernels.h"

namespace rix::point_operations::test {

using rix::test::allTypes;
using rix::test::Extents;
using rix::test::Extremes;
using rix::test::imagesEqual;
using rix::test::integerTypes;
using rix::test::Kernels;
using rix::test::makeRandomImage;
using rix::test::runnableKernels;
using rix::test::runOn;
using rix::test::samplesOf;

inline bool isComplexType(VoxelTypes type) {
    return type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64;
}

/// A memory image of type T like another image, with given samples in storage order.
template <class T>
io::MemoryImage imageLike(const ImageModel& model, const std::vector<T>& samples, Interpretations interpretation) {
    const Extents n = helper::getExtents(model);
    io::MemoryImage image;
    EXPECT_TRUE(image.reserve(access::voxelTypeOf<T>, n[0], n[1], n[2], n[3], n[4]));
    image.enforceSameCharacteristics(&model, CALIBRATION);
    image.setColorInterpretation(model.getColorInterpretation());
    image.setInterpretation(interpretation);
    std::memcpy(image.getInternalBuffer(), samples.data(), samples.size() * sizeof(T));
    return image;
}

/// The integer that a real is truncated to before its low bits are kept.
template <class Integer>
std::int64_t referenceTruncation(long double value) {
    const long double whole = std::trunc(value);
    const bool fits = whole >= static_cast<long double>(std::numeric_limits<Integer>::min()) &&
                      whole <= static_cast<long double>(std::numeric_limits<Integer>::max());
    return fits ? static_cast<std::int64_t>(whole) : std::numeric_limits<Integer>::min();
}

template <class To, class From>
To referenceCast(From value) {
    if constexpr (access::isComplex<From>) {
        if constexpr (access::isComplex<To>) {
            using Part = typename To::value_type;
            return To(referenceCast<Part>(value.real()), referenceCast<Part>(value.imag()));
        } else {
            return referenceCast<To>(value.real());
        }
    } else if constexpr (access::isComplex<To>) {
        return To(referenceCast<typename To::value_type>(value), 0);
    } else if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(value);
    } else if constexpr (std::is_floating_point_v<From>) {
        return static_cast<To>(sizeof(To) == 4 && std::is_unsigned_v<To> ? referenceTruncation<std::int64_t>(value)
                                                                         : referenceTruncation<std::int32_t>(value));
    } else {
        return static_cast<To>(static_cast<std::int64_t>(value));
    }
}

/// The samples of an image of any type, converted by the reference.
template <class To>
std::vector<To> convertedSamples(const ImageModel& image) {
    std::vector<To> result;
    access::dispatch(access::AllTypes{}, image.getVoxelType(), [&](auto tag) {
        using From = typename decltype(tag)::type;
        for (const From sample : samplesOf<From>(image)) {
            const bool binary = image.getInterpretation() == RIX_BINARY;
            result.push_back(referenceCast<To>(binary ? From(sample != From(0) ? 1 : 0) : sample));
        }
    });
    return result;
}

}  // namespace rix::point_operations::test
