#include "Record.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>

#include <boost/uuid/detail/sha1.hpp>

#include <rix/Library.h>
#include <rix/devices/Cpu.h>

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
    boost::uuids::detail::sha1 hash;
    std::ifstream file(path, std::ios::binary);
    std::array<char, 1 << 16> buffer;
    std::uint64_t bytes = 0;
    while (file.read(buffer.data(), buffer.size()), file.gcount() > 0) {
        hash.process_bytes(buffer.data(), static_cast<std::size_t>(file.gcount()));
        bytes += static_cast<std::uint64_t>(file.gcount());
    }
    boost::uuids::detail::sha1::digest_type digest;
    hash.get_digest(digest);
    std::string text;
    for (const unsigned int word : digest) {
        std::array<char, 9> hex{};
        std::snprintf(hex.data(), hex.size(), "%08x", word);
        text += hex.data();
    }
    return {{"path", path.string()}, {"bytes", bytes}, {"sha1", text}};
}

}  // namespace rix::cli
