#include <rix/image/RowRefusals.h>

#include <new>
#include <utility>

namespace rix::helper {

namespace {

thread_local String lastReason;

}  // namespace

void noteRowRefusal(const String& reason) noexcept {
    try {
        lastReason = reason;
    } catch (const std::bad_alloc&) {
        lastReason.clear();
    }
}

String takeRowRefusal() noexcept {
    return std::exchange(lastReason, String());
}

}  // namespace rix::helper
