#pragma once

#include <vector>

namespace rix::container {

/// A list of values of any length.
template <class T>
using Vector = std::vector<T>;

}  // namespace rix::container
