#include <vessel/DataFrame.h>

#include <stdexcept>
#include <utility>
#include <variant>

namespace vessel {

DataFrameView::~DataFrameView() = default;

std::optional<std::size_t> DataFrameView::findColumn(std::string_view name) const {
    for (std::size_t column = 0; column < getColumnCount(); ++column) {
        if (getColumnInfo(column).name == name) {
            return column;
        }
    }
    return std::nullopt;
}

struct DataFramePrivate {
    /// In the order of `ColumnType`.
    using Values = std::variant<std::vector<double>, std::vector<std::int64_t>, std::vector<std::string>>;
    struct Column {
        ColumnInfo info;
        Values values;
    };

    std::vector<Column> columns;
    std::size_t rowCount = 0;

    template <class T>
    void add(const DataFrameView& table, ColumnInfo info, std::vector<T> values) {
        if (table.findColumn(info.name)) {
            throw std::invalid_argument("The table already has a column \"" + info.name + "\".");
        }
        if (!columns.empty() && values.size() != rowCount) {
            throw std::invalid_argument("Column \"" + info.name + "\" has " + std::to_string(values.size()) +
                                        " values, the table has " + std::to_string(rowCount) + " rows.");
        }
        const std::size_t count = values.size();
        columns.push_back({std::move(info), std::move(values)});
        rowCount = count;
    }

    template <class T>
    std::span<const T> get(std::size_t column) const {
        const Column& found = columns.at(column);
        const auto* const values = std::get_if<std::vector<T>>(&found.values);
        if (values == nullptr) {
            throw std::invalid_argument("Column \"" + found.info.name + "\" is of another type.");
        }
        return *values;
    }
};

DataFrame::DataFrame() : m_private(std::make_unique<DataFramePrivate>()) {}
DataFrame::DataFrame(const DataFrame& other)
    : DataFrameView(other), m_private(std::make_unique<DataFramePrivate>(*other.m_private)) {}
DataFrame::~DataFrame() = default;

DataFrame& DataFrame::operator=(const DataFrame& other) {
    *m_private = DataFramePrivate(*other.m_private);
    return *this;
}

void DataFrame::addColumn(ColumnInfo info, std::vector<double> values) {
    m_private->add(*this, std::move(info), std::move(values));
}

void DataFrame::addColumn(ColumnInfo info, std::vector<std::int64_t> values) {
    m_private->add(*this, std::move(info), std::move(values));
}

void DataFrame::addColumn(ColumnInfo info, std::vector<std::string> values) {
    m_private->add(*this, std::move(info), std::move(values));
}

std::size_t DataFrame::getRowCount() const {
    return m_private->rowCount;
}

std::size_t DataFrame::getColumnCount() const {
    return m_private->columns.size();
}

const ColumnInfo& DataFrame::getColumnInfo(std::size_t column) const {
    return m_private->columns.at(column).info;
}

ColumnType DataFrame::getColumnType(std::size_t column) const {
    return static_cast<ColumnType>(m_private->columns.at(column).values.index());
}

std::span<const double> DataFrame::getReals(std::size_t column) const {
    return m_private->get<double>(column);
}

std::span<const std::int64_t> DataFrame::getIntegers(std::size_t column) const {
    return m_private->get<std::int64_t>(column);
}

std::span<const std::string> DataFrame::getTexts(std::size_t column) const {
    return m_private->get<std::string>(column);
}

}  // namespace vessel
