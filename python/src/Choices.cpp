#include "Choices.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/description/Algorithms.h>
#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>
#include <rix/properties/Property.h>
#include <rix/properties/PropertyMultipleChoices.h>

#include "Errors.h"

namespace py = pybind11;

namespace rix::python {
namespace {

bool isCombined(const BaseProperty& property) {
    return dynamic_cast<const PropertyMultipleChoices*>(&property) != nullptr;
}

std::string describeLabels(const EnumInfo& enumeration, const std::string& given) {
    const auto labels = description::labelsOf(enumeration);
    const auto similar = description::suggest(given, labels);
    return "'" + given + "' is no value" + (similar.empty() ? "" : "; did you mean " + similar.front() + '?') +
           (similar.empty() ? ": " : " It takes ") + description::join(labels);
}

/// Whether a number is a value, or consists of the bits of values where these are combined.
bool isValue(const EnumInfo& enumeration, int number, bool combined) {
    std::string labels;
    return enumeration.exists(number) || (combined && helper::readOneValue(enumeration, number, "|", labels));
}

/// An enumeration that says what Python says with True and False.
bool isYesOrNo(const EnumInfo& enumeration) {
    return enumeration.getNumOfLabels() == 2 && enumeration.exists("NO") && enumeration.exists("YES") &&
           enumeration.getValueFromLabel("NO") == 0 && enumeration.getValueFromLabel("YES") == 1;
}

}  // namespace

py::object enumerationClass(const BaseProperty& property) {
    // By address: enumerations live as long as the process. Under the interpreter's lock.
    static auto* const classes = new std::map<std::pair<const EnumInfo*, bool>, py::object>();
    const EnumInfo& enumeration = *description::enumerationOf(property);
    py::object& known = (*classes)[{&enumeration, isCombined(property)}];
    if (!known) {
        py::dict members;
        for (const auto& label : description::labelsOf(enumeration)) {
            members[py::str(label)] = enumeration.getValueFromLabel(label);
        }
        const py::object made = py::module_::import("enum").attr(isCombined(property) ? "IntFlag" : "IntEnum")(
            enumeration.getEnumName(), members, py::arg("module") = "rix",
            py::arg("qualname") = property.getOwner()->getClassInfo().getName() + "." + enumeration.getEnumName());
        // Python gives other threads their turn while it makes a class: the first one is the one that counts.
        if (!known) {
            known = made;
        }
    }
    return known;
}

py::object getChoice(const BaseProperty& property) {
    const int value = static_cast<const Property<int>&>(property).get();
    if (!isValue(*description::enumerationOf(property), value, isCombined(property))) {
        return py::int_(value);
    }
    return enumerationClass(property)(value);
}

void setChoice(BaseProperty& property, py::handle value) {
    const EnumInfo& enumeration = *description::enumerationOf(property);
    if (PyUnicode_Check(value.ptr())) {
        const auto text = value.cast<std::string>();
        std::string normalised;
        // A text is a label: numbers are given as numbers.
        if (text.find_first_of("0123456789") == 0 || !property.read(text, normalised)) {
            throw RefusedError(describeLabels(enumeration, text));
        }
        return;
    }
    const bool isAnswer = PyBool_Check(value.ptr()) != 0;
    const bool isMember = py::hasattr(value, "_member_map_");
    if (PyIndex_Check(value.ptr()) == 0 || (isAnswer && !isYesOrNo(enumeration)) ||
        (isMember && !py::isinstance(value, enumerationClass(property)))) {
        throw WrongTypeError("a value of type " + describeObject(value) + " was given; a member of " +
                             enumeration.getEnumName() + ", its number or its label is accepted");
    }
    const long number = PyLong_AsLong(value.ptr());
    if (number == -1 && PyErr_Occurred() != nullptr) {
        PyErr_Clear();
    }
    if (number != static_cast<int>(number) || !isValue(enumeration, static_cast<int>(number), isCombined(property))) {
        throw RefusedError(describeLabels(enumeration, py::str(value).cast<std::string>()));
    }
    static_cast<Property<int>&>(property).set(static_cast<int>(number));
}

}  // namespace rix::python
