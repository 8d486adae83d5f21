#include <rix/access/MemoryAccount.h>

#include <cstdint>
#include <string>

#include <rix/exceptions/Exception.h>
#include <rix/settings/Settings.h>

namespace rix::access {

namespace {

/// Points to a pointer that the frame or a scheduler keeps alive: thus making one current counts no references.
thread_local constinit const std::shared_ptr<MemoryAccount>* currentAccount = nullptr;

}  // namespace

void MemoryAccount::charge(std::size_t bytes) {
    const std::size_t before = m_used.fetch_add(bytes, std::memory_order_relaxed);
    if (bytes > PTRDIFF_MAX || (m_limit != 0 && before + bytes > m_limit)) {
        m_used.fetch_sub(bytes, std::memory_order_relaxed);
        throw MemoryError("The run needs " + std::to_string(bytes) + " bytes of extra memory beside the " +
                          std::to_string(before) + " in use; the limit is " +
                          (m_limit != 0 ? std::to_string(m_limit) : "2^63") + " bytes.");
    }
    std::size_t peak = m_peak.load(std::memory_order_relaxed);
    while (peak < before + bytes && !m_peak.compare_exchange_weak(peak, before + bytes, std::memory_order_relaxed)) {
    }
}

bool MemoryAccount::keepsImagesOnDisk(TemporaryUse use) const {
    const auto isSet = [&](const char* key) { return m_settings->getValueAsBool(key, false); };
    return m_settings != nullptr && (isSet("RIX_TEMPORARY_IMAGE_ON_DISK") ||
                                     (use == TemporaryUse::Recursion && isSet("RIX_RECURSIVITY_TMP_DISK_IMAGE")));
}

std::shared_ptr<MemoryAccount> MemoryAccount::current() noexcept {
    return currentAccount != nullptr ? *currentAccount : nullptr;
}

MemoryAccount::Scope::Scope(const std::shared_ptr<MemoryAccount>& account) noexcept
    : m_before(std::exchange(currentAccount, &account)) {}

MemoryAccount::Scope::~Scope() {
    currentAccount = m_before;
}

void detail::refuseTable(std::size_t bytes) {
    throw MemoryError("A table of " + std::to_string(bytes) + " bytes cannot be allocated.");
}

MemoryCharge::MemoryCharge(std::size_t bytes) {
    std::shared_ptr<MemoryAccount> account = MemoryAccount::current();
    if (account != nullptr) {
        account->charge(bytes);
        m_account = std::move(account);
        m_bytes = bytes;
    }
}

}  // namespace rix::access
