#pragma once

#include <cstdint>

namespace rix::individual_analysis {

/// A maximal stretch [begin, end) of equal label in a row; background makes none.
struct Run {
    std::uint32_t begin;
    std::uint32_t end;
    std::uint32_t label;
    std::uint32_t slot;  ///< of the label in the table of a band; not set by the kernels
};

}  // namespace rix::individual_analysis
