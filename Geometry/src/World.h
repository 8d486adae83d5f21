#pragma once

#include <array>

#include <rix/image/ImageHeader.h>
#include <rix/rules/ImageAssertions.h>

/// What is asked of an image's place in the world.
namespace rix::geometry {

/// The spacings of an image; 1 on the spatial axes of one that has none there, all of them 0.
std::array<double, RIX_COMPONENTS_SIZE> spacingsOf(const ImageHeader& header);

/// The spacings of the spatial axes with neighbours are finite and not 0; or all of an image without calibration are 0,
/// which counts as 1.
struct AssertPlaced {
    static constexpr bool individual = true;
    void apply(const rules::ImageOperand& operand) const;
    String describe() const;
};
using AddRuleAssertPlaced = rules::AddRuleOnImage<AssertPlaced>;

}  // namespace rix::geometry
