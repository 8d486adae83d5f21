#include "Plan.h"

#include <algorithm>
#include <fstream>

#include <rix/Library.h>
#include <rix/description/Text.h>
#include <rix/io/ChunkedFile.h>
#include <rix/io/Selection.h>

#include "../Failure.h"
#include "../Sha256.h"
#include "../TableFiles.h"
#include "PlanForms.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::string numbered(const std::string& name, std::size_t number) {
    return name + '-' + std::to_string(number);
}

}  // namespace

fs::path Plan::workFolder() const {
    return file.parent_path() / (file.stem().string() + "-work");
}

fs::path Plan::imageOf(const std::string& object) const {
    // A folder notes its name: one that becomes an output has it from the beginning.
    const auto output = std::ranges::find_if(outputs, [&](const Output& candidate) {
        return candidate.kind == Output::Kind::Image && candidate.object == object &&
               io::isChunkedFileName(candidate.target);
    });
    const bool isOutput = output != outputs.end() && output->target.extension() == ".zarr";
    return workFolder() / "images" / object / (isOutput ? output->target.filename() : fs::path(object + ".zarr"));
}

std::vector<std::string> Plan::madeImages() const {
    std::vector<std::string> made;
    for (const Recipe::Step& step : renamed) {
        for (const Assignment& assignment : step.assignments) {
            if (assignment.text.starts_with("image-")) {
                made.push_back(assignment.text);
            }
        }
    }
    return made;
}

fs::path Plan::claimFile() const {
    return workFolder() / "plan.json";
}

fs::path Plan::roundsFile() const {
    return workFolder() / "rounds.txt";
}

fs::path Plan::outputOf(std::size_t output) const {
    return workFolder() / (numbered("output", output) + outputs[output].target.extension().string());
}

fs::path Plan::blockReceipt(std::size_t round, std::size_t block) const {
    return workFolder() / numbered("round", round) / (numbered("block", block) + ".json");
}

fs::path Plan::joinReceipt(std::size_t round) const {
    return workFolder() / numbered("round", round) / "join.json";
}

fs::path Plan::stepReceipt(std::size_t step) const {
    return workFolder() / (numbered("step", step) + ".json");
}

fs::path Plan::finishingReceipt() const {
    return workFolder() / "finishing.json";
}

fs::path Plan::finishReceipt() const {
    return workFolder() / "finished.json";
}

json readJsonFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? json::parse(file, nullptr, false) : json();
}

void saveJsonFile(const fs::path& path, const json& content) {
    saveText(path, content.dump(2, ' ', false, json::error_handler_t::replace) + '\n');
}

json identityOfInput(const std::string& name) {
    const fs::path path = io::splitSelection(name).path;
    const auto refuse = [&] {
        throw Failure(UNREADABLE_INPUT, "the file " + description::inQuotes(path.string()) + " can't be read");
    };
    std::error_code error;
    Sha256 sum;
    if (fs::is_directory(path, error)) {
        std::vector<fs::path> files;
        for (const char* const file : {".zattrs", ".zgroup", ".zarray"}) {
            files.push_back(path / file);
            for (const auto& entry : fs::directory_iterator(path, error)) {
                files.push_back(entry.path() / file);
            }
        }
        std::sort(files.begin(), files.end());
        for (const fs::path& file : files) {
            if (const auto known = sumOfFile(file)) {
                sum.add(file.string() + ' ' + known->sha256 + '\n');
            }
        }
        return {{"description", sum.hex()}};
    }
    std::ifstream file(path, std::ios::binary);
    std::string beginning(std::size_t{1} << 16, '\0');
    file.read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
    const std::uintmax_t bytes = fs::file_size(path, error);
    const auto time = fs::last_write_time(path, error);
    if (error || !file.is_open()) {
        refuse();
    }
    sum.add(std::string_view(beginning).substr(0, static_cast<std::size_t>(file.gcount())));
    return {{"bytes", bytes}, {"modified", time.time_since_epoch().count()}, {"beginning", sum.hex()}};
}

void setSum(Plan& plan) {
    plan.sum = sha256Of(toJson(plan).dump());
}

void savePlan(const Plan& plan) {
    json content = toJson(plan);
    content["sha256"] = plan.sum;
    saveJsonFile(plan.file, content);
}

Plan openPlan(const fs::path& path) {
    const auto refuse = [&](int exitCode, const std::string& reason) {
        throw Failure(exitCode, "the plan " + description::inQuotes(path.string()) + ' ' + reason);
    };
    json content = readJsonFile(path);
    if (content.is_null()) {
        refuse(UNREADABLE_INPUT, "can't be read");
    }
    if (!content.is_object() || content.value("format", json()) != planFormat) {
        refuse(WRONG_USAGE, "is none");
    }
    if (content.value("formatVersion", json()) != planFormatVersion ||
        content.value("version", json()) != rix::version()) {
        refuse(WRONG_USAGE, "was made by another version of this program");
    }
    const json sum = content.value("sha256", json());
    content.erase("sha256");
    Plan plan;
    if (!sum.is_string() || sum != sha256Of(content.dump())) {
        refuse(WRONG_USAGE, "was changed since it was made; make it anew from the recipe");
    }
    try {
        plan = planFromJson(content);
    } catch (const json::exception&) {
        refuse(WRONG_USAGE, "is damaged");
    }
    plan.sum = sum;
    std::error_code error;
    plan.file = fs::absolute(path);
    fs::current_path(plan.folder, error);
    if (error) {
        refuse(UNREADABLE_INPUT,
               "was made in the folder " + description::inQuotes(plan.folder.string()) + ": " + error.message());
    }
    if (!readJsonFile(plan.finishingReceipt()).is_object() &&
        !readJsonFile(plan.finishReceipt()).is_object()) {  // an output may have taken the place of an input
        for (const auto& [object, input] : plan.inputs) {
            if (identityOfInput(input.name) != input.identity) {
                throw Failure(WRONG_USAGE, "the input " + description::inQuotes(input.name) +
                                               " was changed since the plan was made; plan the recipe anew");
            }
        }
    }
    return plan;
}

}  // namespace rix::cli
