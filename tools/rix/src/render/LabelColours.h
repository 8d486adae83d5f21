#pragma once

#include <cstdint>

#include "Picture.h"

namespace rix::cli {

/// The colour of a label; black for 0, the background. Hues walk around the circle by the golden ratio, so that any
/// few consecutive labels, which often lie side by side, are far apart; none is dark.
Colour labelColour(std::uint32_t label);

}  // namespace rix::cli
