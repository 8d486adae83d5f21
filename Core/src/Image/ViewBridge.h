#pragma once

#include <cstddef>
#include <optional>

#include <vessel/ImageView.h>

#include <rix/image/ImageTypes.h>
#include <rix/image/LabelScope.h>
#include <rix/image/SpatialFrame.h>

/// What images and image views call the same things.
namespace rix::detail {

/// Nothing where the other side has no such type.
std::optional<vessel::ElementType> toElementType(VoxelTypes voxelType, ElementTypes elementType);
std::optional<VoxelTypes> toVoxelType(vessel::SampleType type);
std::optional<ElementTypes> toElementTypes(vessel::ElementLayout layout);

/// The axes of both sides are the same and in the same order.
constexpr vessel::AxisName toAxisName(std::size_t component) {
    return static_cast<vessel::AxisName>(component);
}
constexpr std::size_t toComponent(vessel::AxisName name) {
    return static_cast<std::size_t>(name);
}

/// The metadata entries "interpretation" and "color_interpretation", with the texts of the enumerations as values; an
/// entry that is missing or unknown reads as the value of a new image.
Interpretations readInterpretation(const vessel::ImageView& view);
void writeInterpretation(vessel::ImageView& view, Interpretations interpretation);
ColorInterpretation readColorInterpretation(const vessel::ImageView& view);
void writeColorInterpretation(vessel::ImageView& view, ColorInterpretation interpretation);

/// The metadata entry "spatial_frame"; nothing where it is missing or not whole.
std::optional<SpatialFrame> readSpatialFrame(const vessel::ImageView& view);
/// Nothing removes the entry.
void writeSpatialFrame(vessel::ImageView& view, const std::optional<SpatialFrame>& frame);

/// The metadata entry "label_scope", which is there for `LabelScope::Plane` alone.
LabelScope readLabelScope(const vessel::ImageView& view);
void writeLabelScope(vessel::ImageView& view, LabelScope scope);

}  // namespace rix::detail
