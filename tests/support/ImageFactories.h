#pragma once

#include <array>
#include <complex>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>

#include <rix/image/ImageTypes.h>
#include <rix/image/MemoryImage.h>

namespace rix::test {

inline constexpr VoxelTypes integerTypes[] = {RIX_UINT8, RIX_UINT16, RIX_UINT32, RIX_INT8, RIX_INT16, RIX_INT32};
inline constexpr VoxelTypes realTypes[] = {RIX_UINT8, RIX_UINT16, RIX_UINT32,  RIX_INT8,
                                           RIX_INT16, RIX_INT32,  RIX_FLOAT32, RIX_FLOAT64};
inline constexpr VoxelTypes allTypes[] = {RIX_UINT8,           RIX_UINT16,         RIX_UINT32,  RIX_INT8,
                                          RIX_INT16,           RIX_INT32,          RIX_FLOAT32, RIX_FLOAT64,
                                          RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64};

/// Columns, rows, planes, sequence, spectral series.
using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// Calls `use` with the position of every element, in storage order.
template <class Use>
void forEachPosition(const Extents& extents, const Use& use) {
    std::size_t count = 1;
    for (const std::size_t extent : extents) {
        count *= extent;
    }
    for (std::size_t i = 0; i < count; ++i) {
        Extents position;
        std::size_t rest = i;
        for (std::size_t axis = 0; axis < extents.size(); ++axis) {
            position[axis] = rest % extents[axis];
            rest /= extents[axis];
        }
        use(position);
    }
}

/// Calls `function(row, plane, sequence, spectral)` for every row of an image that has columns, until one gives false.
/// @return whether none did
template <class F>
bool forEachRow(const ImageModel& image, F&& function) {
    Extents rows = helper::getExtents(image);
    rows[COLUMNS] = rows[COLUMNS] == 0 ? 0 : 1;
    bool goesOn = true;
    forEachPosition(rows, [&](const Extents& p) {
        goesOn = goesOn && function(p[ROWS], p[PLANS], p[SEQUENCE], p[SPECTRAL_SERIES]);
    });
    return goesOn;
}

/// What an image made by a test looks like; named with designated initialisers at the call.
struct ImageTraits {
    VoxelTypes voxelType = RIX_UINT8;
    Extents extents{1, 1, 1, 1, 1};
    ElementTypes elementType = SINGLE;
    Interpretations interpretation = RIX_VALUE;
};

/// A sample of any type on its way into an image. Integers stay integers, so that none is rounded.
class SampleValue {
public:
    template <std::integral I>
    SampleValue(I value) : m_integer(static_cast<std::int64_t>(value)), m_isInteger(true) {}
    template <std::floating_point F>
    SampleValue(F value) : m_real(static_cast<double>(value)) {}
    template <std::floating_point F>
    SampleValue(std::complex<F> value) : m_real(value) {}

    /// The value as a sample of type `T`. Integers keep their low bits; a real becomes an integer toward zero.
    /// @throws std::range_error for a real beyond the range of the integer type: a test that wants such a value says
    ///         which sample it means.
    template <class T>
    T as() const;

private:
    std::int64_t m_integer = 0;
    std::complex<double> m_real;
    bool m_isInteger = false;
};

/// The sample number `sample` of the element at the five coordinates.
using SampleFunction = std::function<SampleValue(std::size_t column, std::size_t row, std::size_t plane,
                                                 std::size_t sequence, std::size_t spectral, std::size_t sample)>;

/// Writes every sample of an image of any storage, row by row.
void fillImage(ImageModel& image, const SampleFunction& function);

/// An image filled from a function of the five coordinates, or of these and the index of the sample in its element.
/// Spacings are 1, origins 0.
io::MemoryImage makeImageFromSamples(const ImageTraits& traits, const SampleFunction& function);

template <class F>
io::MemoryImage makeImage(const ImageTraits& traits, F function) {
    using Index = std::size_t;
    if constexpr (std::is_invocable_v<F, Index, Index, Index, Index, Index, Index>) {
        return makeImageFromSamples(traits, function);
    } else {
        return makeImageFromSamples(traits, [&function](Index c, Index y, Index z, Index t, Index s, Index) {
            return function(c, y, z, t, s);
        });
    }
}

/// Which values a random image has beside ordinary ones (integers of the whole range, reals within 1000 of 0).
enum class Extremes {
    None,
    Finite,  ///< a quarter of the samples: the ends of the range, 0, -0, 1, -1, the smallest and subnormal reals
    All,     ///< also infinities and NaN
};

/// A random image: the same for the same arguments on every machine, and never all zero. Binary images hold 0 and 1,
/// label images 0 to 9, whatever `extremes` says.
io::MemoryImage makeRandomImage(const ImageTraits& traits, std::uint64_t seed, Extremes extremes = Extremes::Finite);

/// Gives every part of the calibration a value of its own, so that none can be lost or exchanged unnoticed.
void setDistinctCalibration(ImageModel& image);

}  // namespace rix::test
