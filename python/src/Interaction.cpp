#include "Interaction.h"

#include <atomic>
#include <utility>

#include <cxxabi.h>

namespace py = pybind11;

namespace rix::python {
namespace {

bool isMainThread() {
    // No static constant: Python gives other threads their turn meanwhile, who would wait for it with Python's lock.
    static constinit std::atomic<unsigned long> mainThread{0};
    if (mainThread == 0) {
        mainThread = py::module_::import("threading").attr("main_thread")().attr("ident").cast<unsigned long>();
    }
    return PyThread_get_thread_ident() == mainThread;
}

}  // namespace

Interaction::Interaction(py::object progress) : m_progress(std::move(progress)), m_handlesSignals(isMainThread()) {}

void Interaction::setProgress(double progress) {
    if (m_progress.is_none() || m_failed || progress <= m_reported) {
        return;
    }
    m_reported = progress;
    const py::gil_scoped_acquire lock;
    try {
        m_progress(progress);
    } catch (const abi::__forced_unwind&) {
        throw;  // the thread is being ended
    } catch (...) {
        m_error = std::current_exception();
        m_failed = true;
    }
}

bool Interaction::isCancelRequested() {
    if (!m_failed && m_handlesSignals) {
        const py::gil_scoped_acquire lock;
        if (PyErr_CheckSignals() != 0) {
            m_error = std::make_exception_ptr(py::error_already_set());
            m_failed = true;
        }
    }
    return m_failed;
}

void Interaction::rethrow() {
    if (m_error != nullptr) {
        std::rethrow_exception(std::exchange(m_error, nullptr));
    }
}

}  // namespace rix::python
