#include <rix/description/Text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

namespace rix::description {

std::string numberToText(double value) {
    if (std::isnan(value)) {
        return "nan";  // whatever its sign
    }
    std::array<char, 32> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return std::string(buffer.data(), end.ptr);
}

nlohmann::json numberToJson(double value) {
    return std::isfinite(value) ? nlohmann::json(value) : nlohmann::json(numberToText(value));
}

std::string inQuotes(std::string_view text) {
    std::string result(text);
    std::replace_if(
        result.begin(), result.end(), [](unsigned char letter) { return letter < 0x20 || letter == 0x7f; }, '?');
    return '\'' + result + '\'';
}

std::string join(const std::vector<std::string>& texts, std::string_view separator) {
    std::string joined;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        joined.append(i == 0 ? "" : separator).append(texts[i]);
    }
    return joined;
}

}  // namespace rix::description
