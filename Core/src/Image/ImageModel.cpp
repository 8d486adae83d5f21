#include <rix/image/ImageModel.h>

#include <cstdint>

#include <rix/exceptions/Exception.h>
#include <rix/image/ImageDetails.h>
#include <rix/image/MemoryRefusals.h>
#include <rix/image/SampleMemory.h>

#include "Image/LostSamples.h"

namespace rix {

namespace {

void require(bool done, const char* failure) {
    if (!done) {
        throw RuleException(failure);
    }
}

/// NaN differs from everything, itself included.
bool differ(double a, double b) {
    return !(a == b);
}

void matchShape(ImageModel& image, const ImageModel& reference, bool size, bool type) {
    const VoxelTypes voxelType = type ? reference.getVoxelType() : image.getVoxelType();
    const auto own = helper::getExtents(image);
    const auto extents = size ? helper::getExtents(reference) : own;
    if (extents == own && voxelType == image.getVoxelType() && image.getElementType() == SINGLE) {
        return;  // reserving again would give up samples for nothing
    }
    const helper::MemoryRefusals refusals;
    // A reference that looks at samples of the image would lose them.
    const bool mayBeReserved = !helper::mayShareSamples(image, reference);
    const bool reserved = mayBeReserved && image.reserve(voxelType, extents[COLUMNS], extents[ROWS], extents[PLANS],
                                                         extents[SEQUENCE], extents[SPECTRAL_SERIES]);
    if (mayBeReserved && !reserved) {
        helper::emptyIfSamplesAreLost(image);
    }
    if (!reserved) {
        RuleException exception(size ? "The image cannot be resized." : "The image cannot be retyped.");
        refusals.explain(exception);
        throw exception;
    }
}

void matchCalibration(ImageModel& image, const ImageModel& reference) {
    for (int i = RIX_COMPONENTS_FIRST; i < RIX_COMPONENTS_SIZE; ++i) {
        const auto axis = static_cast<Components>(i);
        const double spacing = reference.getSpacingOf(axis);
        if (differ(image.getSpacingOf(axis), spacing)) {
            require(image.setSpacingOf(axis, spacing), "Cannot set the image spacing.");
        }
        const double origin = reference.getOriginOf(axis);
        if (differ(image.getOriginOf(axis), origin)) {
            require(image.setOriginOf(axis, origin), "Cannot set the image origin.");
        }
    }
    const String spatialUnit = reference.getSpatialUnitName();
    if (image.getSpatialUnitName() != spatialUnit) {
        require(image.setSpatialUnitName(spatialUnit), "Cannot set the spatial unit name.");
    }
    const vessel::SpatialDirections directions = reference.getSpatialDirections();
    if (image.getSpatialDirections() != directions) {
        require(image.setSpatialDirections(directions), "Cannot set the spatial axis system.");
    }
    const String sequenceUnit = reference.getSequenceUnitName();
    if (image.getSequenceUnitName() != sequenceUnit) {
        require(image.setSequenceUnitName(sequenceUnit), "Cannot set the sequence unit name.");
    }
    const auto frame = helper::getSpatialFrame(reference);
    if (helper::getSpatialFrame(image) != frame) {
        // Images of applications need no place for it; the inverse transform then takes what it can tell.
        static_cast<void>(helper::setSpatialFrame(image, frame));
    }
}

void matchInterpretation(ImageModel& image, const ImageModel& reference) {
    const Interpretations interpretation = reference.getInterpretation();
    if (image.getInterpretation() != interpretation) {
        require(image.setInterpretation(interpretation), "Cannot set the image interpretation.");
    }
    static_cast<void>(helper::setLabelScope(image, helper::getLabelScope(reference)));  // where there is a place
}

}  // namespace

ImageModel::~ImageModel() = default;

void ImageModel::enforceSameCharacteristics(const ImageModel* reference, const int& characteristics) {
    require(reference != nullptr, "There is no reference image to match.");
    if (reference == this) {
        return;
    }
    const bool size = (characteristics & SIZE) != 0;
    const bool type = (characteristics & TYPE) != 0;
    try {
        if (size || type) {
            matchShape(*this, *reference, size, type);
        }
        if ((characteristics & CALIBRATION) != 0) {
            matchCalibration(*this, *reference);
        }
        if ((characteristics & INTERPRETATION) != 0) {
            matchInterpretation(*this, *reference);
        }
    } catch (RuleException& exception) {
        exception.addInfoLevel("Image " + helper::describeImage(*this) + " cannot match image " +
                               helper::describeImage(*reference));
        throw;
    }
}

namespace helper {

std::array<std::size_t, 5> getExtents(const ImageModel& image) {
    return {image.getNumOf(COLUMNS), image.getNumOf(ROWS), image.getNumOf(PLANS), image.getNumOf(SEQUENCE),
            image.getNumOf(SPECTRAL_SERIES)};
}

std::size_t getElementSize(const ImageModel& image) {
    return getSizeOf(image.getVoxelType()) * getElementNumber(image.getElementType());
}

bool getElementCount(const ImageModel& image, std::size_t& count) {
    return multiplyExtents(getExtents(image), count);
}

bool multiplyExtents(const std::array<std::size_t, 5>& extents, std::size_t& count) {
    std::size_t product = 1;
    for (const std::size_t extent : extents) {
        if (extent == 0) {
            // An empty axis makes the image empty, however large the others are.
            count = 0;
            return true;
        }
    }
    for (const std::size_t extent : extents) {
        if (!checkedMultiply(product, extent, product)) {
            return false;
        }
    }
    count = product;
    return true;
}

void emptyIfSamplesAreLost(ImageModel& image) {
    constexpr std::size_t largestElement = 16 * 6;
    std::array<std::uint8_t, largestElement> element;
    std::size_t count = 0;
    const bool promisesSamples = getElementCount(image, count) && count > 0;
    if (promisesSamples && getElementSize(image) <= largestElement &&
        !image.readRowAt(1, element.data(), 0, 0, 0, 0, 0)) {
        static_cast<void>(image.reserve(image.getElementType(), image.getVoxelType(), 0, 0, 0, 0, 0));
    }
}

String describeImage(const ImageModel& image) {
    String text = "(";
    for (const std::size_t extent : getExtents(image)) {
        text += std::to_string(extent) + ", ";
    }
    return text + elementTypesToString(image.getElementType()) + ", " + voxelTypesToString(image.getVoxelType()) +
           ", " + interpretationsToString(image.getInterpretation()) + ")";
}

}  // namespace helper
}  // namespace rix
