#include <rix/measurement/TableText.h>

#include <charconv>
#include <cmath>
#include <cstddef>

#include <nlohmann/json.hpp>

namespace rix::measurement {

namespace {

String quoted(const String& text) {
    if (text.find_first_of(",\"\r\n") == String::npos) {
        return text;
    }
    String result = "\"";
    for (const char c : text) {
        result += c;
        if (c == '"') {
            result += c;
        }
    }
    return result + '"';
}

String shortest(double number) {
    if (std::isnan(number)) {
        return "nan";  // whatever its sign
    }
    char text[32];
    const auto end = std::to_chars(text, text + sizeof(text), number).ptr;
    return {text, end};
}

nlohmann::ordered_json valuesOf(const vessel::DataFrameView& table, std::size_t column) {
    switch (table.getColumnType(column)) {
        case vessel::ColumnType::INTEGER: return table.getIntegers(column);
        case vessel::ColumnType::TEXT: return table.getTexts(column);
        case vessel::ColumnType::REAL: break;
    }
    nlohmann::ordered_json values = nlohmann::ordered_json::array();
    for (const double value : table.getReals(column)) {
        if (std::isinf(value)) {
            values.push_back(shortest(value));
        } else {
            values.push_back(value);  // NaN is written as null
        }
    }
    return values;
}

void appendField(String& text, const vessel::DataFrameView& table, std::size_t column, std::size_t row) {
    switch (table.getColumnType(column)) {
        case vessel::ColumnType::REAL: text += shortest(table.getReals(column)[row]); break;
        case vessel::ColumnType::INTEGER: text += std::to_string(table.getIntegers(column)[row]); break;
        case vessel::ColumnType::TEXT: text += quoted(table.getTexts(column)[row]); break;
    }
}

}  // namespace

String tableToCsv(const vessel::DataFrameView& table) {
    String text;
    for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
        const vessel::ColumnInfo& info = table.getColumnInfo(column);
        text += column == 0 ? "" : ",";
        text += quoted(info.unit.empty() ? info.name : info.name + " [" + info.unit + ']');
    }
    text += '\n';
    for (std::size_t row = 0; row < table.getRowCount(); ++row) {
        for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
            text += column == 0 ? "" : ",";
            appendField(text, table, column, row);
        }
        text += '\n';
    }
    return text;
}

String tableToJson(const vessel::DataFrameView& table) {
    nlohmann::ordered_json columns = nlohmann::ordered_json::array();
    for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
        const vessel::ColumnInfo& info = table.getColumnInfo(column);
        columns.push_back({{"name", info.name},
                           {"unit", info.unit},
                           {"description", info.description},
                           {"values", valuesOf(table, column)}});
    }
    const nlohmann::ordered_json document{{"columns", std::move(columns)}};
    // Names from elsewhere may be no UTF-8: their bytes are replaced, the table is not lost.
    return document.dump(1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

}  // namespace rix::measurement
