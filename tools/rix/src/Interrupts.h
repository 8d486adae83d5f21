#pragma once

namespace rix::cli {

/// From its creation on, the first Ctrl-C (SIGINT) or SIGTERM is remembered instead of ending the program, so that a
/// run can be cancelled and temporary files removed; the second one of its kind ends the program at once. One object
/// in a program.
class Interrupts {
public:
    Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

    static bool requested();
    /// The exit code for the signal that came: 128 plus its number. Ask only when one was.
    static int exitCode();
    /// @throws Failure with that exit code when a signal came. Called between steps that can't be cancelled.
    static void throwIfRequested();
};

}  // namespace rix::cli
