#pragma once

#include <memory>
#include <string>

#include <rix/image/MemoryImage.h>

#include "Plan.h"

namespace rix::cli {

/// An object of a plan, of which perhaps only a part is wanted. @throws Failure (unreadable input)
std::unique_ptr<ImageModel> openObject(const Plan& plan, const std::string& object);

/// A part of an image in memory, with all channels; it lies where the image lies.
/// @throws Failure (unreadable input) when the image does not give a row
std::unique_ptr<io::MemoryImage> copyOf(const ImageModel& image, const Box& box);

}  // namespace rix::cli
