#pragma once

#include <pybind11/pybind11.h>

#include <rix/algorithms/BaseAlgorithm.h>

namespace rix::python {

/// A run without the interpreter's lock, which is taken again at its end. The lock is held where it begins and ends.
///
/// Threads that nobody waits for (daemons) may be in a run when the interpreter ends. Python would end them where they
/// ask for its lock next, in the midst of the library's functions. So their runs are ended before (`endRuns`), and they
/// go no further.
class RunBeforeExit {
public:
    explicit RunBeforeExit(BaseAlgorithm& algorithm);
    ~RunBeforeExit();
    RunBeforeExit(const RunBeforeExit&) = delete;
    RunBeforeExit& operator=(const RunBeforeExit&) = delete;

private:
    BaseAlgorithm& m_algorithm;
    PyThreadState* m_state;
};

/// Called when the interpreter is about to end, by its main thread with the lock: cancels all runs and waits for their
/// end, but not for ever: what a callback waits for may never come.
void endRuns();

/// Called in a forked process, with the lock: the runs of other threads stayed behind.
void forgetRuns();

}  // namespace rix::python
