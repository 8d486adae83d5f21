#pragma once

#include <type_traits>

namespace rix::morphology {

/// Whether a filter is of one of some classes.
template <class Filter, class... Classes>
constexpr bool isOneOf = (std::is_same_v<Filter, Classes> || ...);

}  // namespace rix::morphology
