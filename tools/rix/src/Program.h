#pragma once

namespace rix::cli {

/// The whole program: reads the arguments, runs the command, reports what goes wrong. Throws nothing.
/// @return the exit code of the process
int runProgram(int argc, const char* const* argv) noexcept;

}  // namespace rix::cli
