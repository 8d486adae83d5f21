#pragma once

#include <cstddef>
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

    /// The arrays as the columns of a table, in their order.
    /// @throws InvalidCall, naming the lengths, when the arrays differ in length and so make no table.
    vessel::DataFrame toDataFrame() const;

protected:
    MeasurementObject() = default;
    MeasurementObject(const MeasurementObject&) = default;
    MeasurementObject& operator=(const MeasurementObject&) = default;

    /// The arrays in the order of the table's columns.
    virtual std::vector<const BaseMeasurementArray*> arrays() const = 0;
};

}  // namespace measurement
}  // namespace rix
