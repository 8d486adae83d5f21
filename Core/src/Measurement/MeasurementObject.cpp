#include <rix/measurement/MeasurementObject.h>

#include <rix/algorithms/ObjectInfo.h>
#include <rix/exceptions/Exception.h>

namespace rix::measurement {

BaseMeasurementArray::~BaseMeasurementArray() = default;
MeasurementObject::~MeasurementObject() = default;

std::size_t MeasurementObject::getNumOfArrays() const {
    return arrays().size();
}

const BaseMeasurementArray& MeasurementObject::getArray(std::size_t index) const {
    const auto all = arrays();
    if (index >= all.size()) {
        throw BadIndex("index <" + std::to_string(index) + "> must be less than " + std::to_string(all.size()));
    }
    return *all[index];
}

const BaseMeasurementArray* MeasurementObject::findArray(const String& name) const {
    for (const BaseMeasurementArray* const array : arrays()) {
        if (array->getName() == name) {
            return array;
        }
    }
    return nullptr;
}

vessel::DataFrame MeasurementObject::toDataFrame() const {
    const auto all = arrays();
    for (const BaseMeasurementArray* const array : all) {
        if (array->size() != all.front()->size()) {
            throw InvalidCall("The arrays of a " + getClassInfo().getClassName() + " make no table: \"" +
                              all.front()->getName() + "\" has " + std::to_string(all.front()->size()) + " values, \"" +
                              array->getName() + "\" has " + std::to_string(array->size()) + '.');
        }
    }
    vessel::DataFrame table;
    for (const BaseMeasurementArray* const array : all) {
        array->appendTo(table);
    }
    return table;
}

}  // namespace rix::measurement
