#pragma once

#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/point_operations/ArithmeticOperationWithValue.h>
#include <rix/properties/PropertySingleChoice.h>

namespace rix::point_operations {

struct ArithmeticOperationWithValuePrivate : algorithms::AbstractPrivateImplementation {
    static ArithmeticOperationWithValuePrivate& of(const ArithmeticOperationWithValue& algorithm) {
        return static_cast<ArithmeticOperationWithValuePrivate&>(*algorithm.implementation());
    }

    Property<const ImageModel*> inputImage;
    Property<double> value;
    PropertySingleChoice arithmeticOperator{&ArithmeticOperators::getInfoArithmeticOperatorType()};
    Property<ImageModel*> outputImage;
    bool isBinary = false;  ///< as it was before the rules: in place, they re-interpret the input
};

}  // namespace rix::point_operations
