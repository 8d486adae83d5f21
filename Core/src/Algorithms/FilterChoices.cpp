#include <rix/algorithms/FilterChoices.h>

#include <array>
#include <cmath>
#include <cstddef>

#include <rix/properties/EnumInfo.h>
#include <rix/rules/SpacingRules.h>
#include <rix/rules/ValueRules.h>

namespace rix::algorithms {

const EnumInfo& getInfoLengthUnit() {
    static const EnumInfo info("LengthUnit", "VOXEL = 0, WORLD");
    return info;
}

String unitOfLengths(LengthUnit unit, const ImageModel& image) {
    return unit == LengthUnit::WORLD ? image.getSpatialUnitName() : String();
}

const EnumInfo& getInfoOutputType() {
    static const EnumInfo info("OutputType", "SAME_AS_INPUT = 0, FLOAT_32_BIT");
    return info;
}

VoxelTypes voxelTypeOf(OutputType type, VoxelTypes input) {
    return type == OutputType::FLOAT_32_BIT ? RIX_FLOAT32 : input;
}

const EnumInfo& getInfoRealOutputType() {
    static const EnumInfo info("OutputType",
                               "UNSIGNED_INTEGER_8_BIT = 0, SIGNED_INTEGER_8_BIT, UNSIGNED_INTEGER_16_BIT, "
                               "SIGNED_INTEGER_16_BIT, UNSIGNED_INTEGER_32_BIT, SIGNED_INTEGER_32_BIT, FLOAT_32_BIT, "
                               "FLOAT_64_BIT");
    return info;
}

VoxelTypes voxelTypeOf(RealOutputType type) {
    constexpr std::array types{RIX_UINT8,  RIX_INT8,  RIX_UINT16,  RIX_INT16,
                               RIX_UINT32, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64};
    return types.at(static_cast<std::size_t>(type));
}

const EnumInfo& getInfoNeighborhood2DType() {
    static const EnumInfo info("Neighborhood2DType", "CONNECTIVITY_4 = 0, CONNECTIVITY_8");
    return info;
}

const EnumInfo& getInfoNeighborhood3DType() {
    static const EnumInfo info("Neighborhood3DType", "CONNECTIVITY_6 = 0, CONNECTIVITY_18, CONNECTIVITY_26");
    return info;
}

void assertSpacingFor(const Property<double>& length, double spacing) {
    if (!rules::isDivisor(spacing)) {
        rules::refuse(rules::parameterText(length) +
                          " is a length in the unit of the image: the image needs spacings that are finite and not 0.",
                      "The spacing is " + rules::valueToText(spacing) + ". " + rules::spacingCure +
                          " Or give the length in voxels.");
    }
}

void assertVoxelsOf(const Property<double>& length, double voxels, double largest) {
    if (voxels > largest) {
        rules::refuse(rules::parameterText(length) + " must be at most " + rules::valueToText(largest) + " voxels.",
                      "It is " + rules::valueToText(voxels) + " voxels. Reduce the image first.");
    }
}

double lengthInVoxels(const Property<double>& length, LengthUnit unit, const ImageModel& image, Components axis) {
    const double value = length.get();
    if (unit == LengthUnit::VOXEL || value == 0) {
        return value;
    }
    const double spacing = image.getSpacingOf(axis);
    assertSpacingFor(length, spacing);
    return value / std::fabs(spacing);
}

double RuleLength::Measure::voxels(const Property<double>& length) const {
    return lengthInVoxels(length, static_cast<LengthUnit>(unit.get()), *image.get(), axis);
}

RuleLength::~RuleLength() = default;

void RuleLength::apply(Property<double>& property) {
    RuleAssertFinite<double>().apply(property);
    RuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL).apply(property);
    assertVoxelsOf(property, m_measure.voxels(property), m_largest);
}

String RuleLength::describe() const {
    return "must be a length from 0 to " + rules::valueToText(m_largest) + " voxels";
}

std::shared_ptr<Rules<Property<double>>> AddRuleLength::operator()(Property<double>& property) const {
    std::shared_ptr<Rules<Property<double>>> rule = std::make_shared<RuleLength>(m_measure, m_largest);
    property.getImpl()->addRule(rule);
    return rule;
}

}  // namespace rix::algorithms
