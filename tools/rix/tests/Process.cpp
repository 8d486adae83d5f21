#include "Process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace rix::cli {
namespace {

constexpr std::chrono::seconds patience{120};  // a hanging program fails its test; a slow machine doesn't
constexpr int signalBase = 1000;

std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return ends;
}

/// Reads what there is; closes the pipe and makes it -1 at its end.
void drain(int& pipe, std::string& text) {
    std::array<char, 65536> buffer{};
    const auto count = read(pipe, buffer.data(), buffer.size());
    if (count > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    } else {
        close(pipe);
        pipe = -1;
    }
}

/// In the child: only calls that are safe after a fork.
[[noreturn]] void become(const char* program, char* const* arguments, const Process::Setup& setup, int output,
                         int messages) {
    // Whoever started the tests may have these ignored (a background job): the program must see its usual world.
    for (const int signal : {SIGINT, SIGTERM, SIGPIPE, SIGXFSZ}) {
        std::signal(signal, SIG_DFL);
    }
    if (setup.largestFile != 0) {
        const rlimit limit{setup.largestFile, setup.largestFile};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (setup.output == Process::StandardOutput::Full) {
        output = open("/dev/full", O_WRONLY);
    }
    dup2(output, STDOUT_FILENO);
    dup2(messages, STDERR_FILENO);
    if (chdir(setup.folder.c_str()) == 0) {
        execv(program, arguments);
    }
    _exit(127);
}

}  // namespace

Process::Process(const std::string& program, const std::vector<std::string>& arguments, const Setup& setup)
    : m_end(std::chrono::steady_clock::now() + patience) {
    auto words = arguments;
    std::vector<char*> list{const_cast<char*>(program.c_str())};
    for (auto& word : words) {
        list.push_back(word.data());
    }
    list.push_back(nullptr);
    const auto output = makePipe();
    const auto messages = makePipe();
    if (setup.output != StandardOutput::Caught) {
        close(output[0]);
    }
    m_child = fork();
    if (m_child == 0) {
        become(program.c_str(), list.data(), setup, output[1], messages[1]);
    }
    close(output[1]);
    close(messages[1]);
    m_outputPipe = setup.output == StandardOutput::Caught ? output[0] : -1;
    m_messagePipe = messages[0];
    if (m_child < 0) {
        throw std::runtime_error("no process");
    }
}

Process::~Process() {
    if (m_child > 0) {
        kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
    }
    for (const int pipe : {m_outputPipe, m_messagePipe}) {
        if (pipe >= 0) {
            close(pipe);
        }
    }
}

void Process::send(int signal) const {
    // A process number of -1 would mean every process of the machine.
    if (m_child <= 0) {
        throw std::logic_error("the program has ended: there is nobody to signal");
    }
    kill(m_child, signal);
}

bool Process::readMore() {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_end - std::chrono::steady_clock::now());
    std::array<pollfd, 2> pipes{{{m_outputPipe, POLLIN, 0}, {m_messagePipe, POLLIN, 0}}};
    if ((m_outputPipe < 0 && m_messagePipe < 0) || left.count() <= 0 ||
        poll(pipes.data(), pipes.size(), static_cast<int>(left.count())) <= 0) {
        return false;
    }
    if (pipes[0].revents != 0) {
        drain(m_outputPipe, m_output);
    }
    if (pipes[1].revents != 0) {
        drain(m_messagePipe, m_messages);
    }
    return true;
}

bool Process::waitForMessage(const std::string& text) {
    while (m_messages.find(text) == std::string::npos) {
        if (!readMore()) {
            return false;
        }
    }
    return true;
}

int Process::wait() {
    while (readMore()) {
    }
    if (m_outputPipe >= 0 || m_messagePipe >= 0) {
        return -1;
    }
    int status = 0;
    waitpid(m_child, &status, 0);
    m_child = -1;
    return WIFSIGNALED(status) ? signalBase + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace rix::cli
