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
    for (IndexColumn& column : getIndexColumns()) {
        table.addColumn(std::move(column.info), std::move(column.values));
    }
    for (const BaseMeasurementArray* const array : all) {
        array->appendTo(table);
    }
    return table;
}

std::vector<MeasurementObject::IndexColumn> MeasurementObject::getIndexColumns() const {
    std::vector<IndexColumn> columns;
    const auto add = [&](const char* name, const char* description, std::optional<std::size_t> Pass::* index) {
        if (m_passes.empty() || !(m_passes.front().*index) || findArray(name) != nullptr) {
            return;
        }
        IndexColumn& column = columns.emplace_back(IndexColumn{{name, {}, description}, {}});
        for (const Pass& pass : m_passes) {
            column.values.insert(column.values.end(), pass.rows, static_cast<std::int64_t>(*(pass.*index)));
        }
    };
    add("Frame", "Index on the sequence axis.", &Pass::frame);
    add("Channel", "Index on the spectral axis.", &Pass::channel);
    return columns;
}

}  // namespace rix::measurement
