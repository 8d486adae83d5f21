#include "Batch.h"

#include <algorithm>
#include <atomic>
#include <numeric>
#include <thread>

#include <rix/description/Text.h>

#include "../Interrupts.h"
#include "../Output.h"

namespace rix::cli {

/// The part of one file in the progress of all.
class Batch::Member : public InteractionInterface {
public:
    Member(Batch& batch, std::size_t file) : m_batch(batch), m_file(file) {}
    void setProgress(double progress) override { m_batch.update(m_file, progress); }
    bool isCancelRequested() override { return Interrupts::requested(); }

private:
    Batch& m_batch;
    std::size_t m_file;
};

Batch::Batch(std::vector<std::filesystem::path> files, ProgressDisplay display)
    : m_files(std::move(files)),
      m_failures(m_files.size()),
      m_done(m_files.size()),
      m_progress(m_files.size()),
      m_console(display) {}

void Batch::fail(std::size_t file, Failure failure) {
    m_failures[file] = std::move(failure);
}

void Batch::run(std::size_t jobs, bool quiet, const Work& work) {
    const auto tellOf = [&](std::size_t file) {
        if (!quiet) {
            tell(toText(m_failures[file]->within("file " + description::inQuotes(m_files[file].string()))));
        }
    };
    for (std::size_t file = 0; file < m_files.size(); ++file) {
        if (m_failures[file]) {
            tellOf(file);
        }
    }
    std::atomic<std::size_t> next{0};
    const auto serve = [&] {
        for (std::size_t file = next++; file < m_files.size() && !Interrupts::requested(); file = next++) {
            if (m_failures[file]) {
                continue;
            }
            std::optional<Failure> failure;
            try {
                Member member(*this, file);
                work(file, member);
            } catch (...) {
                failure = failureOfCurrentException();
            }
            {
                const std::lock_guard lock(m_mutex);
                m_failures[file] = failure;
                m_done[file] = !failure;
            }
            // What an interrupt has ended is told once, at the end.
            if (failure && !Interrupts::requested()) {
                tellOf(file);
            }
            update(file, 1.0);
        }
    };
    std::vector<std::thread> others;
    for (std::size_t i = 1; i < std::min(jobs, m_files.size()); ++i) {
        others.emplace_back(serve);
    }
    serve();
    for (std::thread& other : others) {
        other.join();
    }
    const std::lock_guard lock(m_mutex);
    m_console.wipe();
}

void Batch::update(std::size_t file, double progress) {
    const std::lock_guard lock(m_mutex);
    m_progress[file] = progress;
    draw();
}

void Batch::draw() {
    const auto failed =
        std::count_if(m_failures.begin(), m_failures.end(), [](const auto& f) { return f.has_value(); });
    const auto done = std::count(m_done.begin(), m_done.end(), true);
    m_console.setProgressionMessage(std::to_string(done) + " of " + std::to_string(m_files.size()) + " files" +
                                    (failed == 0 ? "" : ", " + std::to_string(failed) + " failed"));
    m_console.setProgress(std::accumulate(m_progress.begin(), m_progress.end(), 0.0) /
                          static_cast<double>(m_files.size()));
}

void Batch::print(const std::string& text) {
    const std::lock_guard lock(m_mutex);
    m_console.wipe();
    writeData(text);
}

void Batch::tell(const std::string& text) {
    const std::lock_guard lock(m_mutex);
    m_console.wipe();
    writeMessage(text);
}

std::string Batch::summary() const {
    const auto done = std::count(m_done.begin(), m_done.end(), true);
    std::vector<std::string> failed;
    std::size_t untouched = 0;
    for (std::size_t file = 0; file < m_files.size(); ++file) {
        if (m_failures[file]) {
            failed.push_back(m_files[file].string());
        } else if (!m_done[file]) {
            ++untouched;
        }
    }
    std::string text = std::to_string(done) + (done == 1 ? " file done" : " files done");
    if (!failed.empty()) {
        text += ", " + std::to_string(failed.size()) + " failed: " + description::join(failed);
    }
    if (untouched != 0) {
        text += ", " + std::to_string(untouched) + " not begun";
    }
    return text + '\n';
}

int Batch::exitCode() const {
    if (Interrupts::requested()) {
        return Interrupts::exitCode();
    }
    int code = DONE;
    for (const auto& failure : m_failures) {
        if (failure) {
            code = code == DONE || code == failure->exitCode() ? failure->exitCode() : RUN_FAILED;
        }
    }
    return code;
}

}  // namespace rix::cli
