#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <vessel/DataFrameView.h>
#include <vessel/Export.h>

namespace vessel {

struct DataFramePrivate;

/// A table that owns its columns. It is built column by column; the first column sets the number of rows.
class VESSEL_EXPORT DataFrame : public DataFrameView {
public:
    DataFrame();
    DataFrame(const DataFrame& other);
    DataFrame& operator=(const DataFrame& other);
    ~DataFrame() override;

    /// Appends a column.
    /// @throws std::invalid_argument when the name exists already or the length differs from that of the others; the
    ///         table is then unchanged
    void addColumn(ColumnInfo info, std::vector<double> values);
    void addColumn(ColumnInfo info, std::vector<std::int64_t> values);
    void addColumn(ColumnInfo info, std::vector<std::string> values);

    std::size_t getRowCount() const override;
    std::size_t getColumnCount() const override;
    const ColumnInfo& getColumnInfo(std::size_t column) const override;
    ColumnType getColumnType(std::size_t column) const override;
    std::span<const double> getReals(std::size_t column) const override;
    std::span<const std::int64_t> getIntegers(std::size_t column) const override;
    std::span<const std::string> getTexts(std::size_t column) const override;

private:
    std::unique_ptr<DataFramePrivate> m_private;
};

}  // namespace vessel
