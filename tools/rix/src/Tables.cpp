#include "Tables.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

#include <rix/io/TextFile.h>
#include <rix/measurement/TableText.h>

#include "Failure.h"
#include "ImageFiles.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

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

void checkCanWriteTable(const fs::path& path) {
    const fs::path extension = path.extension();
    if (extension != ".csv" && extension != ".json") {
        throw Failure(UNWRITABLE_OUTPUT, "the table " + inQuotes(path.string()) +
                                             " can't be written: its extension is none of .csv, .json");
    }
    checkCanWriteFile(path);
}

void saveTable(const fs::path& path, const vessel::DataFrameView& table) {
    try {
        io::writeTextFile(
            path, path.extension() == ".json" ? measurement::tableToJson(table) : measurement::tableToCsv(table));
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
}

}  // namespace rix::cli
