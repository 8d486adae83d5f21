#include <memory>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <rix/description/Algorithms.h>
#include <rix/description/Facts.h>
#include <rix/description/Tables.h>

#include "../Commands.h"
#include "../Output.h"

namespace rix::cli {
namespace {

struct ListOptions {
    bool json = false;
};

int runList(const ListOptions& options) {
    nlohmann::json list = nlohmann::json::array();
    description::TextTable table;
    for (const AlgoInfo* info : description::listedClasses()) {
        const auto facts = description::describeAlgorithm(*description::createAlgorithm(*info));
        const std::string& summary = facts.description.summary;
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
    command->add_flag("--json", options->json, "Print a JSON array");
    command->footer("Example:\n  rix list");
    command->callback([&chosen, options] { chosen = [options] { return runList(*options); }; });
}

}  // namespace rix::cli
