#include <memory>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "../Algorithms.h"
#include "../Commands.h"
#include "../Output.h"

namespace rix::cli {
namespace {

struct ListOptions {
    bool json = false;
};

int runList(const ListOptions& options) {
    nlohmann::json list = nlohmann::json::array();
    TextTable table;
    for (const AlgoInfo* info : listedClasses()) {
        const auto algorithm = createAlgorithm(*info);
        const AlgorithmDescription description = algorithm->describe();
        const std::string area = areaOf(*algorithm);
        const std::string deprecation = info->getDeprecationVersion();
        list.push_back({{"name", info->getName()},
                        {"area", area},
                        {"library", info->getLibName()},
                        {"kind", algorithmKindToString(description.kind)},
                        {"summary", description.summary},
                        {"deprecatedSince", deprecation}});
        table.add({info->getName(), area,
                   description.summary + (deprecation.empty() ? "" : " (deprecated since " + deprecation + ")")});
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
