#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace rix::cli {

/// A sum by which bytes are known again.
class Sha256 {
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void add(std::string_view bytes);
    /// In hexadecimal digits; nothing can be added then. @throws Failure (run failed)
    std::string hex();

private:
    struct Context;
    std::unique_ptr<Context> m_context;
    bool m_works;
};

std::string sha256Of(std::string_view bytes);

struct FileSum {
    std::uint64_t bytes = 0;
    std::string sha256;

    bool operator==(const FileSum&) const = default;
};

/// Nothing where no file can be read.
std::optional<FileSum> sumOfFile(const std::filesystem::path& path);

}  // namespace rix::cli
