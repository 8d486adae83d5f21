#pragma once

#include <string>
#include <vector>

namespace rix::cli {

/// One "name=value" of a command line.
struct Assignment {
    std::string name;
    std::string text;
};

/// Cuts arguments at their first "=". @throws Failure (wrong usage) for an argument without one, without a name, and
/// for a name that comes twice.
std::vector<Assignment> parseAssignments(const std::vector<std::string>& arguments);

}  // namespace rix::cli
