#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <rix/description/Text.h>

#include "../Commands.h"
#include "../Failure.h"
#include "../FileOptions.h"
#include "../Output.h"
#include "../Progress.h"
#include "../Streams.h"
#include "../batch/Batch.h"
#include "../batch/BatchOptions.h"
#include "../batch/FileList.h"
#include "../convert/Conversion.h"

namespace rix::cli {
namespace {

struct ConvertOptions {
    std::vector<std::string> paths;  ///< the last is the output
    std::string type;
    BatchOptions batch;
    bool noProgress = false;
};

int convertOne(const ConversionRequest& request, ProgressDisplay display) {
    const Conversion conversion(request);
    Targets targets;
    conversion.announce(targets);
    targets.refuseCollisions();
    std::string line;
    {
        ConsoleInteraction interaction(display);
        line = conversion.run(interaction);
    }
    writeMessage(line);
    return DONE;
}

int convertMany(const ConversionRequest& pattern, const BatchOptions& options, ProgressDisplay display) {
    Batch batch(expandFiles(options.files), display);
    const auto& files = batch.files();
    const auto conversionOf = [&](std::size_t file) {
        const BatchFile member{files[file], file + 1, files.size()};
        ConversionRequest request = pattern;
        request.input = member.fill(pattern.input);
        request.output = member.fill(pattern.output.string());
        request.threads = options.threadsOfOne({});
        return Conversion(request);
    };
    Targets targets;
    for (std::size_t file = 0; file < files.size(); ++file) {
        targets.beginUnit();
        conversionOf(file).announce(targets);
    }
    if (targets.useStandardOutput()) {
        throw Failure(WRONG_USAGE, "OUT can't be \"-\" for several files");
    }
    targets.refuseCollisions();
    batch.run(options.jobs, false, [&](std::size_t file, InteractionInterface& interaction) {
        static_cast<void>(conversionOf(file).run(interaction));
    });
    writeMessage(batch.summary());
    return batch.exitCode();
}

int runConvert(ConvertOptions options) {
    if (options.paths.size() < 2) {
        throw Failure(WRONG_USAGE, "convert needs the name of an image IN and that of the file OUT");
    }
    ConversionRequest request;
    request.output = options.paths.back();
    options.paths.pop_back();
    request.input = options.paths.front();
    if (!options.type.empty()) {
        request.type = conversionTypeFromText(options.type);
    }
    const ProgressDisplay display = chooseProgressDisplay(!options.noProgress);
    if (options.paths.size() > 1 || isFilePattern(request.input)) {
        if (!options.batch.files.empty()) {
            throw Failure(WRONG_USAGE, "with --files, IN is one name for all of them, such as {file}[c=0]");
        }
        options.batch.files = options.paths;
        request.input = "{file}";
    }
    if (!options.batch.files.empty()) {
        return convertMany(request, options.batch, display);
    }
    options.batch.refuseWithoutFiles({request.input}, request.output.string());
    return convertOne(request, display);
}

}  // namespace

void addConvertCommand(CLI::App& program, Action& chosen) {
    auto options = std::make_shared<ConvertOptions>();
    CLI::App* command = program.add_subcommand(
        "convert", "Write an image file, or a part of it, in another format or with another type of samples");
    auto* const paths = command->add_option(
        "IN... OUT", options->paths,
        "The image, and the file to write, in the format of its extension; \"-\" is standard input and, "
        "as TIFF, standard output, \"-- -.npy\" that as NPY. Brackets behind IN select a part, as in "
        "a.tif[c=0,z=10:20,x=100:300]; "
        "docs/selections.md tells what. Several images, or a pattern, need an OUT with {stem} or its like");
    paths->expected(2, CLI::detail::expected_max_vector_size);  // that OUT is still to come behind "--"
    command
        ->add_option("--type", options->type,
                     "Convert samples as the algorithm ConvertImage does: integers keep their low bits, reals are "
                     "truncated toward zero before that, nothing is clamped (300 becomes 44 in uint8). Unless given, "
                     "types and values stay; what the format can't hold is refused")
        ->type_name(description::join(conversionTypes(), "|"));
    options->batch.addTo(*command);
    command->add_flag("--no-progress", options->noProgress, "Draw no progress bar");
    addReadingOptions(*command);
    addWritingOptions(*command);
    command->footer(
        "Many files:\n"
        "  rix convert '{file}[c=1]' 'out/{stem}.nrrd' --jobs 2 --files stacks/*.tif\n"
        "\n"
        "Example:\n"
        "  rix convert 'examples/images/coins.png[x=100:200,y=50:150]' coins-part.tif --type float32");
    command->callback([&chosen, options] { chosen = [options] { return runConvert(*options); }; });
}

}  // namespace rix::cli
