#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace rix::cli {

/// A program started by a test, with both of its outputs caught. Ended when it outlives the object.
class Process {
public:
    enum class StandardOutput {
        Caught,
        Closed,  ///< a pipe that nobody reads
        Full,    ///< a device without room
    };
    struct Setup {
        std::filesystem::path folder;  ///< where it runs
        StandardOutput output = StandardOutput::Caught;
        std::size_t largestFile = 0;  ///< limit of what it may write into one file; 0 for none
    };

    Process(const std::string& program, const std::vector<std::string>& arguments, const Setup& setup);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// @throws std::logic_error after `wait` has seen the end of the program.
    void send(int signal) const;
    /// Reads until standard error holds the text. False when the program ends or the patience is over before that.
    bool waitForMessage(const std::string& text);
    /// Reads to the end and waits. The exit code, 1000 plus the signal that ended it, or -1 when patience ended.
    int wait();

    const std::string& output() const { return m_output; }
    const std::string& messages() const { return m_messages; }

private:
    bool readMore();

    pid_t m_child = -1;
    int m_outputPipe = -1;
    int m_messagePipe = -1;
    std::string m_output;
    std::string m_messages;
    std::chrono::steady_clock::time_point m_end;
};

}  // namespace rix::cli
