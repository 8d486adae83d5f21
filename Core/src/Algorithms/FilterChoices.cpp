#include <rix/algorithms/FilterChoices.h>

#include <cmath>

#include <rix/properties/EnumInfo.h>
#include <rix/rules/RuleSupport.h>

namespace rix::algorithms {

const EnumInfo& getInfoLengthUnit() {
    static const EnumInfo info("LengthUnit", "VOXEL = 0, WORLD");
    return info;
}

const EnumInfo& getInfoOutputType() {
    static const EnumInfo info("OutputType", "SAME_AS_INPUT = 0, FLOAT_32_BIT");
    return info;
}

VoxelTypes voxelTypeOf(OutputType type, VoxelTypes input) {
    return type == OutputType::FLOAT_32_BIT ? RIX_FLOAT32 : input;
}

const EnumInfo& getInfoNeighborhood2DType() {
    static const EnumInfo info("Neighborhood2DType", "CONNECTIVITY_4 = 0, CONNECTIVITY_8");
    return info;
}

const EnumInfo& getInfoNeighborhood3DType() {
    static const EnumInfo info("Neighborhood3DType", "CONNECTIVITY_6 = 0, CONNECTIVITY_18, CONNECTIVITY_26");
    return info;
}

double lengthInVoxels(const Property<double>& length, LengthUnit unit, const ImageModel& image, Components axis) {
    const double value = length.get();
    if (unit == LengthUnit::VOXEL || value == 0) {
        return value;
    }
    const double spacing = std::fabs(image.getSpacingOf(axis));
    if (!(spacing > 0) || !std::isfinite(spacing)) {
        rules::refuse(rules::parameterText(length) +
                          " is a length in the unit of the image: the image needs spacings that are finite and not 0.",
                      "The spacing is " + rules::valueToText(image.getSpacingOf(axis)) +
                          ". Set the spacing, or give the length in voxels.");
    }
    return value / spacing;
}

}  // namespace rix::algorithms
