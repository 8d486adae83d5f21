#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/Export.h>
#include <rix/image/ImageModel.h>

/// The voxel type of the result of an operation on two operands.
namespace rix {

/// The tables of result types, by the kind of operation.
enum PromotionTypesRulesType : std::int32_t {
    PROMOTION_ADDITIVE = 0,        ///< addition, subtraction, division
    PROMOTION_MULTIPLICATIVE = 1,  ///< multiplication
    PROMOTION_MINIMUM = 2,
    PROMOTION_MAXIMUM = 3
};

namespace rules {

/// The real voxel types in the order of rows and columns of the promotion tables.
inline constexpr std::array<VoxelTypes, 8> promotionTypes{RIX_UINT8, RIX_UINT16, RIX_UINT32,  RIX_INT8,
                                                          RIX_INT16, RIX_INT32,  RIX_FLOAT32, RIX_FLOAT64};

/// Row: type of the first operand. Column: type of the second.
using PromotionTable = std::array<std::array<VoxelTypes, 8>, 8>;

namespace promotion {

// Short names keep the tables readable as tables.
inline constexpr VoxelTypes u8 = RIX_UINT8;
inline constexpr VoxelTypes u16 = RIX_UINT16;
inline constexpr VoxelTypes u32 = RIX_UINT32;
inline constexpr VoxelTypes i8 = RIX_INT8;
inline constexpr VoxelTypes i16 = RIX_INT16;
inline constexpr VoxelTypes i32 = RIX_INT32;
inline constexpr VoxelTypes f32 = RIX_FLOAT32;
inline constexpr VoxelTypes f64 = RIX_FLOAT64;

/// The tables by kind. They are part of the interface, also where they are neither symmetric nor lossless.
inline constexpr std::array<PromotionTable, 4> tables{{
    // PROMOTION_ADDITIVE
    {{
        // u8   u16  u32  i8   i16  i32  f32  f64
        {{i16, i32, i32, i16, i16, i32, f32, f64}},  // u8
        {{i32, i32, i32, i32, i32, i32, f32, f64}},  // u16
        {{i32, i32, i32, i32, i32, i32, f32, f64}},  // u32
        {{i16, i32, i32, i16, i16, i32, f32, f64}},  // i8
        {{i16, i32, i32, i16, i16, i32, f32, f64}},  // i16
        {{i32, i32, i32, i32, i32, i32, f32, f64}},  // i32
        {{f32, f32, f32, f32, f32, f32, f32, f64}},  // f32
        {{f64, f64, f64, f64, f64, f64, f64, f64}},  // f64
    }},
    // PROMOTION_MULTIPLICATIVE
    {{
        {{u16, i32, u32, i16, i16, i32, f32, f64}},  // u8
        {{i32, i32, u32, i32, i32, i32, f32, f64}},  // u16
        {{u32, u32, u32, i32, i32, i32, f32, f64}},  // u32
        {{i16, i32, i32, i16, i16, i32, f32, f64}},  // i8
        {{i16, i32, i32, i16, i16, i32, f32, f64}},  // i16
        {{i32, i32, i32, i32, i32, i32, f32, f64}},  // i32
        {{f32, f32, f32, f32, f32, f32, f32, f64}},  // f32
        {{f64, f64, f64, f64, f64, f64, f64, f64}},  // f64
    }},
    // PROMOTION_MINIMUM
    {{
        {{u8, u8, u8, i8, i16, i32, f32, f64}},      // u8
        {{u8, u16, u16, i8, i16, i32, f32, f64}},    // u16
        {{u8, u16, u32, i8, i16, i32, f32, f64}},    // u32
        {{i8, i8, i8, i8, i16, i32, f32, f64}},      // i8
        {{i16, i16, i16, i16, i16, i32, f32, f64}},  // i16
        {{i32, i32, i32, i32, i32, i32, f32, f64}},  // i32
        {{f32, f32, f32, f32, f32, f32, f32, f64}},  // f32
        {{f64, f64, f64, f64, f64, f64, f64, f64}},  // f64
    }},
    // PROMOTION_MAXIMUM
    {{
        {{u8, u16, u32, u8, u8, i32, f32, f64}},     // u8
        {{u16, u16, u32, u16, u16, u16, f32, f64}},  // u16
        {{u32, u32, u32, u32, u32, u32, f32, f64}},  // u32
        {{u8, u16, u32, i8, i16, i32, f32, f64}},    // i8
        {{u8, u16, u32, i16, i16, i32, f32, f64}},   // i16
        {{i32, u16, u32, i32, i32, i32, f32, f64}},  // i32
        {{f32, f32, f32, f32, f32, f32, f32, f64}},  // f32
        {{f64, f64, f64, f64, f64, f64, f64, f64}},  // f64
    }},
}};

}  // namespace promotion

/// The type as which a number counts beside an image of voxel type `imageType`: `RIX_INT16` for a whole number that
/// fits it, then `RIX_INT32`, then `RIX_UINT32`; else `RIX_FLOAT32` beside images of single precision, real or
/// complex, and `RIX_FLOAT64` beside all others. NaN and infinities are no whole numbers.
RIX_EXPORT VoxelTypes classifyValue(VoxelTypes imageType, double value);

}  // namespace rules

/// The type of the result of an operation on operands of two types. A complex operand counts as its real type and
/// makes the result complex.
/// @throws RuleException "unsupported type of rule" for an unknown kind; a RuleException too for a code that is no
///         voxel type.
RIX_EXPORT VoxelTypes getPromotedType(VoxelTypes first, VoxelTypes second, PromotionTypesRulesType kind);

/// The same for two images. @throws InvalidCall for a null image.
RIX_EXPORT VoxelTypes getPromotedType(const ImageModel* first, const ImageModel* second, PromotionTypesRulesType kind);

/// The same for an image and a number, which counts as `rules::classifyValue` tells: 3 added to a `RIX_UINT8` image
/// gives a `RIX_INT16` one. @throws InvalidCall for a null image.
RIX_EXPORT VoxelTypes getPromotedType(const ImageModel* image, double value, PromotionTypesRulesType kind);

}  // namespace rix
