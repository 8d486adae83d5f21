#include <algorithm>
#include <array>

#include "../Chunks.h"
#include "TiffChunks.h"
#include "TiffReader.h"
#include "TiffWriter.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 2> Extensions{"tif", "tiff"};
constexpr std::array<const char*, 2> OmeExtensions{"ome.tif", "ome.tiff"};

/// "II" or "MM" for the byte order, then 42, or 43 for BigTIFF, in that order.
bool recognises(std::span<const std::uint8_t> beginning) {
    constexpr std::array<std::array<std::uint8_t, 4>, 4> signatures{
        {{'I', 'I', 42, 0}, {'M', 'M', 0, 42}, {'I', 'I', 43, 0}, {'M', 'M', 0, 43}}};
    return std::any_of(signatures.begin(), signatures.end(), [&](const auto& signature) {
        return beginning.size() >= signature.size() &&
               std::equal(signature.begin(), signature.end(), beginning.begin());
    });
}

/// What is on the pages is in their description: the reader of TIFF asks it.
bool recognisesNothing(std::span<const std::uint8_t>) {
    return false;
}

constexpr ChunkedAccess Access{nullptr, nullptr, &openTiff, nullptr};

}  // namespace

const Codec tiffCodec{"TIFF",    Extensions, &recognises, &refusalOfTiff, &readTiffInfo,
                      &readTiff, &writeTiff, true,        false,          &Access};
const Codec omeTiffCodec{"OME-TIFF",    OmeExtensions, &recognisesNothing, &refusalOfTiff,
                         &readTiffInfo, &readTiff,     &writeOmeTiff,      true,
                         false,         &Access};

}  // namespace rix::io
