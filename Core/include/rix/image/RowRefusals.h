#pragma once

#include <rix/Export.h>
#include <rix/String.h>

namespace rix::helper {

/// Why an image has refused a row that it has, or a shape: what keeps samples elsewhere than in memory says so before
/// it returns false, and who turns the false into an exception adds it, whatever views lie between. Kept for each
/// thread.
RIX_EXPORT void noteRowRefusal(const String& reason) noexcept;
/// The last reason that was noted in this thread since it was asked for; empty when there was none.
RIX_EXPORT String takeRowRefusal() noexcept;

}  // namespace rix::helper
