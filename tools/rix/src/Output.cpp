#include "Output.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "Failure.h"

namespace rix::cli {
namespace {

/// Returns 0 or the number of the system's error.
int writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

}  // namespace

void writeData(std::string_view text) {
    const int error = writeAll(STDOUT_FILENO, text);
    if (error != 0 && error != EPIPE) {
        throw Failure(UNWRITABLE_OUTPUT, std::string("standard output can't be written: ") + std::strerror(error));
    }
}

void writeJson(const nlohmann::json& value) {
    constexpr int indent = 2;
    writeData(value.dump(indent, ' ', false, nlohmann::json::error_handler_t::replace) + '\n');
}

void writeMessage(std::string_view text) {
    static_cast<void>(writeAll(STDERR_FILENO, text));
}

}  // namespace rix::cli
