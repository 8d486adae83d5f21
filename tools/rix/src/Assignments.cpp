#include "Assignments.h"

#include <set>

#include <rix/description/Text.h>

#include "Failure.h"

namespace rix::cli {

std::vector<Assignment> parseAssignments(const std::vector<std::string>& arguments) {
    std::vector<Assignment> assignments;
    std::set<std::string> names;
    for (const auto& argument : arguments) {
        const std::size_t equals = argument.find('=');
        if (equals == std::string::npos || equals == 0) {
            throw Failure(WRONG_USAGE, description::inQuotes(argument) + " is no assignment of the form name=value");
        }
        assignments.push_back({argument.substr(0, equals), argument.substr(equals + 1)});
        if (!names.insert(assignments.back().name).second) {
            throw Failure(WRONG_USAGE, assignments.back().name + " is given twice");
        }
    }
    return assignments;
}

}  // namespace rix::cli
