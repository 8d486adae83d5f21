#pragma once

#include <rix/Export.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/rules/RuleSupport.h>

namespace rix {
class EnumInfo;
}

/// Choices that many filters offer. An algorithm makes them names of its own, as
/// `using LengthUnit = algorithms::LengthUnit; using enum algorithms::LengthUnit;`.
namespace rix::algorithms {

/// In what a length is given: in elements of the image's grid, or in the unit of its spacings.
enum class LengthUnit : int { VOXEL = 0, WORLD };
RIX_EXPORT const EnumInfo& getInfoLengthUnit();
/// The unit of lengths that are told in it, for tables: none where they are in voxels.
RIX_EXPORT String unitOfLengths(LengthUnit unit, const ImageModel& image);

/// The samples of a filter's result.
enum class OutputType : int { SAME_AS_INPUT = 0, FLOAT_32_BIT };
RIX_EXPORT const EnumInfo& getInfoOutputType();
RIX_EXPORT VoxelTypes voxelTypeOf(OutputType type, VoxelTypes input);

/// The samples of a result that may be of any real type.
enum class RealOutputType : int {
    UNSIGNED_INTEGER_8_BIT = 0,
    SIGNED_INTEGER_8_BIT,
    UNSIGNED_INTEGER_16_BIT,
    SIGNED_INTEGER_16_BIT,
    UNSIGNED_INTEGER_32_BIT,
    SIGNED_INTEGER_32_BIT,
    FLOAT_32_BIT,
    FLOAT_64_BIT
};
RIX_EXPORT const EnumInfo& getInfoRealOutputType();
RIX_EXPORT VoxelTypes voxelTypeOf(RealOutputType type);

/// Which pixels of a plane are neighbours: across an edge only, or also across a corner.
enum class Neighborhood2DType : int { CONNECTIVITY_4 = 0, CONNECTIVITY_8 };
RIX_EXPORT const EnumInfo& getInfoNeighborhood2DType();

/// Which voxels of a volume are neighbours: across a face, also across an edge, or also across a corner.
enum class Neighborhood3DType : int { CONNECTIVITY_6 = 0, CONNECTIVITY_18, CONNECTIVITY_26 };
RIX_EXPORT const EnumInfo& getInfoNeighborhood3DType();

/// A length along an axis of an image in voxels: as it is, or divided by the magnitude of the axis' spacing.
/// @throws RuleException, which names the property of the length, when the unit is `WORLD`, the length is not 0 and the
///         spacing is 0 or not finite
RIX_EXPORT double lengthInVoxels(const Property<double>& length, LengthUnit unit, const ImageModel& image,
                                 Components axis);

/// For lengths with rules of their own: the checks of `RuleLength`.
/// @throws RuleException, which names the property of the length, when the spacing is 0 or not finite
RIX_EXPORT void assertSpacingFor(const Property<double>& length, double spacing);
/// @throws RuleException, which names the property of the length, when it has more voxels than the largest
RIX_EXPORT void assertVoxelsOf(const Property<double>& length, double voxels, double largest);

/// A length along an axis of an image: finite, not negative, at most so many voxels, and with a spacing to divide it by
/// when the unit is `WORLD`. The rule follows those of the image.
class RIX_EXPORT RuleLength : public Rules<Property<double>> {
public:
    /// The properties of the image and the unit, and the axis.
    struct Measure {
        const Property<const ImageModel*>& image;
        const Property<int>& unit;
        Components axis;
        double voxels(const Property<double>& length) const;
    };

    RuleLength(const Measure& measure, double largest) : m_measure(measure), m_largest(largest) {}
    ~RuleLength() override;
    void apply(Property<double>& property) override;
    String describe() const override;

private:
    Measure m_measure;
    double m_largest;
};

/// Attaches `RuleLength`.
class RIX_EXPORT AddRuleLength {
public:
    AddRuleLength(const RuleLength::Measure& measure, double largest) : m_measure(measure), m_largest(largest) {}
    std::shared_ptr<Rules<Property<double>>> operator()(Property<double>& property) const;

private:
    RuleLength::Measure m_measure;
    double m_largest;
};

}  // namespace rix::algorithms
