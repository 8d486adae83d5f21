#include <rix/access/Looks.h>

#include <utility>

namespace rix::access {

namespace {

thread_local constinit const ExecutionContext* runOfThread = nullptr;

}  // namespace

RunOfThread::RunOfThread(const ExecutionContext& context) noexcept : m_before(std::exchange(runOfThread, &context)) {}

RunOfThread::~RunOfThread() {
    runOfThread = m_before;
}

void throwIfRunCancelled() {
    if (runOfThread != nullptr) {
        runOfThread->throwIfCancelled();
    }
}

}  // namespace rix::access
