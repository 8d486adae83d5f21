#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <rix/description/Algorithms.h>
#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>

#include "../Commands.h"
#include "../Failure.h"
#include "../Output.h"

namespace rix::cli {
namespace {

/// The words of a list for a shell: blanks between them. Names of classes, properties and labels have none inside.
std::string words(const std::vector<std::string>& list) {
    std::string text;
    for (const std::string& word : list) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

/// The branches of a shell's "case" that give what may follow `rix run CLASS`: names of properties with "=", and for
/// a choice its labels.
std::string propertyBranches() {
    std::string branches;
    for (const AlgoInfo* const info : description::listedClasses()) {
        const auto algorithm = description::createAlgorithm(*info);
        std::vector<std::string> names;
        std::string labels;
        for (const BaseProperty* const property : description::listProperties(*algorithm)) {
            if (property->isOutput() && description::imageRoleOf(*property) == description::ImageRole::None) {
                continue;
            }
            names.push_back(property->getName() + '=');
            if (const EnumInfo* const enumeration = description::enumerationOf(*property)) {
                labels += "      " + info->getName() + ':' + property->getName() + ") values=\"" +
                          words(description::labelsOf(*enumeration)) + "\" ;;\n";
            }
        }
        branches += labels + "      " + info->getName() + ":) names=\"" + words(names) + "\" ;;\n";
    }
    return branches;
}

std::string commandNames(const CLI::App& program) {
    std::vector<std::string> names;
    for (const CLI::App* const command : program.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    return words(names);
}

std::string classNames() {
    std::vector<std::string> names;
    for (const AlgoInfo* const info : description::listedClasses()) {
        names.push_back(info->getName());
    }
    return words(names);
}

/// One function serves both shells: it looks at the words typed so far and sets what may come next.
std::string script(const CLI::App& program, const std::string& shell) {
    const std::string table =
        "_rix_properties() {\n  names= values=\n  case \"$1:$2\" in\n" + propertyBranches() + "  esac\n}\n";
    if (shell == "bash") {
        return "# rix completion for bash: source <(rix completion bash)\n" + table +
               "_rix() {\n"
               "  local current names values line=${COMP_LINE:0:COMP_POINT}\n"
               "  local -a typed\n"
               "  read -ra typed <<<\"$line\"\n"
               "  [[ $line == *' ' ]] && typed+=('')\n"
               "  current=${typed[-1]}\n"
               "  COMPREPLY=()\n"
               "  if ((${#typed[@]} == 2)); then\n"
               "    COMPREPLY=($(compgen -W '" +
               commandNames(program) +
               "' -- \"$current\"))\n"
               "  elif ((${#typed[@]} == 3)) && [[ ${typed[1]} == run || ${typed[1]} == describe ]]; then\n"
               "    COMPREPLY=($(compgen -W '" +
               classNames() +
               "' -- \"$current\"))\n"
               "  elif [[ ${typed[1]} == run && $current == *=* ]]; then\n"
               "    _rix_properties \"${typed[2]}\" \"${current%%=*}\"\n"
               "    if [[ $values ]]; then COMPREPLY=($(compgen -W \"$values\" -- \"${current#*=}\"))\n"
               "    else compopt -o filenames; COMPREPLY=($(compgen -f -- \"${current#*=}\")); fi\n"
               "  elif [[ ${typed[1]} == run ]]; then\n"
               "    _rix_properties \"${typed[2]}\" ''\n"
               "    COMPREPLY=($(compgen -W \"$names\" -- \"$current\"))\n"
               "    compopt -o nospace\n"
               "  else\n"
               "    compopt -o filenames\n"
               "    COMPREPLY=($(compgen -f -- \"$current\"))\n"
               "  fi\n"
               "}\n"
               "complete -F _rix rix\n";
    }
    return "#compdef rix\n# rix completion for zsh: source <(rix completion zsh)\n" + table +
           "_rix() {\n"
           "  local names values current=${words[CURRENT]}\n"
           "  if ((CURRENT == 2)); then compadd -- " +
           commandNames(program) +
           "\n"
           "  elif ((CURRENT == 3)) && [[ ${words[2]} == (run|describe) ]]; then compadd -- " +
           classNames() +
           "\n"
           "  elif [[ ${words[2]} == run && $current == *=* ]]; then\n"
           "    _rix_properties \"${words[3]}\" \"${current%%=*}\"\n"
           "    compset -P '*='\n"
           "    if [[ -n $values ]]; then compadd -- ${=values}; else _files; fi\n"
           "  elif [[ ${words[2]} == run ]]; then\n"
           "    _rix_properties \"${words[3]}\" ''\n"
           "    compadd -S '' -- ${=names}\n"
           "  else _files; fi\n"
           "}\n"
           "compdef _rix rix\n";
}

}  // namespace

void addCompletionCommand(CLI::App& program, Action& chosen) {
    auto shell = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand(
        "completion", "Print a script that lets a shell complete commands, algorithms, properties and their values");
    command->add_option("SHELL", *shell, "bash or zsh")->required();
    command->footer("Example:\n  source <(rix completion bash)");
    command->callback([&program, &chosen, shell] {
        chosen = [&program, shell] {
            if (*shell != "bash" && *shell != "zsh") {
                throw Failure(WRONG_USAGE, "there is no completion for the shell " + description::inQuotes(*shell),
                              description::suggest(*shell, {"bash", "zsh"}));
            }
            writeData(script(program, *shell));
            return static_cast<int>(DONE);
        };
    });
}

}  // namespace rix::cli
