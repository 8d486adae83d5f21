#pragma once

namespace rix::cli {

/// How the program ends; scripts rely on the numbers.
enum ExitCode : int {
    DONE = 0,
    RUN_FAILED = 1,
    WRONG_USAGE = 2,
    REFUSED_BY_RULE = 3,
    UNREADABLE_INPUT = 4,
    UNWRITABLE_OUTPUT = 5,
    INTERRUPTED = 130,  ///< 128 + SIGINT, as shells report it
};

}  // namespace rix::cli
