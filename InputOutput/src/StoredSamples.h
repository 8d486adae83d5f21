#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include <rix/image/ImageTypes.h>

namespace rix::io {

/// Types that samples have in files: those of images, and those that become one of them.
enum class StoredType : std::uint8_t {
    UInt8,
    UInt16,
    UInt32,
    UInt64,  ///< becomes uint32
    Int8,
    Int16,
    Int32,
    Int64,    ///< becomes int32
    Float16,  ///< becomes float32
    Float32,
    Float64,
    ComplexFloat32,
    ComplexFloat64,
};

/// The kinds of numbers that headers name beside a size.
enum class StoredKind : std::uint8_t { Unsigned, Signed, Floating, Complex };

/// The type of a kind and a size in bytes of a sample; nothing when images have none for it.
std::optional<StoredType> storedTypeOf(StoredKind kind, std::size_t bytes);
StoredType storedTypeOf(VoxelTypes type);
StoredKind kindOf(StoredType type);
/// The type for which NumPy has a letter and a number of bytes, such as "u2" or "b1" (bool); nothing for others.
std::optional<StoredType> storedTypeOfLetters(std::string_view letters);

/// Bytes of a sample in the file.
std::size_t bytesOf(StoredType type);
VoxelTypes voxelTypeOf(StoredType type);
/// Whether the samples of the file are not those of the image.
bool isConverted(StoredType type);

/// Turns the byte order of samples in place.
void swapByteOrder(StoredType type, std::uint8_t* samples, std::size_t count);

/// Makes samples of the image of samples of the file, in the byte order of this machine.
/// @throws LoadingError for an integer of 64 bits that 32 bits cannot hold
void convertSamples(StoredType type, const std::uint8_t* from, std::uint8_t* to, std::size_t count);

}  // namespace rix::io
