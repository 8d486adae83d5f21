#pragma once

#include <vessel/Export.h>

namespace vessel {

/// The version of the library that was loaded, for example "0.1.0".
VESSEL_EXPORT const char* version() noexcept;

}  // namespace vessel
