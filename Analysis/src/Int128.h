#pragma once

namespace rix::analysis {

__extension__ using Int128 = __int128;

}  // namespace rix::analysis
