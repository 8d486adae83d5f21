#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

#include <rix/properties/Property.h>

#include "../Algorithms.h"
#include "../Assignments.h"
#include "../Commands.h"
#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Output.h"
#include "../Progress.h"
#include "../render/Slice.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

struct Options {
    std::string folder = "rix-demo";
    std::string imagePath;
};

constexpr const char* className = "ThresholdingByCriterion";
// The lowest value at which none of the 24 coins hangs together with the bright corner of the background.
constexpr const char* threshold = "112";

/// The sample photograph: in the source tree around the program, or beside it in an installation.
fs::path findSamplePhotograph() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    for (fs::path folder = program.parent_path(); !error; folder = folder.parent_path()) {
        for (const char* place : {"examples/images/coins.png", "share/lumora_rix/examples/coins.png"}) {
            if (fs::exists(folder / place, error)) {
                return folder / place;
            }
        }
        if (folder == folder.root_path()) {
            break;
        }
    }
    throw Failure(UNREADABLE_INPUT, "the sample photograph coins.png can't be found; name one with --image PATH");
}

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw Failure(UNWRITABLE_OUTPUT, "folder " + inQuotes(folder.string()) + " can't be made: " + error.message());
    }
}

io::MemoryImage binarise(const ImageModel& photograph) {
    const auto algorithm = createAlgorithm(findClass(className));
    io::MemoryImage binary;
    dynamic_cast<Property<const ImageModel*>&>(findProperty(*algorithm, "inputGrayImage")).set(&photograph);
    setValue(findProperty(*algorithm, "comparisonCriterion"), "GREATER_THAN_OR_EQUAL_TO");
    setValue(findProperty(*algorithm, "comparisonValue"), threshold);
    dynamic_cast<Property<ImageModel*>&>(findProperty(*algorithm, "outputBinaryImage")).set(&binary);
    ConsoleInteraction interaction(chooseProgressDisplay(true));
    algorithm->run(&interaction);
    return binary;
}

int runDemo(const Options& options) {
    const fs::path photographPath = options.imagePath.empty() ? findSamplePhotograph() : fs::path(options.imagePath);
    const fs::path folder(options.folder);
    const fs::path binaryPath = folder / "coins-binary.tif";
    const fs::path picturePath = folder / "coins-side-by-side.png";
    const auto photograph = loadImage(photographPath);
    makeFolder(folder);
    checkCanWrite(binaryPath);
    checkCanWrite(picturePath);

    constexpr std::size_t gap = 8;
    const io::MemoryImage binary = binarise(*photograph);
    const Picture picture = sideBySide(renderSlice(*photograph, {}), renderSlice(binary, {}), gap);
    saveImage(binaryPath, binary);
    saveImage(picturePath, toImage(picture));
    writeData("photograph:    " + photographPath.string() + "\n" + "algorithm:     " + className +
              " comparisonCriterion=GREATER_THAN_OR_EQUAL_TO comparisonValue=" + threshold + "\n" +
              "binary image:  " + binaryPath.string() + "\n" + "side by side:  " + picturePath.string() + "\n");
    return DONE;
}

}  // namespace

void addDemoCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "demo", "Separate the coins of a sample photograph from their background, and say where the results are");
    command->add_option("FOLDER", options->folder, "Where the results go; made when it is missing")
        ->capture_default_str();
    command->add_option("--image", options->imagePath, "Another photograph")->type_name("PATH");
    command->footer("Example:\n  rix demo");
    command->callback([&chosen, options] { chosen = [options] { return runDemo(*options); }; });
}

}  // namespace rix::cli
