#pragma once

#include <string_view>

#include <rix/Export.h>

namespace rix::filtering::frequency {

/// What computes Fourier transforms in this build: "oneMKL", whose results are the same for every number of threads but
/// may differ in their last bits between processors; or "kissfft", whose results are the same everywhere.
RIX_EXPORT std::string_view getFourierEngine();

}  // namespace rix::filtering::frequency
