#pragma once

#include <array>
#include <cstddef>

#include <rix/filtering/color/ConvertColorSpace.h>
#include <rix/image/ImageTypes.h>

namespace rix::filtering::color {

/// How integers tell a channel: sample = factor value + offset.
struct ChannelCode {
    double factor;
    double offset;
    double turn;  ///< the sample of a full turn, which is also 0; 0 for what does not turn
};

/// Of the channels of a space.
/// @param largest the sample of 1: the largest value of the type
std::array<ChannelCode, 3> codeOf(ConvertColorSpace::ColorSpace space, double largest);

/// The space's own number of channels, without opacity.
std::size_t channelsOf(ConvertColorSpace::ColorSpace space);

/// The neighbour of a space on the way to `RGB`, which has none but itself.
ConvertColorSpace::ColorSpace neighborOf(ConvertColorSpace::ColorSpace space);

}  // namespace rix::filtering::color
