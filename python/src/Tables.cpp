#include "Tables.h"

#include <cstdint>
#include <string>

#include <pybind11/numpy.h>

#include <rix/measurement/MeasurementArray.h>

namespace py = pybind11;

namespace rix::python {
namespace {

/// The numbers of an array in place; nothing when it holds another type.
template <class T>
py::object numbersOf(const measurement::BaseMeasurementArray& base, py::handle keeper) {
    const auto* array = dynamic_cast<const measurement::MeasurementArray<T>*>(&base);
    if (array == nullptr) {
        return {};
    }
    return py::array_t<T>(static_cast<py::ssize_t>(array->size()), array->values().data(), keeper);
}

py::object textsOf(const measurement::BaseMeasurementArray& base) {
    py::list texts;
    if (const auto* array = dynamic_cast<const measurement::MeasurementArray<String>*>(&base)) {
        for (const auto& text : *array) {
            texts.append(text);
        }
    }
    return py::module_::import("numpy").attr("array")(texts, py::arg("dtype") = "O");
}

}  // namespace

py::object tableOf(const std::shared_ptr<measurement::MeasurementObject>& object) {
    auto owner = std::make_unique<std::shared_ptr<measurement::MeasurementObject>>(object);
    const py::capsule keeper(
        owner.get(), [](void* kept) { delete static_cast<std::shared_ptr<measurement::MeasurementObject>*>(kept); });
    static_cast<void>(owner.release());
    py::dict columns;
    py::dict units;
    py::dict descriptions;
    for (const auto& index : object->getIndexColumns()) {
        const py::str name(index.info.name);
        columns[name] = py::array_t<std::int64_t>(static_cast<py::ssize_t>(index.values.size()), index.values.data());
        units[name] = index.info.unit;
        descriptions[name] = index.info.description;
    }
    for (std::size_t i = 0; i < object->getNumOfArrays(); ++i) {
        const measurement::BaseMeasurementArray& array = object->getArray(i);
        const py::str name(array.getName());
        py::object values = numbersOf<double>(array, keeper);
        if (!values) {
            values = numbersOf<std::int64_t>(array, keeper);
        }
        columns[name] = values ? values : textsOf(array);
        units[name] = array.getUnit();
        descriptions[name] = array.getDescription();
    }
    return py::module_::import("rix._table").attr("Table")(columns, units, descriptions);
}

}  // namespace rix::python
