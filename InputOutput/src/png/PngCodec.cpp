#include <algorithm>
#include <array>

#include "../Codec.h"
#include "PngReader.h"
#include "PngWriter.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 1> Extensions{"png"};

bool recognises(std::span<const std::uint8_t> beginning) {
    // Made to show transfers that change line ends or the eighth bit.
    constexpr std::array<std::uint8_t, 8> signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    return beginning.size() >= signature.size() && std::equal(signature.begin(), signature.end(), beginning.begin());
}

}  // namespace

const Codec pngCodec{"PNG", Extensions, &recognises, &refusalOfPng, &readPngInfo, &readPng, &writePng};

}  // namespace rix::io
