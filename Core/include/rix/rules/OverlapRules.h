#pragma once

#include <rix/rules/ImageAssertions.h>

/// Rules about an output that may lie in the memory of an input. They compare the images as they are, so that an output
/// may still have another shape; attach them before the rules that shape it.
namespace rix {

namespace rules {

/// No sample of the image is one of the other image: for operations that read the input after they began to write.
struct RIX_EXPORT DisjointFrom : WithReference {
    using WithReference::WithReference;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

/// The other image itself (or another view of the same elements), or disjoint from it: for operations that read of the
/// input only what belongs to the element that they write.
struct RIX_EXPORT InPlaceOrDisjoint : WithReference {
    using WithReference::WithReference;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

}  // namespace rules

template <class T>
using RuleDisjointFrom = rules::RuleOnImage<T, rules::DisjointFrom>;
template <class T>
using RuleInPlaceOrDisjoint = rules::RuleOnImage<T, rules::InPlaceOrDisjoint>;

using AddRuleDisjointFrom = rules::AddRuleOnImage<rules::DisjointFrom>;
using AddRuleInPlaceOrDisjoint = rules::AddRuleOnImage<rules::InPlaceOrDisjoint>;

}  // namespace rix
