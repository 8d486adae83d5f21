#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

class EnumInfo;

/// Type of one sample. The numbers are part of the interface: they index tables, are stored in files and are printed.
/// Codes 3 and 7 are unassigned and stay so.
enum VoxelTypes : std::int32_t {
    RIX_UINT8 = 0,
    RIX_UINT16 = 1,
    RIX_UINT32 = 2,
    RIX_INT8 = 4,
    RIX_INT16 = 5,
    RIX_INT32 = 6,
    RIX_FLOAT32 = 8,
    RIX_FLOAT64 = 9,
    RIX_COMPLEX_FLOAT32 = 10,
    RIX_COMPLEX_FLOAT64 = 11
};

/// Number and arrangement of the samples of one element. A symmetric matrix stores only its distinct coefficients.
enum ElementTypes : std::int32_t {
    SINGLE = 0,
    VECTOR_2 = 16,
    VECTOR_3 = 32,
    MATRIX_2X2_SYM = 256,
    MATRIX_3X3_SYM = 512
};

/// What the values of an image mean.
enum Interpretations : std::int32_t { RIX_BINARY = 0, RIX_LABEL = 1, RIX_VALUE = 2 };

/// What the channels of the spectral axis mean; independent of the interpretation and of the element type.
enum ColorInterpretation : std::int32_t { UNKNOWN = 0, RGB = 1, HSL = 2, YIQ = 3, NRGB = 4 };

/// The axes of an image in storage order, fastest first.
enum Components : std::int32_t { COLUMNS = 0, ROWS = 1, PLANS = 2, SEQUENCE = 3, SPECTRAL_SERIES = 4 };

/// Bounds of a loop over the axes.
inline constexpr int RIX_COMPONENTS_FIRST = 0;
inline constexpr int RIX_COMPONENTS_SIZE = 5;

/// What `ImageModel::enforceSameCharacteristics` copies; combined bit by bit in an `int`.
enum ImageCharacteristics : std::int32_t {
    SIZE = 1,
    TYPE = 2,
    CALIBRATION = 4,
    INTERPRETATION = 8,
    ALL_CHARACTERISTICS = 15
};

/// Rows are passed as bytes and interpreted with the image's element size.
using RawData = std::uint8_t*;
using ConstRawData = const std::uint8_t*;

/// Descriptions of the enumerations for text forms, under the names "VoxelTypes", "ElementTypes", "Interpretations".
RIX_EXPORT const EnumInfo& getInfoVoxelTypes();
RIX_EXPORT const EnumInfo& getInfoElementTypes();
RIX_EXPORT const EnumInfo& getInfoInterpretations();
RIX_EXPORT const EnumInfo& getInfoColorInterpretation();

namespace helper {

/// Size of a sample in bytes; 0 for an unassigned code.
RIX_EXPORT std::size_t getSizeOf(const VoxelTypes& type);
/// Number of samples of an element; 0 for an unknown value.
RIX_EXPORT std::size_t getElementNumber(const ElementTypes& type);

/// "uint8", ..., "complex float64"; "undefined voxel type string equivalence" for an unassigned code.
RIX_EXPORT String voxelTypesToString(const VoxelTypes& type);
/// "scalar", "2-Vector", ...; empty for a value that the enumeration does not know.
RIX_EXPORT String elementTypesToString(const ElementTypes& type);
/// "binary", "label", "value"; otherwise "undefined interpretation string equivalence".
RIX_EXPORT String interpretationsToString(const Interpretations& interpretation);
/// "columns", "rows", "plans", "sequence", "spectral series"; otherwise "undefined component string equivalence".
RIX_EXPORT String componentToString(const Components& component);
/// "unknown", "RGB", "HSL", "YIQ", "NRGB"; otherwise "undefined color interpretation string equivalence".
RIX_EXPORT String colorInterpretationToString(const ColorInterpretation& interpretation);

/// The type in which two types meet, from a fixed symmetric table. Not every choice is lossless: `RIX_UINT32` with a
/// signed integer gives `RIX_INT32`. Codes outside 0 to 11 throw `BadIndex`.
RIX_EXPORT VoxelTypes lesserCommonType(VoxelTypes a, VoxelTypes b);

/// The product of two extents or sizes, or false when it does not fit 64 bits (`result` is then unchanged).
[[nodiscard]] constexpr bool checkedMultiply(std::size_t a, std::size_t b, std::size_t& result) {
    std::size_t product = 0;
    if (__builtin_mul_overflow(a, b, &product)) {
        return false;
    }
    result = product;
    return true;
}

}  // namespace helper
}  // namespace rix
