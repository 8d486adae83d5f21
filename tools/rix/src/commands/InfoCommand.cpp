#include <array>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <rix/description/Tables.h>
#include <rix/description/Text.h>
#include <rix/io/ImageFile.h>

#include "../Commands.h"
#include "../Failure.h"
#include "../FileOptions.h"
#include "../ImageFiles.h"
#include "../Output.h"
#include "../Statistics.h"

namespace rix::cli {
namespace {

struct InfoOptions {
    std::string path;
    bool json = false;
};

constexpr std::array<Components, RIX_COMPONENTS_SIZE> axes{COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES};
constexpr std::array<const char*, RIX_COMPONENTS_SIZE> axisNames{"columns", "rows", "planes", "sequence", "spectral"};

bool isComplex(const ImageModel& image) {
    return image.getVoxelType() == RIX_COMPLEX_FLOAT32 || image.getVoxelType() == RIX_COMPLEX_FLOAT64;
}

/// The unit of an axis; channels have none.
std::string unitOf(const ImageModel& image, Components axis) {
    switch (axis) {
        case SEQUENCE: return image.getSequenceUnitName();
        case SPECTRAL_SERIES: return {};
        default: return image.getSpatialUnitName();
    }
}

nlohmann::json toJson(const InfoOptions& options, const io::ImageFileInfo& file, const ImageModel& image,
                      const SampleStatistics& statistics) {
    nlohmann::json axisList = nlohmann::json::array();
    for (const Components axis : axes) {
        axisList.push_back({{"name", axisNames[static_cast<std::size_t>(axis)]},
                            {"size", image.getNumOf(axis)},
                            {"spacing", description::numberToJson(image.getSpacingOf(axis))},
                            {"origin", description::numberToJson(image.getOriginOf(axis))},
                            {"unit", unitOf(image, axis)}});
    }
    nlohmann::json values = {{"of", isComplex(image) ? "magnitude" : "value"},
                             {"samples", statistics.samples()},
                             {"notANumber", statistics.notANumber()},
                             {"minimum", nullptr},
                             {"maximum", nullptr},
                             {"mean", nullptr}};
    if (statistics.hasValues()) {
        values["minimum"] = description::numberToJson(statistics.minimum());
        values["maximum"] = description::numberToJson(statistics.maximum());
        values["mean"] = description::numberToJson(statistics.mean());
    }
    return {{"path", options.path},
            {"format", file.format},
            {"storage", file.storage},
            {"fileBytes", file.fileBytes},
            {"voxelType", helper::voxelTypesToString(image.getVoxelType())},
            {"elementType", helper::elementTypesToString(image.getElementType())},
            {"interpretation", helper::interpretationsToString(image.getInterpretation())},
            {"colorInterpretation", helper::colorInterpretationToString(image.getColorInterpretation())},
            {"axes", axisList},
            {"statistics", values}};
}

std::string toText(const InfoOptions& options, const io::ImageFileInfo& file, const ImageModel& image,
                   const SampleStatistics& statistics) {
    description::TextTable facts;
    facts.add({"format:", file.format + (file.storage.empty() ? "" : ", " + file.storage) + ", " +
                              std::to_string(file.fileBytes) + " bytes"});
    facts.add({"type:", helper::elementTypesToString(image.getElementType()) + ' ' +
                            helper::voxelTypesToString(image.getVoxelType())});
    facts.add({"interpretation:", helper::interpretationsToString(image.getInterpretation())});
    if (image.getColorInterpretation() != UNKNOWN) {
        facts.add({"colour:", helper::colorInterpretationToString(image.getColorInterpretation())});
    }
    description::TextTable axisTable({"axis", "size", "spacing", "origin", "unit"});
    for (const Components axis : axes) {
        axisTable.add({axisNames[static_cast<std::size_t>(axis)], std::to_string(image.getNumOf(axis)),
                       description::numberToText(image.getSpacingOf(axis)),
                       description::numberToText(image.getOriginOf(axis)), unitOf(image, axis)});
    }
    description::TextTable values;
    values.add({"samples:", std::to_string(statistics.samples())});
    if (statistics.notANumber() != 0) {
        values.add({"not a number:", std::to_string(statistics.notANumber())});
    }
    if (statistics.hasValues()) {
        const std::string of = isComplex(image) ? " of magnitude:" : ":";
        values.add({"minimum" + of, description::numberToText(statistics.minimum())});
        values.add({"maximum" + of, description::numberToText(statistics.maximum())});
        values.add({"mean" + of, description::numberToText(statistics.mean())});
    }
    return options.path + '\n' + facts.toText("  ") + '\n' + axisTable.toText("  ") + '\n' + values.toText("  ");
}

int runInfo(const InfoOptions& options) {
    const auto image = loadImage(options.path);
    io::ImageFileInfo file;
    try {
        io::ReadOptions reading = readingOptions(options.path);
        reading.warn = [](const String&) {};  // was told when the image was read
        file = io::readImageInfo(options.path, reading);
    } catch (const Exception& exception) {
        throw Failure(UNREADABLE_INPUT, exception);
    }
    const SampleStatistics statistics = computeStatistics(*image);
    if (options.json) {
        writeJson(toJson(options, file, *image, statistics));
    } else {
        writeData(toText(options, file, *image, statistics));
    }
    return DONE;
}

}  // namespace

void addInfoCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = program.add_subcommand(
        "info", "Tell about an image file: sizes, types, calibration, minimum, maximum and mean");
    command->add_option("IMAGE", options->path, "The file. Complex samples count by their magnitude")->required();
    command->add_flag("--json", options->json, "Print a JSON object");
    addReadingOptions(*command);
    command->footer("Example:\n  rix info examples/images/coins.png");
    command->callback([&chosen, options] { chosen = [options] { return runInfo(*options); }; });
}

}  // namespace rix::cli
