#include "Assignments.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <string_view>

#include <rix/properties/Property.h>
#include <rix/properties/PropertySingleChoice.h>

#include "Algorithms.h"
#include "Failure.h"
#include "Output.h"
#include "Suggestions.h"

namespace rix::cli {
namespace {

template <class T>
bool isWholly(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    T value{};
    const auto end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

/// False when the property holds a number of type T and the text isn't one from its first to its last letter.
template <class... Ts>
bool passesAsNumber(const BaseProperty& property, const std::string& text) {
    return ((dynamic_cast<const Property<Ts>*>(&property) == nullptr || isWholly<Ts>(text)) && ...);
}

bool isWellFormed(const BaseProperty& property, const std::string& text) {
    if (const auto* choice = dynamic_cast<const PropertySingleChoice*>(&property)) {
        return choice->getEnumInfo() == nullptr || choice->getEnumInfo()->exists(text) || isWholly<int>(text);
    }
    // Several choices are numbers to the library, too, but it reads each of their texts as a whole.
    return enumerationOf(property) != nullptr ||
           passesAsNumber<int, unsigned int, long, unsigned long, double>(property, text);
}

std::string join(const std::vector<std::string>& texts) {
    std::string joined;
    for (const auto& text : texts) {
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}

/// The labels that the wrong one of several labels joined by "|" may have meant.
std::vector<std::string> suggestLabels(const std::string& text, const std::vector<std::string>& labels) {
    const std::set<std::string> known(labels.begin(), labels.end());
    for (std::size_t first = 0; first <= text.size();) {
        const std::size_t end = std::min(text.find('|', first), text.size());
        const std::string label = text.substr(first, end - first);
        if (!label.empty() && !known.contains(label)) {
            return suggest(label, labels);
        }
        first = end + 1;
    }
    return {};
}

}  // namespace

std::vector<Assignment> parseAssignments(const std::vector<std::string>& arguments) {
    std::vector<Assignment> assignments;
    std::set<std::string> names;
    for (const auto& argument : arguments) {
        const std::size_t equals = argument.find('=');
        if (equals == std::string::npos || equals == 0) {
            throw Failure(WRONG_USAGE, inQuotes(argument) + " is no assignment of the form name=value");
        }
        assignments.push_back({argument.substr(0, equals), argument.substr(equals + 1)});
        if (!names.insert(assignments.back().name).second) {
            throw Failure(WRONG_USAGE, assignments.back().name + " is given twice");
        }
    }
    return assignments;
}

void setValue(BaseProperty& property, const std::string& text) {
    const EnumInfo* enumeration = enumerationOf(property);
    std::string normalised;
    if (isWellFormed(property, text) && property.read(text, normalised)) {
        return;
    }
    const std::string complaint = property.getName() + " can't be " + inQuotes(text) + ": it takes ";
    if (enumeration != nullptr) {
        const auto labels = labelsOf(*enumeration);
        throw Failure(WRONG_USAGE, complaint + join(labels), suggestLabels(text, labels));
    }
    throw Failure(WRONG_USAGE, complaint + "a value of type " + property.getImpl()->describeType());
}

}  // namespace rix::cli
