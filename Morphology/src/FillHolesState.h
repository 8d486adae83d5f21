#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/properties/PropertySingleChoice.h>

#include "HoleFlood.h"

namespace rix {
class EnumInfo;
}

namespace rix::morphology {

/// The private part of both classes.
struct FillHolesState : algorithms::AbstractPrivateImplementation {
    /// The state of one of the two algorithms.
    template <class Algorithm>
    static const FillHolesState& of(const Algorithm& algorithm) {
        return static_cast<const FillHolesState&>(*algorithm.implementation());
    }

    explicit FillHolesState(const EnumInfo& neighborhoods) : neighborhood(&neighborhoods) {}
    void addRules();
    /// Gives the output image its shape, type, calibration and meaning; to be called when the inputs have passed.
    void shapeOutput();
    AlgorithmDescription describe(const FloodSpace& space, std::size_t threads) const;
    void fill(access::ExecutionContext& context, const FloodSpace& space) const;

    Property<const ImageModel*> inputImage;
    PropertySingleChoice neighborhood;
    Property<ImageModel*> outputImage;
};

struct FillHolesState2d : FillHolesState {
    FillHolesState2d() : FillHolesState(algorithms::getInfoNeighborhood2DType()) {}
};
struct FillHolesState3d : FillHolesState {
    FillHolesState3d() : FillHolesState(algorithms::getInfoNeighborhood3DType()) {}
};

}  // namespace rix::morphology
