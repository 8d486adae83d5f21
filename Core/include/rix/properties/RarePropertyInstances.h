#pragma once

// Declares that the properties of vectors, matrices, lists, kernels and objects are compiled in the library. Without
// this header they work as well, but are compiled again where they are used.

#include <rix/properties/Property.h>

namespace rix {

#define RIX_DECLARE_PROPERTY(...)                       \
    extern template class PropertyPrivate<__VA_ARGS__>; \
    extern template class Property<__VA_ARGS__>;

RIX_FOR_MATRIX_PROPERTIES(RIX_DECLARE_PROPERTY)
RIX_FOR_LIST_PROPERTIES(RIX_DECLARE_PROPERTY)
RIX_FOR_LIST_POINTER_PROPERTIES(RIX_DECLARE_PROPERTY)
RIX_FOR_OBJECT_PROPERTIES(RIX_DECLARE_PROPERTY)

#undef RIX_DECLARE_PROPERTY

}  // namespace rix
