#pragma once

#include <rix/geometry/TransformChoices.h>
#include <rix/image/ImageHeader.h>
#include <rix/properties/Property.h>
#include <rix/rules/Rules.h>

/// What operations have in common that take samples at places of an image.
namespace rix::geometry {

/// The header with the spacings that count.
ImageHeader placedHeader(const ImageModel& image);

/// Gives a header the grid of another in space: extents, spacings, origin and directions of its three axes.
void takeGrid(ImageHeader& header, const ImageHeader& from);

/// The degree of what is between elements: 0 for the nearest.
int degreeOf(PlaceInterpolation interpolation, const ImageModel& image);

/// @throws RuleException, which names the property, where the axes of an image do not span space, or a plane
void assertSpans(const ImageModel& image, const BaseProperty& property, std::size_t axes);

/// On the choice of an interpolation: labels and binary images have nothing between their elements, and labels of
/// planes mean nothing in space.
class RuleSamplesMeaning : public Rules<Property<int>> {
public:
    /// @param ofSpace samples are taken between planes
    RuleSamplesMeaning(const Property<const ImageModel*>& image, bool ofSpace) : m_image(image), m_ofSpace(ofSpace) {}
    void apply(Property<int>& property) override;
    String describe() const override;

private:
    const Property<const ImageModel*>& m_image;
    bool m_ofSpace;
};

}  // namespace rix::geometry
