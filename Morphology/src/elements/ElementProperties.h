#pragma once

// The properties of an element, for classes of planes and of volumes alike.

#include <functional>
#include <optional>
#include <type_traits>

#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/morphology/ElementFilter.h>
#include <rix/rules/When.h>

#include "Element.h"

namespace rix::morphology {

template <class Owner>
constexpr bool ofVolumes = std::is_base_of_v<ElementOwner3d, Owner>;

/// The base of a class that has the element.
template <class Owner>
using OwnerOf = std::conditional_t<ofVolumes<Owner>, ElementOwner3d, ElementOwner2d>;

using SpacingOf = std::function<double(Components)>;

/// The spacing of the image that an owner reads; of one that reads none its own.
template <class Owner>
SpacingOf spacingOf(const Owner& owner) {
    if constexpr (requires { owner.getInputImage(); }) {
        return [&owner](Components axis) { return owner.getInputImage()->getSpacingOf(axis); };
    } else {
        return [&owner](Components axis) { return owner.getSpacing()[static_cast<std::size_t>(axis)]; };
    }
}

/// Names the properties of the element.
void declareElement(ElementOwner2d& owner, algorithms::Properties& properties);
void declareElement(ElementOwner3d& owner, algorithms::Properties& properties);

/// Radius per spacing, checked like the lengths of other filters.
/// @param spacingOf what a length in the world is divided by; asked for `WORLD` only
void addRadiusRule(ElementOwner2d& owner, SpacingOf spacingOf);
void addRadiusRule(ElementOwner3d& owner, SpacingOf spacingOf);

/// The element that was chosen; the rules hold.
Element elementOf(const ElementOwner2d& owner, const SpacingOf& spacingOf);
Element elementOf(const ElementOwner3d& owner, const SpacingOf& spacingOf);

/// The element of an image, where one was chosen and is set; none where the rules would refuse it.
std::optional<Element> drawnElement(const ElementOwner2d& owner);
std::optional<Element> drawnElement(const ElementOwner3d& owner);

/// What a run remembers from before its output is shaped, which may be one of its inputs.
struct ElementState : algorithms::InputMeaning {
    std::optional<Element> drawn;  ///< the element of an image
};

/// Its `prepare`.
template <class Owner>
void rememberElement(Owner& owner) {
    algorithms::stateOf<ElementState>(owner).drawn = drawnElement(owner);
    if constexpr (requires { owner.getInputImage(); }) {
        algorithms::rememberMeaning(owner);
    }
}

/// The element of a run.
template <class Owner>
Element elementOfRun(const Owner& owner, const SpacingOf& spacingOf) {
    const std::optional<Element>& drawn = algorithms::stateOf<ElementState>(owner).drawn;
    return drawn ? *drawn : elementOf(owner, spacingOf);
}

}  // namespace rix::morphology
