#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include <vessel/DataFrame.h>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/measurement/MeasurementArray.h>

namespace rix {

class ObjectInfo;

namespace measurement {

/// Base of the result objects that measuring algorithms fill: a few named arrays with descriptions and units.
///
/// A concrete class has one public `MeasurementArray` for each of its results and names them in `arrays`; that is all
/// that tables, files and bindings need. Objects are owned by whoever made them and outlive the runs that fill them.
class RIX_EXPORT MeasurementObject {
public:
    virtual ~MeasurementObject();

    /// The record of the class in the registry of objects.
    virtual const ObjectInfo& getClassInfo() const = 0;
    /// What the object contains, in one sentence.
    virtual String getDescription() const = 0;

    std::size_t getNumOfArrays() const;
    /// @throws BadIndex when there is no such array.
    const BaseMeasurementArray& getArray(std::size_t index) const;
    /// The array of that name, or null.
    const BaseMeasurementArray* findArray(const String& name) const;

    /// The arrays as the columns of a table, in their order. After a run that was iterated the indices of the passes
    /// come first, as the columns "Frame" and "Channel", where no array has that name.
    /// @throws InvalidCall, naming the lengths, when the arrays differ in length and so make no table.
    vessel::DataFrame toDataFrame() const;

    /// What one pass of a run left that was iterated over the sequence axis, the spectral axis or both.
    struct Pass {
        std::optional<std::size_t> frame;    ///< its index on the sequence axis, when that is iterated
        std::optional<std::size_t> channel;  ///< on the spectral axis
        std::size_t rows = 0;                ///< how many values each array has of it
    };
    /// The passes of the last run in the order of the values; empty when it was not iterated. Set by the run.
    const std::vector<Pass>& getPasses() const { return m_passes; }
    void setPasses(std::vector<Pass> passes) { m_passes = std::move(passes); }

    /// For each value the index of its pass, as a column "Frame" or "Channel".
    struct IndexColumn {
        vessel::ColumnInfo info;
        std::vector<std::int64_t> values;
    };
    /// Those of the axes that were iterated and of which no array tells itself.
    std::vector<IndexColumn> getIndexColumns() const;

protected:
    MeasurementObject() = default;
    MeasurementObject(const MeasurementObject&) = default;
    MeasurementObject& operator=(const MeasurementObject&) = default;

    /// The arrays in the order of the table's columns.
    virtual std::vector<const BaseMeasurementArray*> arrays() const = 0;

private:
    std::vector<Pass> m_passes;
};

}  // namespace measurement
}  // namespace rix
