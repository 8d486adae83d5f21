#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "../Failure.h"
#include "../Progress.h"

namespace rix::cli {

/// The work on many files: some at the same time, on after a failure, with one bar for all.
class Batch {
public:
    /// What is done with the file of an index, in any thread.
    using Work = std::function<void(std::size_t, InteractionInterface&)>;

    Batch(std::vector<std::filesystem::path> files, ProgressDisplay display);

    /// A file that is out before the work begins.
    void fail(std::size_t file, Failure failure);
    /// Works on all files that have not failed, `jobs` at a time. A failure is told at once, unless `quiet`, and kept.
    /// After an interrupt no other file is begun.
    void run(std::size_t jobs, bool quiet, const Work& work);

    /// Prints to standard output, or a message; whole, and with the bar out of the way.
    void print(const std::string& text);
    void tell(const std::string& text);

    const std::vector<std::filesystem::path>& files() const { return m_files; }
    /// By file; nothing for those that are done.
    const std::vector<std::optional<Failure>>& failures() const { return m_failures; }
    /// "3 files done, 1 failed: a.tif"
    std::string summary() const;
    /// That of the failures when all have the same, 1 when they differ; that of the interrupt; else 0.
    int exitCode() const;

private:
    class Member;

    void update(std::size_t file, double progress);
    void draw();

    std::vector<std::filesystem::path> m_files;
    std::vector<std::optional<Failure>> m_failures;
    std::vector<bool> m_done;
    std::vector<double> m_progress;  ///< of each file
    ConsoleInteraction m_console;
    mutable std::mutex m_mutex;
};

}  // namespace rix::cli
