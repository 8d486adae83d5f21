#include <rix/individual_analysis/TableText.h>

#include <cmath>
#include <cstddef>

#include <nlohmann/json.hpp>

#include <rix/rules/RuleSupport.h>

namespace rix::individual_analysis {

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
        return {};
    }
    char text[32];
    const auto end = std::to_chars(text, text + sizeof(text), number).ptr;
    return {text, end};
}

String field(const vessel::DataFrameView& table, std::size_t column, std::size_t row) {
    switch (table.getColumnType(column)) {
        case vessel::ColumnType::REAL: return shortest(table.getReals(column)[row]);
        case vessel::ColumnType::INTEGER: return std::to_string(table.getIntegers(column)[row]);
        case vessel::ColumnType::TEXT: return quoted(table.getTexts(column)[row]);
    }
    return {};
}

nlohmann::json valuesOf(const vessel::DataFrameView& table, std::size_t column) {
    switch (table.getColumnType(column)) {
        case vessel::ColumnType::REAL: return table.getReals(column);
        case vessel::ColumnType::INTEGER: return table.getIntegers(column);
        case vessel::ColumnType::TEXT: return table.getTexts(column);
    }
    return nullptr;
}

}  // namespace

String tableToCsv(const vessel::DataFrameView& table) {
    String text;
    const auto addLine = [&](const auto& fieldOf) {
        for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
            text += column == 0 ? "" : ",";
            text += fieldOf(column);
        }
        text += '\n';
    };
    addLine([&](std::size_t column) {
        const vessel::ColumnInfo& info = table.getColumnInfo(column);
        return quoted(info.unit.empty() ? info.name : info.name + " [" + info.unit + ']');
    });
    for (std::size_t row = 0; row < table.getRowCount(); ++row) {
        addLine([&](std::size_t column) { return field(table, column, row); });
    }
    return text;
}

String tableToJson(const vessel::DataFrameView& table) {
    nlohmann::ordered_json columns = nlohmann::ordered_json::array();
    for (std::size_t column = 0; column < table.getColumnCount(); ++column) {
        const vessel::ColumnInfo& info = table.getColumnInfo(column);
        nlohmann::ordered_json entry;
        entry["name"] = info.name;
        entry["unit"] = info.unit;
        entry["description"] = info.description;
        entry["values"] = valuesOf(table, column);
        columns.push_back(std::move(entry));
    }
    nlohmann::ordered_json document;
    document["columns"] = std::move(columns);
    return document.dump(2);
}

}  // namespace rix::individual_analysis
