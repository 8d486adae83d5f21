#pragma once

#include <cstdint>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

/// In what part of a label image equal labels are one object.
enum class LabelScope : std::uint8_t {
    Volume,  ///< in a frame and channel, through all planes; also where nothing is known
    Plane,   ///< in a plane: the same label in the next one is another object
};

namespace helper {

/// "volume", "plane"
RIX_EXPORT String labelScopeToString(const LabelScope& scope);

}  // namespace helper
}  // namespace rix
