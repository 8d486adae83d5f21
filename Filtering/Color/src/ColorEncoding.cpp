#include "ColorEncoding.h"

namespace rix::filtering::color {

std::array<ChannelCode, 3> codeOf(ConvertColorSpace::ColorSpace space, double largest) {
    constexpr double bytes = 255.0;
    const double middle = (largest + 1.0) / 2.0;
    const ChannelCode share{largest, 0.0, 0.0};
    // Half degrees where there are only 256 values, as is usual; else the turn takes all of them.
    const double turn = largest == bytes ? 180.0 : largest;
    const ChannelCode hue{turn / 360.0, 0.0, turn};
    const ChannelCode lightness{largest / 100.0, 0.0, 0.0};
    const double unit = largest / bytes;
    switch (space) {
        case ConvertColorSpace::HSV:
        case ConvertColorSpace::HSL: return {hue, share, share};
        case ConvertColorSpace::LAB: return {lightness, {unit, 128.0 * unit, 0.0}, {unit, 128.0 * unit, 0.0}};
        case ConvertColorSpace::LCH: return {lightness, {unit, 0.0, 0.0}, hue};
        case ConvertColorSpace::YCBCR: return {share, {largest, middle, 0.0}, {largest, middle, 0.0}};
        case ConvertColorSpace::YIQ: return {share, {largest / 2.0, middle, 0.0}, {largest / 2.0, middle, 0.0}};
        default: return {share, share, share};
    }
}

std::size_t channelsOf(ConvertColorSpace::ColorSpace space) {
    return space == ConvertColorSpace::GRAY ? 1 : 3;
}

ConvertColorSpace::ColorSpace neighborOf(ConvertColorSpace::ColorSpace space) {
    switch (space) {
        case ConvertColorSpace::XYZ: return ConvertColorSpace::LINEAR_RGB;
        case ConvertColorSpace::LAB: return ConvertColorSpace::XYZ;
        case ConvertColorSpace::LCH: return ConvertColorSpace::LAB;
        default: return ConvertColorSpace::RGB;
    }
}

}  // namespace rix::filtering::color
