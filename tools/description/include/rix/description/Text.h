#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace rix::description {

/// The shortest text that reads back to the same number; "nan", "inf", "-inf" for what is no number.
std::string numberToText(double value);

/// A JSON number; the text of `numberToText` for what JSON has no number for.
nlohmann::json numberToJson(double value);

/// 'TEXT', with what would upset a terminal (control characters) replaced by '?'.
std::string inQuotes(std::string_view text);

/// A letter of ASCII as a small one; names are of these, and the locale has no say.
constexpr char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string join(const std::vector<std::string>& texts, std::string_view separator = ", ");

}  // namespace rix::description
