#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/properties/PropertySingleChoice.h>

#include "BoxJob.h"

namespace rix {
class EnumInfo;
}  // namespace rix

namespace rix::filtering::smoothing {

const EnumInfo& infoAutoScaleType();

/// The private part of both box filters: the rectangle is a box of one plane.
struct BoxFilterState : algorithms::AbstractPrivateImplementation {
    enum class Window : std::uint8_t { Rectangle, Box };

    /// The state of one of the two algorithms.
    template <class Algorithm>
    static const BoxFilterState& of(const Algorithm& algorithm) {
        return static_cast<const BoxFilterState&>(*algorithm.implementation());
    }

    BoxFilterState();
    void addRules(Window window);
    /// Gives the output image its shape, type, calibration and meaning; to be called when the inputs have passed.
    void shapeOutput();
    AlgorithmDescription describe(std::size_t threads) const;

    /// The sums of the present run, from the images of the present pass.
    BoxJob job() const;
    /// True when writing the output would disturb the input.
    bool isInPlace() const;

    Property<const ImageModel*> inputImage;
    Property<std::int32_t> kernelSizeX;
    Property<std::int32_t> kernelSizeY;
    Property<std::int32_t> kernelSizeZ;
    PropertySingleChoice autoScale;
    Property<ImageModel*> outputImage;

private:
    bool isMean() const;
    VoxelTypes outputType() const;
    BoxJob jobFor(Interpretations interpretation) const;

    /// What the input meant before an output that is the same image was given its own meaning.
    Interpretations m_inputMeaning = RIX_VALUE;
};

}  // namespace rix::filtering::smoothing
