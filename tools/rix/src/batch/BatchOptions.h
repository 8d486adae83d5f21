#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace rix::cli {

/// The options of commands that work on many files.
struct BatchOptions {
    std::vector<std::string> files;
    std::size_t jobs = 1;

    void addTo(CLI::App& command);
    /// The threads of one of several jobs: what was asked for, else its share of the processors.
    std::optional<int> threadsOfOne(std::optional<int> asked) const;
    /// The memory of one of several jobs: its share.
    std::optional<std::uint64_t> memoryOfOne(std::optional<std::uint64_t> asked) const;
    /// @throws Failure (wrong usage) when a text has a placeholder, which stands for nothing then.
    void refuseWithoutFiles(const std::vector<std::string>& texts, const std::string& path) const;
};

}  // namespace rix::cli
