#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <vessel/Export.h>

namespace vessel {

/// Type of all values of a column.
enum class ColumnType : std::int32_t { REAL, INTEGER, TEXT };

/// What a column holds.
struct ColumnInfo {
    std::string name;         ///< unique in its table
    std::string unit;         ///< "mm^2", for example; empty for a number without unit and for text
    std::string description;  ///< one sentence

    bool operator==(const ColumnInfo&) const = default;
};

/// A table of named, typed columns of equal length: the form in which measures leave the library.
///
/// Columns are handed out in place; a span stays valid as long as the table exists and is not changed.
class VESSEL_EXPORT DataFrameView {
public:
    virtual ~DataFrameView();

    virtual std::size_t getRowCount() const = 0;
    virtual std::size_t getColumnCount() const = 0;
    /// The following throw std::out_of_range for a column that does not exist.
    virtual const ColumnInfo& getColumnInfo(std::size_t column) const = 0;
    virtual ColumnType getColumnType(std::size_t column) const = 0;
    /// The values of a column; std::invalid_argument when it is of another type.
    virtual std::span<const double> getReals(std::size_t column) const = 0;
    virtual std::span<const std::int64_t> getIntegers(std::size_t column) const = 0;
    virtual std::span<const std::string> getTexts(std::size_t column) const = 0;

    /// The column of that name, or nothing.
    std::optional<std::size_t> findColumn(std::string_view name) const;

protected:
    DataFrameView() = default;
    DataFrameView(const DataFrameView&) = default;
    DataFrameView& operator=(const DataFrameView&) = default;
};

}  // namespace vessel
