#pragma once

// What the tests of point operations share: the levels, whole images as vectors, and a reference of the conversions
// that is written from their definition.

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/access/ForcedStores.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/image/MemoryImage.h>
#include <rix/settings/Settings.h>

#include "ImageComparison.h"
#include "ImageFactories.h"
#include "ImageSamples.h"
#include "Levels.h"

namespace rix::point_operations::test {

using rix::test::Extents;
using rix::test::Extremes;
using rix::test::imagesEqual;
using rix::test::makeRandomImage;
using rix::test::samplesOf;

inline constexpr VoxelTypes allTypes[] = {RIX_UINT8,           RIX_UINT16,         RIX_UINT32,  RIX_INT8,
                                          RIX_INT16,           RIX_INT32,          RIX_FLOAT32, RIX_FLOAT64,
                                          RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64};
inline constexpr VoxelTypes integerTypes[] = {RIX_UINT8, RIX_UINT16, RIX_UINT32, RIX_INT8, RIX_INT16, RIX_INT32};

inline bool isComplexType(VoxelTypes type) {
    return type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64;
}

/// The kernels that a run uses: those of a level, with a policy of stores.
struct Kernels {
    Kernels(OptimLevelType kernelLevel, access::Stores kernelStores = access::Stores::Cached)
        : level(kernelLevel), stores(kernelStores) {}

    OptimLevelType level;
    access::Stores stores;
};

inline std::ostream& operator<<(std::ostream& out, const Kernels& kernels) {
    return out << kernels.level << (kernels.stores == access::Stores::Streaming ? ", streaming" : "");
}

inline std::vector<Kernels> runnableKernels() {
    std::vector<Kernels> all;
    for (const OptimLevelType level : rix::test::runnableLevels()) {
        all.insert(all.end(), {{level, access::Stores::Cached}, {level, access::Stores::Streaming}});
    }
    return all;
}

/// Runs on one level and asserts that this level answered.
inline void runOn(BaseAlgorithm& algorithm, const Kernels& kernels) {
    const access::ForcedStores forced(kernels.stores);
    algorithm.settings().setMaximumNumberOfThreads(1);
    algorithm.setAutoCpuDispatch(false);
    algorithm.setOptimLevel(kernels.level);
    algorithm.run();
    EXPECT_EQ(algorithm.getLastRunLevel(), kernels.level);
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
