#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <vessel/ArrayX.h>
#include <vessel/DataFrame.h>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix::measurement {

/// One named array of a result object, whatever the type of its values.
class RIX_EXPORT BaseMeasurementArray {
public:
    virtual ~BaseMeasurementArray();

    const String& getName() const { return m_info.name; }
    const String& getDescription() const { return m_info.description; }
    /// Empty for a number without unit and for text.
    const String& getUnit() const { return m_info.unit; }
    /// For units that are known only when the image is.
    void setUnit(const String& unit) { m_info.unit = unit; }

    /// All three at once, as a table has them.
    const vessel::ColumnInfo& getColumnInfo() const { return m_info; }

    virtual std::size_t size() const = 0;
    /// Appends the array to a table as a column. @throws std::invalid_argument when the table refuses it.
    virtual void appendTo(vessel::DataFrame& table) const = 0;

protected:
    explicit BaseMeasurementArray(vessel::ColumnInfo info) : m_info(std::move(info)) {}
    BaseMeasurementArray(const BaseMeasurementArray&) = default;
    BaseMeasurementArray& operator=(const BaseMeasurementArray&) = default;

private:
    vessel::ColumnInfo m_info;
};

/// The value types of a table's columns.
template <class T>
concept MeasurementValue = std::same_as<T, double> || std::same_as<T, std::int64_t> || std::same_as<T, String>;

/// A one-dimensional array of any length, with its name, description and unit. A value type: copies share nothing.
template <MeasurementValue T>
class RIX_EXPORT MeasurementArray : public BaseMeasurementArray {
public:
    using value_type = T;  // the names of the standard library's containers: an array is a range of its values
    using const_iterator = const T*;

    MeasurementArray(const String& name, const String& description, const String& unit = String())
        : BaseMeasurementArray({name, unit, description}) {}

    std::size_t size() const override { return m_values.size(); }
    /// `size` values of `T()`.
    void reset(std::size_t size) { m_values = vessel::ArrayX<T>(size); }
    /// Keeps the values that remain; new ones are `T()`. Growing again and again costs a constant time a value.
    void resize(std::size_t size) { m_values.resize(size); }

    /// Positions are not checked.
    T& operator[](std::size_t index) { return m_values[index]; }
    const T& operator[](std::size_t index) const { return m_values[index]; }
    const vessel::ArrayX<T>& values() const { return m_values; }
    const_iterator begin() const { return m_values.data(); }
    const_iterator end() const { return m_values.data() + m_values.size(); }

    void appendTo(vessel::DataFrame& table) const override {
        table.addColumn(getColumnInfo(), std::vector<T>(m_values.begin(), m_values.end()));
    }

private:
    vessel::ArrayX<T> m_values;
};

}  // namespace rix::measurement
