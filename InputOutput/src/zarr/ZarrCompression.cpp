// Compressed bytes of chunks. What is unpacked has a size that is known before: nothing is allocated for what a file
// promises, and whatever it unpacks to beyond that is refused.

#include <algorithm>
#include <string_view>

#include <blosc.h>
#include <zlib.h>
#include <zstd.h>

#include <rix/exceptions/Exception.h>

#include "ZarrArray.h"

namespace rix::io {
namespace {

constexpr int WithHeaderOfEither = 15 + 32;  // zlib's or gzip's, the largest window

[[noreturn]] void refuse(const char* compression) {
    throw LoadingError(String("The chunk is damaged: it does not unpack with ") + compression +
                       " to as many bytes as the array says.");
}

void inflateInto(const std::vector<std::uint8_t>& from, std::uint8_t* into, std::size_t bytes) {
    z_stream stream{};
    if (inflateInit2(&stream, WithHeaderOfEither) != Z_OK) {
        throw MemoryError("There is not enough memory for zlib.");
    }
    // Sizes of chunks fit 32 bits.
    stream.next_in = const_cast<Bytef*>(from.data());
    stream.avail_in = static_cast<uInt>(from.size());
    stream.next_out = into;
    stream.avail_out = static_cast<uInt>(bytes);
    const int result = inflate(&stream, Z_FINISH);
    const bool isWhole = result == Z_STREAM_END && stream.avail_out == 0;
    inflateEnd(&stream);
    if (!isWhole) {
        refuse("deflate");
    }
}

void unpackBlosc(const std::vector<std::uint8_t>& from, std::uint8_t* into, std::size_t bytes) {
    std::size_t promised = 0;
    if (blosc_cbuffer_validate(from.data(), from.size(), &promised) != 0 || promised != bytes ||
        blosc_decompress_ctx(from.data(), into, bytes, 1) != static_cast<int>(bytes)) {
        refuse("blosc");
    }
}

}  // namespace

std::size_t mostCompressed(std::size_t bytes) {
    constexpr std::size_t headers = std::size_t{1} << 16U;
    return bytes + bytes / 8 + headers;
}

std::size_t ratioOf(const ZarrCompressor& compressor) {
    switch (compressor.kind) {
        case ZarrCompressor::Kind::None: return 1;
        case ZarrCompressor::Kind::Zlib: return 1032;
        default: return 32768;
    }
}

void decompressZarr(const ZarrCompressor& compressor, const std::vector<std::uint8_t>& from, std::uint8_t* into,
                    std::size_t bytes) {
    switch (compressor.kind) {
        case ZarrCompressor::Kind::Blosc: unpackBlosc(from, into, bytes); break;
        case ZarrCompressor::Kind::Zlib: inflateInto(from, into, bytes); break;
        case ZarrCompressor::Kind::Zstd:
            if (ZSTD_decompress(into, bytes, from.data(), from.size()) != bytes) {
                refuse("Zstandard");
            }
            break;
        default:
            if (from.size() != bytes) {
                throw LoadingError("The chunk is damaged: it has " + std::to_string(from.size()) +
                                   " bytes instead of " + std::to_string(bytes) + '.');
            }
            std::copy(from.begin(), from.end(), into);
    }
}

std::vector<std::uint8_t> compressZarr(const ZarrCompressor& compressor, const std::uint8_t* from, std::size_t bytes,
                                       std::size_t sampleBytes) {
    std::vector<std::uint8_t> packed;
    bool isPacked = true;
    switch (compressor.kind) {
        case ZarrCompressor::Kind::Blosc: {
            packed.resize(bytes + BLOSC_MAX_OVERHEAD);
            const int size = blosc_compress_ctx(compressor.level, compressor.shuffle, sampleBytes, bytes, from,
                                                packed.data(), packed.size(), compressor.codec.c_str(), 0, 1);
            isPacked = size > 0;
            packed.resize(isPacked ? static_cast<std::size_t>(size) : 0);
            break;
        }
        case ZarrCompressor::Kind::Zlib: {
            uLongf size = compressBound(bytes);
            packed.resize(size);
            isPacked = compress2(packed.data(), &size, from, bytes, compressor.level) == Z_OK;
            packed.resize(size);
            break;
        }
        case ZarrCompressor::Kind::Zstd: {
            packed.resize(ZSTD_compressBound(bytes));
            const std::size_t size = ZSTD_compress(packed.data(), packed.size(), from, bytes, compressor.level);
            isPacked = ZSTD_isError(size) == 0;
            packed.resize(isPacked ? size : 0);
            break;
        }
        default: packed.assign(from, from + bytes);
    }
    if (!isPacked) {
        throw WritingError("A chunk of " + std::to_string(bytes) + " bytes cannot be compressed.");
    }
    return packed;
}

}  // namespace rix::io
