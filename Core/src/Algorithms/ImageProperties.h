#pragma once

#include <vector>

#include <rix/image/ImageModel.h>

namespace rix {
class BaseAlgorithm;
class BaseProperty;

namespace algorithms {

/// The image that a property holds; null when it holds none or is not an image property.
const ImageModel* imageOf(const BaseProperty& property);

/// The images of all properties that hold one, inputs first.
std::vector<const ImageModel*> collectImages(const BaseAlgorithm& algorithm);

/// Images are anybody's objects, while rules and kernels look their types up in tables.
/// @throws RuleException that names the first input whose types are none of the library's
void refuseUnknownTypes(const BaseAlgorithm& algorithm);

}  // namespace algorithms
}  // namespace rix
