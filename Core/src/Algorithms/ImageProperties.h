#pragma once

#include <cstddef>
#include <vector>

#include <rix/image/ImageModel.h>

namespace rix {
class BaseAlgorithm;
class BaseProperty;
template <class T>
class Property;

namespace algorithms {

/// The image that a property holds; null when it holds none or is not an image property.
const ImageModel* imageOf(const BaseProperty& property);

/// The images of all properties that hold one, inputs first.
std::vector<const ImageModel*> collectImages(const BaseAlgorithm& algorithm);

/// The inputs of an algorithm that are images. An algorithm never loses a property: each is asked once what it is.
class ImageInputs {
public:
    /// Images are anybody's objects, while rules and kernels look their types up in tables.
    /// @throws RuleException that names the first input whose types are none of the library's
    void refuseUnknownTypes(const BaseAlgorithm& algorithm);

private:
    std::size_t m_seen = 0;
    std::vector<const Property<const ImageModel*>*> m_inputs;
};

}  // namespace algorithms
}  // namespace rix
