#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "../Commands.h"
#include "../Failure.h"
#include "../ImageFiles.h"
#include "../Output.h"
#include "../render/View.h"

namespace rix::cli {
namespace {

struct Options {
    std::string imagePath;
    std::string picturePath;
    std::string basePath;
    SliceChoice slice;
};

int runRender(const Options& options) {
    checkCanWrite(options.picturePath);
    const auto image = loadImage(options.imagePath);
    const auto base = options.basePath.empty() ? nullptr : loadImage(options.basePath);
    const Picture picture = renderView(*image, base.get(), options.slice);
    saveImage(options.picturePath, toImage(picture));
    writeMessage("written to " + options.picturePath + " (" + std::to_string(picture.width()) + " x " +
                 std::to_string(picture.height()) + ")\n");
    return DONE;
}

}  // namespace

void addRenderCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "render",
        "Make a picture of an image: grey in an automatic window (0.35 to 99.65 percent of the values), binary in "
        "black and white, labels in distinct colours on black, RGB as it is, complex samples by their magnitude");
    command->add_option("IMAGE", options->imagePath, "The image to show")->required();
    command->add_option("OUT", options->picturePath, "The picture, usually a PNG file")->required();
    command->add_option("--over", options->basePath, "Draw the outlines of the labels of IMAGE on this image")
        ->type_name("BASE");
    command->add_option("--plane", options->slice.plane, "Plane to show, counted from 0; unless given, the middle one")
        ->type_name("N");
    command->add_option("--frame", options->slice.frame, "Frame of the sequence to show; unless given, the first")
        ->type_name("N");
    command
        ->add_option("--channel", options->slice.channel,
                     "Spectral channel to show; unless given, RGB as colours or else the first")
        ->type_name("N");
    command->footer("Example:\n  rix render examples/images/cell.png cell-view.png");
    command->callback([&chosen, options] { chosen = [options] { return runRender(*options); }; });
}

}  // namespace rix::cli
