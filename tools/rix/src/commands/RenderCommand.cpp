#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include <rix/rendering/HistogramChart.h>
#include <rix/rendering/Picture.h>
#include <rix/rendering/Slice.h>
#include <rix/rendering/View.h>

#include "../Commands.h"
#include "../Failure.h"
#include "../FileOptions.h"
#include "../ImageFiles.h"
#include "../Interrupts.h"
#include "../Output.h"
#include "../Streams.h"

namespace rix::cli {
namespace {

struct RenderOptions {
    std::string imagePath;
    std::string picturePath;
    std::string basePath;
    std::string histogramPath;
    rendering::SliceChoice slice;
    bool numbers = false;
};

void report(const std::string& path, const rendering::Picture& picture) {
    writeMessage("written to " + (isStandardStream(path) ? "standard output" : path) + " (" +
                 std::to_string(picture.width()) + " x " + std::to_string(picture.height()) + ")\n");
}

int runRender(const RenderOptions& options) {
    if (options.picturePath.empty() && options.histogramPath.empty()) {
        throw Failure(WRONG_USAGE, "render needs the name of the picture OUT, or --histogram OUT");
    }
    Targets targets;
    targets.addInput(options.imagePath);
    if (!options.basePath.empty()) {
        targets.addInput(options.basePath);
    }
    if (!options.histogramPath.empty()) {
        targets.addOutput("--histogram", options.histogramPath, Targets::Kind::Image);
    }
    if (!options.picturePath.empty()) {
        targets.addOutput("OUT", options.picturePath, Targets::Kind::Image);
    }
    targets.refuseCollisions();
    if (!options.histogramPath.empty()) {
        checkCanWrite(options.histogramPath);
        const rendering::Picture chart =
            rendering::drawHistogram(*loadImage(options.imagePath), options.slice, Interrupts::throwIfRequested);
        saveImage(options.histogramPath, rendering::toImage(chart));
        report(options.histogramPath, chart);
    }
    if (options.picturePath.empty()) {
        return DONE;
    }
    checkCanWrite(options.picturePath);
    const auto image = loadImage(options.imagePath);
    const auto base = options.basePath.empty() ? nullptr : loadImage(options.basePath);
    const rendering::Picture picture = rendering::renderView(
        *image, base.get(), options.slice,
        options.numbers ? rendering::LabelNumbers::Drawn : rendering::LabelNumbers::None, &Interrupts::requested);
    saveImage(options.picturePath, rendering::toImage(picture));
    report(options.picturePath, picture);
    return DONE;
}

}  // namespace

void addRenderCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<RenderOptions>();
    CLI::App* command = program.add_subcommand(
        "render",
        "Make a picture of an image: grey in an automatic window (0.35 to 99.65 percent of the values), binary in "
        "black and white, labels in distinct colours on nothing, RGB as it is, complex samples by their magnitude");
    command->add_option("IMAGE", options->imagePath, "The image to show; brackets select a part, as in a.tif[z=3]")
        ->required();
    command->add_option("OUT", options->picturePath,
                        "The picture, usually a PNG file; \"-\" is standard output as TIFF, \"-- -.png\" as PNG");
    command
        ->add_option(
            "--histogram", options->histogramPath,
            "Draw the histogram of IMAGE into this file, with the automatic thresholds marked: of the frame and "
            "channel that are chosen, else of the first ones, whose threshold counts for all")
        ->type_name("OUT");
    command->add_option("--over", options->basePath, "Draw the outlines of the labels of IMAGE on this image")
        ->type_name("BASE");
    command->add_flag("--numbers", options->numbers, "Write the labels of IMAGE on their objects");
    command->add_option("--plane", options->slice.plane, "Plane to show, counted from 0; unless given, the middle one")
        ->type_name("N");
    command->add_option("--frame", options->slice.frame, "Frame of the sequence to show; unless given, the first")
        ->type_name("N");
    command
        ->add_option("--channel", options->slice.channel,
                     "Spectral channel to show; unless given, RGB as colours or else the first")
        ->type_name("N");
    addReadingOptions(*command);
    addWritingOptions(*command);
    command->footer("Example:\n  rix render examples/images/cell.png cell-view.png");
    command->callback([&chosen, options] { chosen = [options] { return runRender(*options); }; });
}

}  // namespace rix::cli
