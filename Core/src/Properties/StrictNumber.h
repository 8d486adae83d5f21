#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace rix::helper {

/// The number that a text consists of, from its first to its last character; none when anything else is in it or when
/// the type cannot hold it. A signed number may begin with "+".
template <class T>
std::optional<T> readStrictNumber(std::string_view text) {
    if (std::is_signed_v<T> && text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

}  // namespace rix::helper
