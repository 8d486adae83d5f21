#include "Handle.h"

#include <pthread.h>

#include <string_view>

namespace rix::io::hdf5 {
namespace {

std::mutex mutex;

[[maybe_unused]] const int handlers =
    ::pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });

/// The innermost cause, which is where the walk from the call inwards ends.
::herr_t keepText(unsigned /*depth*/, const ::H5E_error2_t* error, void* text) {
    if (error->desc != nullptr) {
        *static_cast<std::string*>(text) = error->desc;
    }
    return 0;
}

}  // namespace

std::unique_lock<std::mutex> enter() {
    std::unique_lock lock(mutex);
    // Else libhdf5 prints what fails; the state belongs to the thread in some builds of it.
    ::H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
    return lock;
}

void fail(const std::string& sentence) {
    std::string reason;
    ::H5Ewalk2(H5E_DEFAULT, H5E_WALK_DOWNWARD, &keepText, &reason);
    ::H5Eclear2(H5E_DEFAULT);
    // What the system said stands among addresses and times.
    constexpr std::string_view before = "error message = '";
    if (const std::size_t found = reason.find(before); found != std::string::npos) {
        const std::size_t begin = found + before.size();
        reason = reason.substr(begin, reason.find('\'', begin) - begin);
    }
    while (!reason.empty() && (reason.back() == '.' || reason.back() == '\n')) {
        reason.pop_back();
    }
    throw std::runtime_error(sentence + (reason.empty() ? "." : " (" + reason + ")."));
}

}  // namespace rix::io::hdf5
