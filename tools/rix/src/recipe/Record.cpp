#include "Record.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <memory>
#include <vector>

#include <openssl/evp.h>

#include <rix/Library.h>
#include <rix/description/Text.h>
#include <rix/devices/Cpu.h>
#include <rix/io/Selection.h>

#include "../Failure.h"
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
    : m_json{{"recipe", describeFile(recipePath)}, {"description", recipe.description},
             {"parameters", recipe.parameters},    {"version", rix::version()},
             {"processor", devices::Cpu::name()},  {"started", timeNow()},
             {"steps", nlohmann::json::array()},   {"inputs", nlohmann::json::array()},
             {"outputs", nlohmann::json::array()}} {}

nlohmann::json Record::describeFile(const std::filesystem::path& path) {
    std::ifstream file(readablePath(path), std::ios::binary);
    if (!file) {
        throw Failure(UNREADABLE_INPUT, "the file " + description::inQuotes(path.string()) + " can't be read");
    }
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> hash(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    bool hashed = hash != nullptr && EVP_DigestInit_ex(hash.get(), EVP_sha256(), nullptr) == 1;
    std::vector<char> buffer(std::size_t{1} << 16);
    std::uint64_t bytes = 0;
    while (file.read(buffer.data(), static_cast<std::streamsize>(buffer.size())), file.gcount() > 0) {
        const auto count = static_cast<std::size_t>(file.gcount());
        hashed = hashed && EVP_DigestUpdate(hash.get(), buffer.data(), count) == 1;
        bytes += count;
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (!hashed || EVP_DigestFinal_ex(hash.get(), digest.data(), &length) != 1) {
        throw Failure(RUN_FAILED, "the hash of " + description::inQuotes(path.string()) + " can't be computed");
    }
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        std::array<char, 3> hex{};
        std::snprintf(hex.data(), hex.size(), "%02x", digest[i]);
        text += hex.data();
    }
    return {{"path", path.string()}, {"bytes", bytes}, {"sha256", text}};
}

void Record::addInput(const std::filesystem::path& name) {
    const io::SelectedFile file = io::splitSelection(name);
    m_json["inputs"].push_back(describeFile(file.path));
    if (!file.selection.empty()) {
        m_json["inputs"].back()["selection"] = file.selection;
    }
}

void Record::addOutput(const std::filesystem::path& path) {
    std::error_code error;
    const bool isFile = !isStandardStream(path) && std::filesystem::is_regular_file(path, error);
    m_json["outputs"].push_back(isFile ? describeFile(path) : nlohmann::json{{"path", path.string()}});
}

}  // namespace rix::cli
