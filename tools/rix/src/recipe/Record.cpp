#include "Record.h"

#include <array>
#include <chrono>
#include <ctime>
#include <utility>

#include <rix/Library.h>
#include <rix/description/Text.h>
#include <rix/devices/Cpu.h>
#include <rix/io/Selection.h>

#include "../Failure.h"
#include "../Sha256.h"
#include "../Streams.h"

namespace rix::cli {
namespace {

std::string timeNow() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm utc{};
    ::gmtime_r(&now, &utc);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return {text.data(), length};
}

}  // namespace

Record::Record(const std::filesystem::path& recipePath, const Recipe& recipe)
    : Record(describeFile(recipePath), recipe) {}

Record::Record(nlohmann::json file, const Recipe& recipe)
    : m_json{{"recipe", std::move(file)},         {"description", recipe.description},
             {"parameters", recipe.parameters},   {"version", rix::version()},
             {"processor", devices::Cpu::name()}, {"started", timeNow()},
             {"steps", nlohmann::json::array()},  {"inputs", nlohmann::json::array()},
             {"outputs", nlohmann::json::array()}} {}

nlohmann::json Record::describeFile(const std::filesystem::path& path) {
    const auto sum = sumOfFile(readablePath(path));
    if (!sum) {
        throw Failure(UNREADABLE_INPUT, "the file " + description::inQuotes(path.string()) + " can't be read");
    }
    return {{"path", path.string()}, {"bytes", sum->bytes}, {"sha256", sum->sha256}};
}

void Record::addInput(const std::filesystem::path& name) {
    const io::SelectedFile file = io::splitSelection(name);
    std::error_code error;
    m_json["inputs"].push_back(std::filesystem::is_directory(file.path, error)
                                   ? nlohmann::json{{"path", file.path.string()}}
                                   : describeFile(file.path));
    if (!file.selection.empty()) {
        m_json["inputs"].back()["selection"] = file.selection;
    }
}

nlohmann::json Record::describeOutput(const std::filesystem::path& path) {
    std::error_code error;
    const bool isFile = !isStandardStream(path) && std::filesystem::is_regular_file(path, error);
    return isFile ? describeFile(path) : nlohmann::json{{"path", path.string()}};
}

}  // namespace rix::cli
