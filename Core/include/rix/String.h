#pragma once

#include <string>

namespace rix {

/// Text of the public interface: UTF-8, owned.
using String = std::string;

}  // namespace rix
