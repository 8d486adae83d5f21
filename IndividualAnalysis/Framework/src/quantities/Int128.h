#pragma once

namespace rix::individual_analysis {

__extension__ typedef __int128 Int128;

}  // namespace rix::individual_analysis
