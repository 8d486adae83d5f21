#pragma once

#include <source_location>
#include <typeinfo>

#include <rix/Export.h>
#include <rix/properties/BaseProperty.h>

namespace rix::helper {

/// Throws `InvalidCall` with what `property` is and what it was expected to be.
[[noreturn]] RIX_EXPORT void throwBadPropertyCast(const BaseProperty* property, const std::type_info& expected,
                                                  const std::source_location& where);

/// The property as the class `P`, for example `Property<int>`.
/// @throws InvalidCall, naming both types, when it is of another class, or null.
template <class P>
P* safe_cast(BaseProperty* property, std::source_location where = std::source_location::current()) {
    if (auto* cast = dynamic_cast<P*>(property)) {
        return cast;
    }
    throwBadPropertyCast(property, typeid(P), where);
}

template <class P>
const P* safe_cast(const BaseProperty* property, std::source_location where = std::source_location::current()) {
    if (const auto* cast = dynamic_cast<const P*>(property)) {
        return cast;
    }
    throwBadPropertyCast(property, typeid(P), where);
}

}  // namespace rix::helper
