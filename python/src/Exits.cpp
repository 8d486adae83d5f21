#include "Exits.h"

#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include <unistd.h>

namespace py = pybind11;

namespace rix::python {
namespace {

/// Touched with the interpreter's lock only: a lock of its own would have to be thought of at every fork.
std::set<BaseAlgorithm*>& activeRuns() {
    static auto* const runs = new std::set<BaseAlgorithm*>();
    return *runs;
}

constinit std::atomic<bool> isExiting{false};
constinit std::atomic<bool> isGivenUp{false};  ///< the interpreter may be gone
std::atomic<std::thread::id> exitingThread;

/// Whether the calling thread has no interpreter to go back to.
bool isLate() {
    return isExiting && exitingThread.load() != std::this_thread::get_id();
}

/// Without the lock.
[[noreturn]] void stayForEver() {
    while (true) {
        ::pause();
    }
}

}  // namespace

RunBeforeExit::RunBeforeExit(BaseAlgorithm& algorithm) : m_algorithm(algorithm), m_state(nullptr) {
    if (isLate()) {
        PyEval_SaveThread();
        stayForEver();
    }
    activeRuns().insert(&algorithm);
    m_state = PyEval_SaveThread();
}

RunBeforeExit::~RunBeforeExit() {
    if (isLate() && isGivenUp) {
        stayForEver();
    }
    PyEval_RestoreThread(m_state);
    activeRuns().erase(&m_algorithm);
    if (isLate()) {
        PyEval_SaveThread();
        stayForEver();
    }
}

void endRuns() {
    constexpr std::chrono::seconds patience{5};
    const auto end = std::chrono::steady_clock::now() + patience;
    exitingThread = std::this_thread::get_id();
    isExiting = true;
    while (!activeRuns().empty() && std::chrono::steady_clock::now() < end) {
        for (BaseAlgorithm* const algorithm : activeRuns()) {
            algorithm->cancelExecution();  // again and again: a run that has just begun forgets it
        }
        const py::gil_scoped_release unlocked;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    isGivenUp = true;
}

void forgetRuns() {
    activeRuns().clear();
}

}  // namespace rix::python
