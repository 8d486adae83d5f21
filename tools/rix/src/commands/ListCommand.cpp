#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <rix/description/Algorithms.h>
#include <rix/description/Facts.h>
#include <rix/description/Synonyms.h>
#include <rix/description/Tables.h>
#include <rix/description/Text.h>

#include "../Commands.h"
#include "../Failure.h"
#include "../Output.h"

namespace rix::cli {
namespace {

struct ListOptions {
    std::vector<std::string> about;
    bool json = false;
};

/// Whether a word, or what the library calls it, stands in the name, the area or the summary of a class.
bool isAbout(const std::string& text, const std::string& word) {
    std::vector<std::string> names = description::namesOf(word);
    names.push_back(word);
    return std::ranges::any_of(
        names, [&](const std::string& name) { return text.find(description::plainWord(name)) != std::string::npos; });
}

/// Whether all words are in the text, or what they mean together ("rolling ball") is.
bool isAboutAll(const std::string& text, const std::vector<std::string>& words) {
    return isAbout(text, description::join(words, " ")) ||
           std::ranges::all_of(words, [&](const std::string& word) { return isAbout(text, word); });
}

int runList(const ListOptions& options) {
    nlohmann::json list = nlohmann::json::array();
    description::TextTable table;
    for (const AlgoInfo* info : description::listedClasses()) {
        const auto facts = description::describeAlgorithm(*description::createAlgorithm(*info));
        const std::string& summary = facts.description.summary;
        const std::string text = description::plainWord(facts.name + '\n' + facts.area + '\n' + summary);
        if (!isAboutAll(text, options.about)) {
            continue;
        }
        list.push_back({{"name", facts.name},
                        {"area", facts.area},
                        {"library", facts.library},
                        {"kind", algorithmKindToString(facts.description.kind)},
                        {"summary", summary},
                        {"deprecatedSince", facts.deprecatedSince}});
        table.add(
            {facts.name, facts.area,
             summary + (facts.deprecatedSince.empty() ? "" : " (deprecated since " + facts.deprecatedSince + ")")});
    }
    if (list.empty()) {
        throw Failure(WRONG_USAGE, "no algorithm is about " +
                                       description::inQuotes(description::join(options.about, " ")) +
                                       " ('rix list' names all)");
    }
    if (options.json) {
        writeJson(list);
    } else {
        writeData(table.toText());
    }
    return DONE;
}

}  // namespace

void addListCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<ListOptions>();
    CLI::App* command = program.add_subcommand("list", "List the algorithms: name, area, one line on each");
    command->add_option("WORD", options->about,
                        "Only those whose name, area or summary has all these words, or what the field means by them");
    command->add_flag("--json", options->json, "Print a JSON array");
    command->footer("Example:\n  rix list smoothing edges");
    command->callback([&chosen, options] { chosen = [options] { return runList(*options); }; });
}

}  // namespace rix::cli
