#include "Program.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <rix/Library.h>
#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>

#include "Commands.h"
#include "Failure.h"
#include "Interrupts.h"
#include "Output.h"

namespace rix::cli {
namespace {

constexpr const char* footer =
    "Exit codes:\n"
    "  0 done, 1 the run failed, 2 wrong usage, 3 refused by a rule, 4 an input can't be read,\n"
    "  5 an output can't be written, 130 interrupted\n"
    "\n"
    "Environment:\n"
    "  RIX_PLUGIN_DIRECTORY  folder of plug-ins, whose algorithms and runners are used beside those of the library\n"
    "\n"
    "Used most:\n"
    "  rix list [WORD...]                    all algorithms, or those that words are about\n"
    "  rix help CLASS                        what an algorithm takes, with an example\n"
    "  rix info IMAGE                        what is in a file\n"
    "  rix run CLASS inputImage=FILE PROPERTY=VALUE... outputImage=FILE\n"
    "\n"
    "Example:\n"
    "  rix demo";

struct LibraryInUse {
    LibraryInUse() { rix::init(); }
    ~LibraryInUse() { rix::finish(); }
    LibraryInUse(const LibraryInUse&) = delete;
    LibraryInUse& operator=(const LibraryInUse&) = delete;
};

/// Asked before the arguments are parsed: their mistakes are reported as objects, too.
bool wantsJson(const std::vector<std::string>& arguments) {
    for (const auto& argument : arguments) {
        if (argument == "--json" || argument == "--") {
            return argument == "--json";
        }
    }
    return false;
}

bool isCommand(const CLI::App& program, const std::string& name) {
    return std::ranges::count(commandNames(program), name) > 0;
}

/// CLI11 only says that an unknown command is one word too many.
void refuseUnknownCommand(const CLI::App& program, const std::vector<std::string>& arguments) {
    if (!arguments.front().starts_with('-') && !isCommand(program, arguments.front())) {
        throw Failure(WRONG_USAGE,
                      "there is no command " + description::inQuotes(arguments.front()) + " ('rix --help' names all)",
                      description::suggest(arguments.front(), commandNames(program)));
    }
}

/// "rix help", "rix help run" and "rix help GaussianFilter2d" in the words of the program.
std::vector<std::string> withoutHelpCommand(std::vector<std::string> arguments, const CLI::App& program) {
    if (arguments.front() != "help") {
        return arguments;
    }
    arguments.erase(arguments.begin());
    if (arguments.empty() || isCommand(program, arguments.front())) {
        arguments.emplace_back("--help");
    } else {
        arguments.insert(arguments.begin(), "describe");
    }
    return arguments;
}

/// CLI11 takes "[ab].tif[z=1]" for a list in brackets. With its folder before it, the path is the same and begins
/// otherwise.
std::vector<std::string> withoutLists(std::vector<std::string> arguments) {
    for (std::string& argument : arguments) {
        if (argument.starts_with('[') && argument.ends_with(']') && argument.rfind('[') > 0) {
            argument.insert(0, "./");
        }
    }
    return arguments;
}

int parseAndRun(const std::vector<std::string>& given) {
    CLI::App program("rix: 2D and 3D image processing on files", "rix");
    program.get_formatter()->label("SUBCOMMAND", "COMMAND");
    program.get_formatter()->label("Subcommands", "Commands");
    program.get_formatter()->label("TEXT", "");
    Action chosen;
    addListCommand(program, chosen);
    addDescribeCommand(program, chosen);
    addRunCommand(program, chosen);
    addConvertCommand(program, chosen);
    addInfoCommand(program, chosen);
    addRenderCommand(program, chosen);
    addRecipeCommand(program, chosen);
    addPlanCommands(program, chosen);
    addCompletionCommand(program, chosen);
    addDemoCommand(program, chosen);
    program.set_version_flag("--version", std::string("rix ") + rix::version());
    program.require_subcommand(1);
    program.footer(footer);

    if (given.empty()) {
        writeMessage(program.help());
        return WRONG_USAGE;
    }
    const std::vector<std::string> arguments = withoutHelpCommand(given, program);
    refuseUnknownCommand(program, arguments);
    try {
        const std::vector<std::string> words = withoutLists(arguments);
        program.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // taken from the back
    } catch (const CLI::Success& request) {                                     // help or version
        std::ostringstream text;
        program.exit(request, text, text);
        std::string lines = text.str();
        lines += lines.ends_with('\n') ? "" : "\n";
        writeData(lines);
        return DONE;
    } catch (const CLI::ParseError& error) {
        throw Failure(WRONG_USAGE, error.what());
    }
    const LibraryInUse library;
    try {
        rix::initPlugins();
        return chosen();
    } catch (...) {
        // What a plug-in throws is looked at while its code is there.
        throw failureOfCurrentException();
    }
}

}  // namespace

std::vector<std::string> commandNames(const CLI::App& program) {
    std::vector<std::string> names;
    for (const CLI::App* const command : program.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    return names;
}

int runProgram(int argc, const char* const* argv) noexcept {
    bool json = false;
    try {
        const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
        json = wantsJson(arguments);
        // A reader that goes away shows as a failed write, which is no reason to die.
        std::signal(SIGPIPE, SIG_IGN);
        // Nor is a limit on the size of files: the write that meets it fails.
        std::signal(SIGXFSZ, SIG_IGN);
        const Interrupts interrupts;
        return parseAndRun(arguments);
    } catch (...) {
        try {
            auto failure = failureOfCurrentException();
            const auto replace = nlohmann::json::error_handler_t::replace;
            writeMessage(json ? toJson(failure).dump(-1, ' ', false, replace) + '\n' : toText(failure));
            return failure.exitCode();
        } catch (...) {
            std::fputs("rix: not enough memory to report a failure\n", stderr);
            return RUN_FAILED;
        }
    }
}

}  // namespace rix::cli
