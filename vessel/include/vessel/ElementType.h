#pragma once

#include <cstddef>
#include <cstdint>

#include <vessel/Export.h>

namespace vessel {

/// Type of one sample. A complex sample is a pair (real part, imaginary part) of floats of the named width.
enum class SampleType : std::int32_t {
    UINT8,
    UINT16,
    UINT32,
    INT8,
    INT16,
    INT32,
    INT64,
    FLOAT32,
    FLOAT64,
    COMPLEX_FLOAT32,
    COMPLEX_FLOAT64
};

/// Number and meaning of the samples of one element; they are adjacent in memory. A symmetric matrix keeps only its
/// distinct coefficients.
enum class ElementLayout : std::int32_t { SCALAR, VECTOR_2, VECTOR_3, SYMMETRIC_MATRIX_2, SYMMETRIC_MATRIX_3 };

/// Size of one sample in bytes.
VESSEL_EXPORT std::size_t getSampleSize(SampleType type) noexcept;
/// Samples of one element.
VESSEL_EXPORT std::size_t getSampleCount(ElementLayout layout) noexcept;

/// What one element of an image or tensor is.
struct ElementType {
    SampleType sample = SampleType::UINT8;
    ElementLayout layout = ElementLayout::SCALAR;

    /// Size of one element in bytes.
    std::size_t getSize() const noexcept { return getSampleSize(sample) * getSampleCount(layout); }
    bool operator==(const ElementType&) const = default;
};

}  // namespace vessel
