#pragma once

#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/point_operations/ArithmeticOperationWithImage.h>
#include <rix/properties/PropertySingleChoice.h>

namespace rix::point_operations {

struct ArithmeticOperationWithImagePrivate : algorithms::AbstractPrivateImplementation {
    static ArithmeticOperationWithImagePrivate& of(const ArithmeticOperationWithImage& algorithm) {
        return static_cast<ArithmeticOperationWithImagePrivate&>(*algorithm.implementation());
    }

    Property<const ImageModel*> inputImage1;
    Property<const ImageModel*> inputImage2;
    PropertySingleChoice arithmeticOperator{&ArithmeticOperators::getInfoArithmeticOperatorType()};
    Property<ImageModel*> outputImage;
    // As they were before the rules: in place, the rules re-interpret the input.
    bool isBinary1 = false;
    bool isBinary2 = false;
};

}  // namespace rix::point_operations
