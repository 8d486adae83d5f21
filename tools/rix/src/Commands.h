#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ExitCode.h"

namespace CLI {
class App;
}

namespace rix::cli {

/// What the chosen command does; returns the exit code.
using Action = std::function<int()>;

// Each adds its command with options, help and example to the program; a command that was parsed leaves its action in
// `chosen`, which must outlive the parsing.
void addListCommand(CLI::App& program, Action& chosen);
void addDescribeCommand(CLI::App& program, Action& chosen);
void addRunCommand(CLI::App& program, Action& chosen);
void addConvertCommand(CLI::App& program, Action& chosen);
void addInfoCommand(CLI::App& program, Action& chosen);
void addRenderCommand(CLI::App& program, Action& chosen);
void addRecipeCommand(CLI::App& program, Action& chosen);
/// "plan", "block", "join" and "finish".
void addPlanCommands(CLI::App& program, Action& chosen);
void addCompletionCommand(CLI::App& program, Action& chosen);
void addDemoCommand(CLI::App& program, Action& chosen);

/// All that were added, in that order.
std::vector<std::string> commandNames(const CLI::App& program);

}  // namespace rix::cli
