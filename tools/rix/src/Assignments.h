#pragma once

#include <string>
#include <vector>

#include <rix/properties/BaseProperty.h>

namespace rix::cli {

/// One "name=value" of a command line.
struct Assignment {
    std::string name;
    std::string text;
};

/// Cuts arguments at their first "=". @throws Failure (wrong usage) for an argument without one, without a name, and
/// for a name that comes twice.
std::vector<Assignment> parseAssignments(const std::vector<std::string>& arguments);

/// Reads a value into a property by the library's own text form. The tool is stricter than that form where it would
/// take a slip of the pen for another number: the whole text has to be a number, and one that the type can hold.
/// @throws Failure (wrong usage) naming what is accepted.
void setValue(BaseProperty& property, const std::string& text);

}  // namespace rix::cli
