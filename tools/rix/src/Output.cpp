#include "Output.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "Failure.h"

namespace rix::cli {
namespace {

/// Returns 0 or the number of the system's error.
int writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

}  // namespace

void writeData(std::string_view text) {
    const int error = writeAll(STDOUT_FILENO, text);
    if (error != 0 && error != EPIPE) {
        throw Failure(UNWRITABLE_OUTPUT, std::string("standard output can't be written: ") + std::strerror(error));
    }
}

void writeJson(const nlohmann::json& value) {
    constexpr int indent = 2;
    writeData(value.dump(indent, ' ', false, nlohmann::json::error_handler_t::replace) + '\n');
}

void writeMessage(std::string_view text) {
    static_cast<void>(writeAll(STDERR_FILENO, text));
}

std::string TextTable::toText(std::string_view indent) const {
    std::vector<std::size_t> widths;
    for (const auto& row : m_rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string text;
    for (const auto& row : m_rows) {
        std::string line(indent);
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) {
                line.append(widths[i] - row[i].size() + 2, ' ');
            }
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

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

}  // namespace rix::cli
