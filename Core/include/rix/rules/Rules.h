#pragma once

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/exceptions/Exception.h>

namespace rix {

/// A check of a property's value, or an adjustment of an output image to its inputs.
/// @tparam P the class of the property, `Property<T>`.
template <class P>
class RIX_EXPORT Rules {
public:
    virtual ~Rules() = default;
    /// True when the rule looks at its own property only, so that it may be applied as soon as the value is set.
    virtual bool isIndividual() const { return false; }
    /// Checks or enforces. @throws RuleException.
    virtual void apply(P& property) = 0;
    /// The rule in words, for listings: "must be set", "must be greater than 0".
    virtual String describe() const = 0;
};

}  // namespace rix
