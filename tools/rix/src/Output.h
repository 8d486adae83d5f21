#pragma once

#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace rix::cli {

/// Writes data to standard output at once. A reader that went away (a closed pipe) has seen enough: the rest is
/// dropped. @throws Failure (unwritable output) when standard output cannot take it, for instance a full disk.
void writeData(std::string_view text);

/// The JSON form of data: indented by two, with a line end. Bytes of texts that are no UTF-8 are replaced.
void writeJson(const nlohmann::json& value);

/// Writes a message for people to standard error. Nobody can be told when that fails.
void writeMessage(std::string_view text);

}  // namespace rix::cli
