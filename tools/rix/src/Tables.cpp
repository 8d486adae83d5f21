#include "Tables.h"

#include <vector>

namespace rix::cli {
namespace {

std::string headingOf(const vessel::ColumnInfo& column) {
    return column.unit.empty() ? column.name : column.name + " [" + column.unit + ']';
}

nlohmann::json valueOf(const vessel::DataFrameView& table, std::size_t row, std::size_t column) {
    switch (table.getColumnType(column)) {
        case vessel::ColumnType::REAL:
            return numberToJson(table.getReals(column)[row]);
        case vessel::ColumnType::INTEGER:
            return table.getIntegers(column)[row];
        case vessel::ColumnType::TEXT:
            break;
    }
    return table.getTexts(column)[row];
}

std::string textOf(const vessel::DataFrameView& table, std::size_t row, std::size_t column) {
    if (table.getColumnType(column) == vessel::ColumnType::REAL) {
        return numberToText(table.getReals(column)[row]);
    }
    const nlohmann::json value = valueOf(table, row, column);
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string quoted(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string result = "\"";
    for (const char c : text) {
        result += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return result + '"';
}

}  // namespace

TextTable toTextTable(const vessel::DataFrameView& table) {
    std::vector<std::string> heading;
    for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
        heading.push_back(headingOf(table.getColumnInfo(column)));
    }
    TextTable result(std::move(heading));
    for (std::size_t row = 0; row < table.getRowCount(); ++row) {
        std::vector<std::string> values;
        for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
            values.push_back(textOf(table, row, column));
        }
        result.add(std::move(values));
    }
    return result;
}

nlohmann::json toJson(const vessel::DataFrameView& table) {
    nlohmann::json columns = nlohmann::json::array();
    for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
        const vessel::ColumnInfo& info = table.getColumnInfo(column);
        nlohmann::json values = nlohmann::json::array();
        for (std::size_t row = 0; row < table.getRowCount(); ++row) {
            values.push_back(valueOf(table, row, column));
        }
        columns.push_back({{"name", info.name},
                           {"unit", info.unit},
                           {"description", info.description},
                           {"values", std::move(values)}});
    }
    return {{"columns", std::move(columns)}};
}

std::string toCsv(const vessel::DataFrameView& table) {
    std::string text;
    for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
        text += (column == 0 ? "" : ",") + quoted(headingOf(table.getColumnInfo(column)));
    }
    text += "\r\n";
    for (std::size_t row = 0; row < table.getRowCount(); ++row) {
        for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
            text += (column == 0 ? "" : ",") + quoted(textOf(table, row, column));
        }
        text += "\r\n";
    }
    return text;
}

}  // namespace rix::cli
