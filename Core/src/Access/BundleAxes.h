#pragma once

#include <rix/image/ImageTypes.h>

namespace rix::access {

/// The axis on which the lines of a bundle are neighbours.
constexpr Components innerAxis(Components axis) {
    return axis == COLUMNS ? ROWS : COLUMNS;
}

/// The axis on which they are where those are few.
constexpr Components nextAxis(Components axis) {
    return axis == COLUMNS || axis == ROWS ? PLANS : ROWS;
}

}  // namespace rix::access
