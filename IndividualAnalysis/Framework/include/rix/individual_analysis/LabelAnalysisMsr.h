#pragma once

#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include <vessel/DataFrameView.h>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::individual_analysis {

/// The table that `LabelAnalysis` fills: a row for each object, a column for each value of the measures that were asked
/// for. Rows are in the order of frames, then labels.
class RIX_EXPORT LabelAnalysisMsr : public measurement::MeasurementObject {
public:
    /// The values of one column behind the keys: whole numbers or reals.
    using Column = std::variant<measurement::MeasurementArray<double>, measurement::MeasurementArray<std::int64_t>>;

    LabelAnalysisMsr();
    ~LabelAnalysisMsr() override;

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    /// Index on the sequence axis of each object.
    measurement::MeasurementArray<std::int64_t> frame;
    /// Label of each object.
    measurement::MeasurementArray<std::int64_t> label;
    /// What was measured, in the order of the request.
    std::vector<Column> values;

    /// All columns as a table, without a copy: it shows the arrays of this object as they are now and lives as long as
    /// the object.
    const vessel::DataFrameView& getTable() const;

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;

private:
    class Table;
    std::unique_ptr<Table> m_table;
};

}  // namespace rix::individual_analysis
