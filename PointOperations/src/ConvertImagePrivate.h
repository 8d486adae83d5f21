#pragma once

#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/point_operations/ConvertImage.h>
#include <rix/properties/PropertySingleChoice.h>

namespace rix::point_operations {

struct ConvertImagePrivate : algorithms::AbstractPrivateImplementation {
    static ConvertImagePrivate& of(const ConvertImage& algorithm) {
        return static_cast<ConvertImagePrivate&>(*algorithm.implementation());
    }

    Property<const ImageModel*> inputImage;
    PropertySingleChoice outputType{&ConvertImage::getInfoOutputType()};
    Property<ImageModel*> outputImage;
    bool isBinary = false;  ///< as it was before the rules: in place, they re-interpret the input
};

}  // namespace rix::point_operations
