#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace rix::description {

/// Number of letters to insert, delete, replace or exchange with their neighbour to turn one text into the other
/// (optimal string alignment distance); upper and lower case are the same letter. Cost: the product of the lengths.
std::size_t editDistance(std::string_view a, std::string_view b);

/// The candidates that a mistyped name may have meant, best first, at most `limit`: what the field's word for it stands
/// for (`namesOf`), those within a third of the longer name's letters, and those that contain the name or are contained
/// in it. Equally good ones keep their order. One that differs in upper and lower case only stands alone.
std::vector<std::string> suggest(std::string_view name, const std::vector<std::string>& candidates,
                                 std::size_t limit = 3);

}  // namespace rix::description
