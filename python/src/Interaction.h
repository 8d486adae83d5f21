#pragma once

#include <exception>
#include <functional>

#include <pybind11/pybind11.h>

#include <rix/algorithms/InteractionInterface.h>
#include <rix/exceptions/Exception.h>

namespace rix::python {

/// Hands progress to a callable and Ctrl-C to the run. Used by the thread that called `run`, without the interpreter's
/// lock, which is taken for a moment at each poll, and only where there is somebody to ask: a callable, or signals,
/// which Python handles in its main thread alone.
class Interaction : public InteractionInterface {
public:
    /// @param progress called with the progress from 0 to 1; None for nobody
    explicit Interaction(pybind11::object progress);

    void setProgress(double progress) override;
    bool isCancelRequested() override;

    /// After the run, with the lock: raises what a signal or the callable has raised.
    void rethrow();

private:
    pybind11::object m_progress;
    double m_reported = -1.0;
    bool m_handlesSignals;
    std::exception_ptr m_error;  ///< a Python error: touched with the lock only
    bool m_failed = false;
};

/// Calls `work` with what it may ask whether to end, without the interpreter's lock, and raises what Ctrl-C has ended.
template <class Work>
auto interruptibly(const Work& work) {
    Interaction interaction{pybind11::none()};
    const std::function<bool()> interrupted = [&] { return interaction.isCancelRequested(); };
    try {
        const pybind11::gil_scoped_release unlocked;
        return work(interrupted);
    } catch (const UserCancelException&) {
        interaction.rethrow();
        throw;
    }
}

}  // namespace rix::python
