#pragma once

#include <cstdint>
#include <vector>

#include <rix/image/ImageHeader.h>
#include <rix/synthesis/PhantomImage.h>

#include "Shapes.h"

namespace rix::synthesis {

/// The objects of a phantom: the same for the same properties.
std::vector<Shape> placeObjects(const PhantomImage& phantom, const ImageHeader& header);

}  // namespace rix::synthesis
