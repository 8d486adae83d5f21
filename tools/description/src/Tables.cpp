#include <rix/description/Tables.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include <nlohmann/json.hpp>

#include <rix/description/Text.h>
#include <rix/measurement/TableText.h>

namespace rix::description {
namespace {

std::string headingOf(const vessel::ColumnInfo& column) {
    return column.unit.empty() ? column.name : column.name + " [" + column.unit + ']';
}

/// Six digits are enough for the eye; files have all of them.
std::string rounded(double value) {
    if (!std::isfinite(value)) {
        return numberToText(value);
    }
    constexpr int digits = 6;
    std::array<char, 32> buffer{};
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, digits);
    return {buffer.data(), end.ptr};
}

std::string textOf(const vessel::DataFrameView& table, std::size_t row, std::size_t column) {
    switch (table.getColumnType(column)) {
        case vessel::ColumnType::REAL:
            return table.getRowCount() == 1 ? numberToText(table.getReals(column)[row])
                                            : rounded(table.getReals(column)[row]);
        case vessel::ColumnType::INTEGER: return std::to_string(table.getIntegers(column)[row]);
        case vessel::ColumnType::TEXT: break;
    }
    return table.getTexts(column)[row];
}

}  // namespace

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

TextTable toTextTable(const vessel::DataFrameView& table, std::size_t mostRows) {
    std::vector<std::string> heading;
    for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
        heading.push_back(headingOf(table.getColumnInfo(column)));
    }
    TextTable result(std::move(heading));
    const std::size_t rows = std::min(table.getRowCount(), mostRows);
    for (std::size_t row = 0; row < rows; ++row) {
        std::vector<std::string> values;
        for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
            values.push_back(textOf(table, row, column));
        }
        result.add(std::move(values));
    }
    if (rows < table.getRowCount()) {
        result.add({"... and " + std::to_string(table.getRowCount() - rows) + " more"});
    }
    return result;
}

nlohmann::json toJson(const vessel::DataFrameView& table) {
    return nlohmann::json::parse(measurement::tableToJson(table));
}

}  // namespace rix::description
