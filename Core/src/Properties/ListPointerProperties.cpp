#include <rix/properties/Property.h>

namespace rix {

#define RIX_COMPILE_PROPERTY(...)                \
    template class PropertyPrivate<__VA_ARGS__>; \
    template class Property<__VA_ARGS__>;

RIX_FOR_LIST_POINTER_PROPERTIES(RIX_COMPILE_PROPERTY)

}  // namespace rix
