#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include <rix/description/Algorithms.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>

#include "Planning.h"

namespace rix::cli {
namespace {

/// What depends on where in the image a voxel lies, or on all of it, though its kind says a point or a window.
constexpr std::array exceptions{
    std::string_view("AddNoise"),               // chance follows from the position
    std::string_view("BSplineCoefficients2d"),  // whole lines
    std::string_view("BSplineCoefficients3d"),
    std::string_view("FourierConvolution2d"),  // rounding follows from the tiles of the transform
    std::string_view("FourierConvolution3d"),
    std::string_view("GuidedFilter2d"),  // sums begin anew at multiples of a window that only the filter knows
    std::string_view("GuidedFilter3d"),
    std::string_view("NonLocalMeansFilter2d"),
    std::string_view("NonLocalMeansFilter3d"),
    std::string_view("TensorVoting2d"),  // votes are added in the order of the blocks of its own run
    std::string_view("TensorVoting3d"),
};

Extents shapeOf(const ImageModel& image) {
    Extents extents = helper::getExtents(image);
    extents[SPECTRAL_SERIES] = 1;
    return extents;
}

bool isShaped(const ImageModel& image) {
    std::size_t elements = 0;
    return helper::getElementCount(image, elements) && elements != 0;
}

/// Whether a block would have to read whole rows or columns: in one process these lie on disk.
bool spansPlanes(const BorderInfluence& influence, const Extents& shape) {
    return std::ranges::any_of(std::array{COLUMNS, ROWS}, [&](Components axis) {
        return shape[axis] > 1 && std::max(influence.lower[axis], influence.upper[axis]) >= shape[axis] - 1;
    });
}

/// A kernel is no image of the scene, of whatever size it is.
bool isKernel(const std::string& property) {
    return property.find("Kernel") != std::string::npos || property.find("Element") != std::string::npos;
}

}  // namespace

bool isForBlocks(const PreparedRun& run, Extents& shape) {
    const BaseAlgorithm& algorithm = *run.algorithm;
    const AlgorithmDescription told = algorithm.describe();
    const AlgorithmKind kind = told.kind;
    const std::string name = algorithm.getClassInfo().getName();
    if ((kind != AlgorithmKind::Point && kind != AlgorithmKind::Neighbourhood) ||
        std::ranges::count(exceptions, std::string_view(name)) > 0) {
        return false;
    }
    std::size_t inputs = 0;
    const auto hasTheShape = [&](const ImageModel& image) {
        if (inputs == 0) {
            shape = shapeOf(image);
        }
        return isShaped(image) && shapeOf(image) == shape;
    };
    for (const BaseProperty* const property : description::listProperties(algorithm)) {
        switch (description::imageRoleOf(*property)) {
            case description::ImageRole::None:
                if (property->isOutput() || dynamic_cast<const MeasurementSlot*>(property) != nullptr) {
                    return false;  // a result of the whole
                }
                break;
            case description::ImageRole::InPlace: return false;
            case description::ImageRole::Input: {
                const ImageModel* const image = dynamic_cast<const Property<const ImageModel*>&>(*property).get();
                if (image != nullptr && (isKernel(property->getName()) || !hasTheShape(*image))) {
                    return false;
                }
                inputs += image != nullptr ? 1 : 0;
                break;
            }
            case description::ImageRole::Output: {
                const ImageModel* const image = dynamic_cast<const Property<ImageModel*>&>(*property).get();
                // Of labels a run tells how many there are.
                if (image != nullptr &&
                    (inputs == 0 || !hasTheShape(*image) || image->getInterpretation() == RIX_LABEL)) {
                    return false;
                }
                break;
            }
        }
    }
    return inputs > 0 && !spansPlanes(told.borderInfluence, shape);
}

}  // namespace rix::cli
