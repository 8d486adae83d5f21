#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/Blocks.h>
#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/properties/PropertySingleChoice.h>

namespace rix::filtering::smoothing {

/// What a run computes, all lengths in voxels.
struct GaussianJob {
    std::array<double, 3> deviations{};
    access::BorderPolicy border = access::BorderPolicy::MIRROR;
    double borderValue = 0.0;
};

/// The private part of both Gaussian filters: that of planes has no third deviation.
struct GaussianFilterState : algorithms::AbstractPrivateImplementation {
    /// The state of one of the two algorithms.
    template <class Algorithm>
    static const GaussianFilterState& of(const Algorithm& algorithm) {
        return static_cast<const GaussianFilterState&>(*algorithm.implementation());
    }

    GaussianFilterState();
    void addRules();
    /// Gives the output image its shape, type, calibration and meaning; to be called when the inputs have passed.
    void shapeOutput();
    AlgorithmDescription describe(std::size_t threads) const;

    /// @throws RuleException when a deviation in the unit of the image has no spacing, or is too large
    GaussianJob job() const;
    /// True when writing the output would disturb the input.
    bool isInPlace() const;

    Property<const ImageModel*> inputImage;
    std::array<Property<double>, 3> deviations;  ///< for columns, rows and planes
    PropertySingleChoice lengthUnit;
    PropertySingleChoice borderPolicy;
    Property<double> borderValue;
    PropertySingleChoice outputType;
    Property<ImageModel*> outputImage;
};

}  // namespace rix::filtering::smoothing
