#pragma once

#include <rix/rules/ImageAssertions.h>

/// Rules about distances, for operations that divide by them: a gradient, a length in the image's unit.
namespace rix {

namespace rules {

/// True for a spacing that one can divide by: finite and not 0. It may be negative, where an axis runs backwards.
RIX_EXPORT bool isDivisor(double spacing);

/// What refusals of spacings advise: images that programs fill have the spacing 0 until it is set.
inline constexpr const char* spacingCure = "Set it (ImageModel::setSpacingOf), to 1 where no scale is known.";

/// The spacings of the first axes (2 for planes, 3 for volumes) are finite and not 0. An axis with one element has
/// neighbours in no direction, so that its spacing may be anything.
class RIX_EXPORT AssertSpacing {
public:
    static constexpr bool individual = true;
    explicit AssertSpacing(std::size_t axes) : m_axes(axes) {}
    void apply(const ImageOperand& operand) const;
    String describe() const;

private:
    std::size_t m_axes;
};

}  // namespace rules

template <class T>
using RuleAssertSpacing = rules::RuleOnImage<T, rules::AssertSpacing>;

using AddRuleAssertSpacing = rules::AddRuleOnImage<rules::AssertSpacing>;

}  // namespace rix
