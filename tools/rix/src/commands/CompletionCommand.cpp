#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <rix/description/Algorithms.h>
#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>
#include <rix/io/ImageFile.h>

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

/// The branches of a shell's "case" that give what may follow `rix run CLASS`: names of properties with "=", for a
/// choice its labels, for a list its words.
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
            if (const std::vector<String> listed = description::wordsOf(*property); !listed.empty()) {
                labels += "      " + info->getName() + ':' + property->getName() + ") values=\"" + words(listed) +
                          "\" list=1 ;;\n";
            }
        }
        branches += labels + "      " + info->getName() + ":) names=\"" + words(names) + "\" ;;\n";
    }
    return branches;
}

/// The branches of a shell's "case" that give the options of each command.
std::string optionBranches(const CLI::App& program) {
    std::string branches;
    for (const std::string& name : commandNames(program)) {
        std::vector<std::string> options;
        for (const CLI::Option* const option : program.get_subcommand(name)->get_options()) {
            for (const std::string& longName : option->get_lnames()) {
                options.push_back("--" + longName);
            }
        }
        branches += "    " + name + ") options=\"" + words(options) + "\" ;;\n";
    }
    return branches;
}

/// The extensions of image files, a pattern of the shell: "png|tif|tiff".
std::string imageExtensions() {
    std::string pattern;
    for (const io::ImageFormat& format : io::getImageFormats()) {
        for (const std::string& extension : format.extensions) {
            pattern += (pattern.empty() ? "" : "|") + extension;
        }
    }
    return pattern;
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
    const std::string table = "_rix_properties() {\n  names= values= list=\n  case \"$1:$2\" in\n" +
                              propertyBranches() +
                              "  esac\n}\n"
                              "_rix_options() {\n  options=\n  case \"$1\" in\n" +
                              optionBranches(program) + "  esac\n}\n";
    const std::string commands = words(commandNames(program)) + " help";
    if (shell == "bash") {
        return "# rix completion for bash: source <(rix completion bash)\n" + table +
               "# Image files and folders; all files where there are none of these.\n"
               "_rix_images() {\n"
               "  local file\n"
               "  compopt -o filenames 2>/dev/null\n"
               "  while IFS= read -r file; do\n"
               "    [[ -d $file || ${file,,} =~ \\.(" +
               imageExtensions() +
               ")$ ]] && COMPREPLY+=(\"$file\")\n"
               "  done < <(compgen -f -- \"$1\")\n"
               "  ((${#COMPREPLY[@]})) || COMPREPLY=($(compgen -f -- \"$1\"))\n"
               "}\n"
               "_rix() {\n"
               "  local current names values list options line=${COMP_LINE:0:COMP_POINT}\n"
               "  local -a typed\n"
               "  read -ra typed <<<\"$line\"\n"
               "  [[ $line == *' ' ]] && typed+=('')\n"
               "  current=${typed[-1]}\n"
               "  COMPREPLY=()\n"
               "  if ((${#typed[@]} == 2)); then\n"
               "    COMPREPLY=($(compgen -W '" +
               commands +
               "' -- \"$current\"))\n"
               "  elif [[ $current == -* ]]; then\n"
               "    _rix_options \"${typed[1]}\"\n"
               "    COMPREPLY=($(compgen -W \"$options\" -- \"$current\"))\n"
               "  elif ((${#typed[@]} == 3)) && [[ ${typed[1]} =~ ^(run|describe|help)$ ]]; then\n"
               "    COMPREPLY=($(compgen -W '" +
               classNames() +
               "' -- \"$current\"))\n"
               "  elif [[ ${typed[1]} == run && $current == *=* ]]; then\n"
               "    _rix_properties \"${typed[2]}\" \"${current%%=*}\"\n"
               "    current=${current#*=}\n"
               "    if [[ $list && $current == *,* ]]; then\n"
               "      COMPREPLY=($(compgen -W \"$values\" -P \"${current%,*},\" -- \"${current##*,}\"))\n"
               "    elif [[ $values ]]; then COMPREPLY=($(compgen -W \"$values\" -- \"$current\"))\n"
               "    else _rix_images \"$current\"; fi\n"
               "  elif [[ ${typed[1]} == run ]]; then\n"
               "    _rix_properties \"${typed[2]}\" ''\n"
               "    COMPREPLY=($(compgen -W \"$names\" -- \"$current\"))\n"
               "    compopt -o nospace\n"
               "  elif [[ ${typed[1]} =~ ^(recipe|plan|block|join|finish)$ ]]; then\n"
               "    compopt -o filenames\n"
               "    COMPREPLY=($(compgen -f -X '!*.json' -- \"$current\") $(compgen -d -- \"$current\"))\n"
               "  else\n"
               "    _rix_images \"$current\"\n"
               "  fi\n"
               "}\n"
               "complete -F _rix rix\n";
    }
    const std::string images = "_files -g '*.(" + imageExtensions() + ")'";
    return "#compdef rix\n# rix completion for zsh: source <(rix completion zsh)\n" + table +
           "_rix() {\n"
           "  local names values list options current=${words[CURRENT]}\n"
           "  if ((CURRENT == 2)); then compadd -- " +
           commands +
           "\n"
           "  elif [[ $current == -* ]]; then\n"
           "    _rix_options \"${words[2]}\"\n"
           "    compadd -- ${=options}\n"
           "  elif ((CURRENT == 3)) && [[ ${words[2]} == (run|describe|help) ]]; then compadd -- " +
           classNames() +
           "\n"
           "  elif [[ ${words[2]} == run && $current == *=* ]]; then\n"
           "    _rix_properties \"${words[3]}\" \"${current%%=*}\"\n"
           "    compset -P '*='\n"
           "    [[ -n $list ]] && compset -P '*,'\n"
           "    if [[ -n $values ]]; then compadd -- ${=values}; else " +
           images +
           "; fi\n"
           "  elif [[ ${words[2]} == run ]]; then\n"
           "    _rix_properties \"${words[3]}\" ''\n"
           "    compadd -S '' -- ${=names}\n"
           "  elif [[ ${words[2]} == (recipe|plan|block|join|finish) ]]; then _files -g '*.json'\n"
           "  else " +
           images +
           "; fi\n"
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
