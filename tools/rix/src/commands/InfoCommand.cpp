#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <rix/description/Tables.h>
#include <rix/description/Text.h>
#include <rix/io/ImageFile.h>

#include "../Commands.h"
#include "../Failure.h"
#include "../FileOptions.h"
#include "../ImageFiles.h"
#include "../Interrupts.h"
#include "../Output.h"
#include "../Statistics.h"

namespace rix::cli {
namespace {

struct InfoOptions {
    std::vector<std::string> paths;
    bool statistics = false;
    bool json = false;
};

/// What is told of one file.
struct FileFacts {
    std::string path;
    io::ImageFileInfo file;
    std::optional<SampleStatistics> statistics;
};

constexpr std::array<Components, RIX_COMPONENTS_SIZE> axes{COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES};
constexpr std::array<const char*, RIX_COMPONENTS_SIZE> axisNames{"columns", "rows", "planes", "sequence", "spectral"};

/// The unit of an axis; channels have none.
std::string unitOf(const ImageHeader& image, Components axis) {
    switch (axis) {
        case SEQUENCE: return image.sequenceUnitName;
        case SPECTRAL_SERIES: return {};
        default: return image.spatialUnitName;
    }
}

nlohmann::json toJson(const FileFacts& facts) {
    const io::ImageFileInfo& file = facts.file;
    nlohmann::json axisList = nlohmann::json::array();
    for (const Components axis : axes) {
        const auto i = static_cast<std::size_t>(axis);
        axisList.push_back({{"name", axisNames[i]},
                            {"size", file.extents[i]},
                            {"spacing", description::numberToJson(file.spacing[i])},
                            {"origin", description::numberToJson(file.origin[i])},
                            {"unit", unitOf(file, axis)}});
    }
    nlohmann::json object = {
        {"path", facts.path},
        {"format", file.format},
        {"storage", file.storage},
        {"fileBytes", file.fileBytes},
        {"series", file.series},
        {"levels", file.levels},
        {"voxelType", helper::voxelTypesToString(file.voxelType)},
        {"elementType", helper::elementTypesToString(file.elementType)},
        {"interpretation", helper::interpretationsToString(file.interpretation)},
        {"labelScope", file.interpretation == RIX_LABEL ? nlohmann::json(helper::labelScopeToString(file.labelScope))
                                                        : nlohmann::json()},
        {"colorInterpretation", helper::colorInterpretationToString(file.colorInterpretation)},
        {"axes", axisList}};
    if (facts.statistics) {
        object["statistics"] = facts.statistics->toJson();
    }
    return object;
}

std::string toText(const FileFacts& told) {
    const io::ImageFileInfo& file = told.file;
    description::TextTable facts;
    facts.add({"format:", file.format + (file.storage.empty() ? "" : ", " + file.storage) + ", " +
                              std::to_string(file.fileBytes) + " bytes"});
    if (file.series > 1) {
        facts.add(
            {"series:", "one of " + std::to_string(file.series) + " images, which [series=0], [series=1] ... select"});
    }
    if (file.levels > 1) {
        facts.add({"levels:",
                   "one of " + std::to_string(file.levels) + " of a pyramid, which [level=0], [level=1] ... select"});
    }
    facts.add(
        {"type:", helper::elementTypesToString(file.elementType) + ' ' + helper::voxelTypesToString(file.voxelType)});
    const bool ofPlanes = file.interpretation == RIX_LABEL && file.labelScope == LabelScope::Plane;
    facts.add({"interpretation:", helper::interpretationsToString(file.interpretation) +
                                      (ofPlanes ? ", each plane by itself (no bodies)" : "")});
    if (file.colorInterpretation != UNKNOWN) {
        facts.add({"colour:", helper::colorInterpretationToString(file.colorInterpretation)});
    }
    description::TextTable axisTable({"axis", "size", "spacing", "origin", "unit"});
    for (const Components axis : axes) {
        const auto i = static_cast<std::size_t>(axis);
        axisTable.add({axisNames[i], std::to_string(file.extents[i]), description::numberToText(file.spacing[i]),
                       description::numberToText(file.origin[i]), unitOf(file, axis)});
    }
    return told.path + '\n' + facts.toText("  ") + '\n' + axisTable.toText("  ") +
           (told.statistics ? '\n' + told.statistics->toText() : "");
}

FileFacts lookInto(const std::string& path, bool statistics) {
    std::optional<SampleStatistics> values;
    if (statistics) {
        values.emplace(*loadImage(path));
    }
    return {path, readInfo(path, !statistics), values};
}

int runInfo(const InfoOptions& options) {
    if (options.paths.size() == 1) {
        const FileFacts facts = lookInto(options.paths.front(), options.statistics);
        options.json ? writeJson(toJson(facts)) : writeData(toText(facts));
        return DONE;
    }
    int exitCode = DONE;
    nlohmann::json list = nlohmann::json::array();
    for (const std::string& path : options.paths) {
        Interrupts::throwIfRequested();
        try {
            const FileFacts facts = lookInto(path, options.statistics);
            if (options.json) {
                list.push_back(toJson(facts));
            } else {
                writeData((&path == &options.paths.front() ? "" : "\n") + toText(facts));
            }
        } catch (...) {
            const Failure failure = failureOfCurrentException();
            if (failure.exitCode() != UNREADABLE_INPUT) {
                throw failure;
            }
            exitCode = failure.exitCode();
            if (options.json) {
                list.push_back(toJson(failure));
                list.back()["path"] = path;
            } else {
                writeMessage(toText(failure));
            }
        }
    }
    if (options.json) {
        writeJson(list);
    }
    return exitCode;
}

}  // namespace

void addInfoCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = program.add_subcommand(
        "info",
        "Tell about image files: sizes, types, calibration; with --statistics extremes, mean, deviation, median");
    command
        ->add_option(
            "IMAGE", options->paths,
            "The files; \"-\" is standard input. One that can't be read does not keep the others back. Brackets "
            "behind a name select a part, as in a.tif[c=0,z=10:20,x=100:300]; docs/selections.md tells what")
        ->required();
    command->add_flag("--statistics", options->statistics,
                      "Read the samples, too, and describe them as ImageStatistics does. Complex ones count by their "
                      "magnitude");
    command->add_flag("--json", options->json, "Print a JSON object, of several files an array of them");
    addReadingOptions(*command);
    command->footer("Example:\n  rix info examples/images/coins.png");
    command->callback([&chosen, options] { chosen = [options] { return runInfo(*options); }; });
}

}  // namespace rix::cli
