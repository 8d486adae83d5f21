#include "Interrupts.h"

#include <atomic>
#include <csignal>

#include <rix/exceptions/Exception.h>

#include "Failure.h"

namespace rix::cli {
namespace {

std::atomic<int> receivedSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may only touch lock-free atomics");

extern "C" void rememberSignal(int signal) {
    receivedSignal.store(signal, std::memory_order_relaxed);
}

}  // namespace

Interrupts::Interrupts() {
    struct sigaction action{};
    action.sa_handler = rememberSignal;
    sigemptyset(&action.sa_mask);
    // Reads and writes go on; the second signal meets the default action.
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM}) {
        struct sigaction previous{};
        // A signal that the parent ignores (a background job of a script) stays ignored.
        if (sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler != SIG_IGN) {
            sigaction(signal, &action, nullptr);
        }
    }
}

bool Interrupts::requested() {
    return receivedSignal.load(std::memory_order_relaxed) != 0;
}

int Interrupts::exitCode() {
    constexpr int signalBase = 128;
    return signalBase + receivedSignal.load(std::memory_order_relaxed);
}

void Interrupts::throwIfRequested() {
    if (requested()) {
        throw Failure(exitCode(), ExceptionCancelation().what());
    }
}

}  // namespace rix::cli
