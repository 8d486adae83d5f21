#include "JoinedTable.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <set>
#include <utility>

namespace rix::cli {
namespace {

using vessel::ColumnInfo;
using vessel::ColumnType;
using vessel::DataFrame;

std::optional<std::size_t> findColumn(const DataFrame& table, const ColumnInfo& info) {
    const auto found = table.findColumn(info.name);
    return found && table.getColumnInfo(*found).unit == info.unit ? found : std::nullopt;
}

/// A column that is text in any table is text, one that is real or missing in any is real.
ColumnType widest(std::optional<ColumnType> a, ColumnType b) {
    if (!a || *a == b) {
        return b;
    }
    return *a == ColumnType::TEXT || b == ColumnType::TEXT ? ColumnType::TEXT : ColumnType::REAL;
}

void append(const DataFrame& table, std::size_t column, std::vector<double>& values) {
    if (table.getColumnType(column) == ColumnType::REAL) {
        const auto reals = table.getReals(column);
        values.insert(values.end(), reals.begin(), reals.end());
    } else {
        for (const std::int64_t value : table.getIntegers(column)) {
            values.push_back(static_cast<double>(value));
        }
    }
}

void append(const DataFrame& table, std::size_t column, std::vector<std::int64_t>& values) {
    const auto integers = table.getIntegers(column);
    values.insert(values.end(), integers.begin(), integers.end());
}

void append(const DataFrame& table, std::size_t column, std::vector<std::string>& values) {
    if (table.getColumnType(column) == ColumnType::TEXT) {
        const auto texts = table.getTexts(column);
        values.insert(values.end(), texts.begin(), texts.end());
    } else {
        values.resize(values.size() + table.getRowCount());
    }
}

}  // namespace

void JoinedTable::add(std::size_t place, const std::string& file, DataFrame table) {
    const auto after = std::upper_bound(m_parts.begin(), m_parts.end(), place,
                                        [](std::size_t wanted, const Part& part) { return wanted < part.place; });
    m_parts.insert(after, Part{place, file, std::move(table)});
}

DataFrame JoinedTable::toDataFrame() const {
    std::vector<std::string> files;
    std::vector<ColumnInfo> columns;
    for (const Part& part : m_parts) {
        files.insert(files.end(), part.table.getRowCount(), part.file);
        for (std::size_t i = 0; i < part.table.getColumnCount(); ++i) {
            const ColumnInfo& info = part.table.getColumnInfo(i);
            const auto same = [&](const ColumnInfo& known) {
                return known.name == info.name && known.unit == info.unit;
            };
            if (std::none_of(columns.begin(), columns.end(), same)) {
                columns.push_back(info);
            }
        }
    }
    DataFrame joined;
    joined.addColumn(ColumnInfo{"File", {}, "The file that the row is of."}, std::move(files));
    std::set<std::string> names{"File"};
    for (ColumnInfo& info : columns) {
        std::optional<ColumnType> type;
        for (const Part& part : m_parts) {
            const auto column = findColumn(part.table, info);
            type = widest(type, column ? part.table.getColumnType(*column) : ColumnType::REAL);
        }
        const auto fill = [&]<class T>(std::vector<T> values, const T& missing) {
            for (const Part& part : m_parts) {
                if (const auto column = findColumn(part.table, info)) {
                    append(part.table, *column, values);
                } else {
                    values.insert(values.end(), part.table.getRowCount(), missing);
                }
            }
            ColumnInfo named = info;
            if (!names.insert(named.name).second) {  // the name with another unit, or of the column of files
                named.name += named.unit.empty() ? " []" : " [" + std::exchange(named.unit, {}) + ']';
                names.insert(named.name);
            }
            joined.addColumn(std::move(named), std::move(values));
        };
        switch (*type) {
            case ColumnType::REAL: fill(std::vector<double>(), std::numeric_limits<double>::quiet_NaN()); break;
            case ColumnType::INTEGER: fill(std::vector<std::int64_t>(), std::int64_t{0}); break;
            case ColumnType::TEXT: fill(std::vector<std::string>(), std::string()); break;
        }
    }
    return joined;
}

}  // namespace rix::cli
