#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <vessel/DataFrameView.h>

namespace rix::description {

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

/// A table for people: a heading of the columns' names with their units in brackets, then a line a row. Reals are
/// rounded to six digits where there are several rows. Rows after `mostRows` are counted only.
TextTable toTextTable(const vessel::DataFrameView& table,
                      std::size_t mostRows = std::numeric_limits<std::size_t>::max());

/// {"columns": [{"name": ..., "unit": ..., "description": ..., "values": [...]}, ...]}
nlohmann::json toJson(const vessel::DataFrameView& table);

}  // namespace rix::description
