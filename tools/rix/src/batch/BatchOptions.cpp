#include "BatchOptions.h"

#include <algorithm>
#include <thread>

#include <CLI/CLI.hpp>

#include <rix/description/Text.h>

#include "../Failure.h"
#include "FileList.h"

namespace rix::cli {

void BatchOptions::addTo(CLI::App& command) {
    command
        .add_option("--files", files,
                    "Do it for each of these files, on after one that fails; patterns may be quoted. In all values "
                    "{file} is the path of the file, {folder}, {name}, {stem} and {extension} its parts, {number} its "
                    "place. Two outputs of one path are refused before anything is done")
        ->type_name("FILE...")
        ->expected(1, -1);
    command.add_option("--jobs", jobs, "Work on N files at the same time")
        ->check(CLI::Range(1, 1 << 10).description(""))
        ->type_name("N");
}

std::optional<int> BatchOptions::threadsOfOne(std::optional<int> asked) const {
    if (asked || jobs == 1) {
        return asked;
    }
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency() / jobs));
}

std::optional<std::uint64_t> BatchOptions::memoryOfOne(std::optional<std::uint64_t> asked) const {
    return asked ? std::optional(*asked / jobs) : asked;
}

void BatchOptions::refuseWithoutFiles(const std::vector<std::string>& texts, const std::string& path) const {
    const auto refuse = [](const std::string& text) {
        if (hasPlaceholder(text)) {
            throw Failure(WRONG_USAGE,
                          description::inQuotes(text) + " names a part of a file of --files, and there is none");
        }
    };
    std::for_each(texts.begin(), texts.end(), refuse);
    refuse(path);
    if (jobs != 1) {
        throw Failure(WRONG_USAGE, "--jobs goes with --files");
    }
}

}  // namespace rix::cli
