#include <rix/image/MemoryRefusals.h>

#include <string>
#include <utility>

#include <rix/image/RowRefusals.h>

namespace rix::helper {

namespace {

thread_local constinit MemoryRefusals* innermost = nullptr;

}  // namespace

MemoryRefusals::MemoryRefusals() noexcept : m_outer(std::exchange(innermost, this)) {
    static_cast<void>(takeRowRefusal());  // of what was before
}

MemoryRefusals::~MemoryRefusals() {
    innermost = m_outer;
}

void MemoryRefusals::note(std::size_t bytes) noexcept {
    if (innermost != nullptr) {
        innermost->m_bytes = bytes;
    }
}

void MemoryRefusals::explain(Exception& exception) const {
    if (m_bytes != 0) {
        exception.setOutOfMemory();
        exception.addInfoLevel("There is no memory for its " + std::to_string(m_bytes) + " bytes.");
    } else if (const String reason = takeRowRefusal(); !reason.empty()) {
        exception.addInfoLevel(reason);
    }
}

}  // namespace rix::helper
