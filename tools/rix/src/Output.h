#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace rix::cli {

/// Writes data to standard output at once. A reader that went away (a closed pipe) has seen enough: the rest is
/// dropped. @throws Failure (unwritable output) when standard output cannot take it, for instance a full disk.
void writeData(std::string_view text);

/// The JSON form of data: indented by two, with a line end. Bytes of texts that are no UTF-8 are replaced.
void writeJson(const nlohmann::json& value);

/// Writes a message for people to standard error. Nobody can be told when that fails.
void writeMessage(std::string_view text);

/// Columns of text, two blanks apart; the first row is the heading when there is one.
class TextTable {
public:
    TextTable() = default;
    explicit TextTable(std::vector<std::string> heading) : m_rows{std::move(heading)} {}
    void add(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }
    bool empty() const { return m_rows.empty(); }
    /// Every row on a line behind `indent`. The last text of a row may be longer than its column.
    std::string toText(std::string_view indent = "") const;

private:
    std::vector<std::vector<std::string>> m_rows;
};

/// The shortest text that reads back to the same number; "nan", "inf", "-inf" for what is no number.
std::string numberToText(double value);

/// A JSON number; the text of `numberToText` for what JSON has no number for.
nlohmann::json numberToJson(double value);

/// 'TEXT', with what would upset a terminal (control characters) replaced by '?'.
std::string inQuotes(std::string_view text);

}  // namespace rix::cli
