#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace rix::description {

/// What this library calls a word of the field, most likely first: "otsu" is FACTORISATION, "sigma" is
/// standardDeviation, "uint8" is UNSIGNED_INTEGER_8_BIT. Classes that exist for planes and for volumes are named
/// without "2d" and "3d". Spelling matters as in `plainWord` only. Empty for words that mean nothing else here.
std::vector<std::string> namesOf(std::string_view word);

/// The words that `namesOf` knows, as `plainWord` writes them.
std::vector<std::string> allSynonyms();

/// A word in small letters without separators: "standard_deviation" and "standardDeviation" are one.
std::string plainWord(std::string_view word);

}  // namespace rix::description
