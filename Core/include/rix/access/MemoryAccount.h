#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include <rix/Export.h>

namespace rix {
class Settings;
}

namespace rix::access {

/// What an image within a run is for.
enum class TemporaryUse : std::uint8_t {
    Any,
    Recursion  ///< between the axes of a recursive filter
};

/// Counts the working memory of one run: what it holds beyond its inputs and outputs, in all its threads and children.
///
/// The frame opens an account for each top-level run and makes it the current one of every thread that works for the
/// run; `Scratch`, `CountedVector` and `TemporaryImage` charge the account that is current when they are made, and give
/// back to that one whenever and wherever they end. Thread safe.
class RIX_EXPORT MemoryAccount {
public:
    /// @param limit bytes that may be in use at the same time; 0 for any number
    /// @param settings of the run, which outlive it; null for none
    explicit MemoryAccount(std::size_t limit = 0, const Settings* settings = nullptr)
        : m_limit(limit), m_settings(settings) {}
    MemoryAccount(const MemoryAccount&) = delete;
    MemoryAccount& operator=(const MemoryAccount&) = delete;

    /// @throws MemoryError, which names what is needed, what is in use and the limit; nothing is charged then.
    void charge(std::size_t bytes);
    void release(std::size_t bytes) noexcept { m_used.fetch_sub(bytes, std::memory_order_relaxed); }

    std::size_t used() const { return m_used.load(std::memory_order_relaxed); }
    /// The most that was in use at the same time.
    std::size_t peak() const { return m_peak.load(std::memory_order_relaxed); }
    std::size_t limit() const { return m_limit; }
    /// Whether temporary images lie on disk: the setting "RIX_TEMPORARY_IMAGE_ON_DISK", and for recursions
    /// "RIX_RECURSIVITY_TMP_DISK_IMAGE" as well.
    bool keepsImagesOnDisk(TemporaryUse use) const;

    /// That of the run for which this thread works at the moment; null outside of runs.
    static std::shared_ptr<MemoryAccount> current() noexcept;

    /// Makes an account the current one of this thread while it lives; then the one before is current again. What gives
    /// the blocks of a run to other threads does so in each of them, as the schedulers of the library do.
    class RIX_EXPORT Scope {
    public:
        /// Null counts nothing. The pointer outlives the scope.
        explicit Scope(const std::shared_ptr<MemoryAccount>& account) noexcept;
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        const std::shared_ptr<MemoryAccount>* m_before;
    };

private:
    std::atomic<std::size_t> m_used{0};
    std::atomic<std::size_t> m_peak{0};
    std::size_t m_limit;
    const Settings* m_settings;
};

/// A number of bytes that is charged to the current account while it lives.
class RIX_EXPORT MemoryCharge {
public:
    MemoryCharge() = default;
    /// @throws MemoryError as `MemoryAccount::charge` does
    explicit MemoryCharge(std::size_t bytes);
    ~MemoryCharge() {
        if (m_account != nullptr) {
            m_account->release(m_bytes);
        }
    }
    MemoryCharge(MemoryCharge&& other) noexcept
        : m_account(std::move(other.m_account)), m_bytes(std::exchange(other.m_bytes, 0)) {}
    MemoryCharge& operator=(MemoryCharge&& other) noexcept {
        std::swap(m_account, other.m_account);
        std::swap(m_bytes, other.m_bytes);
        return *this;
    }
    MemoryCharge(const MemoryCharge&) = delete;
    MemoryCharge& operator=(const MemoryCharge&) = delete;

private:
    std::shared_ptr<MemoryAccount> m_account;
    std::size_t m_bytes = 0;
};

namespace detail {
/// @throws MemoryError that names the bytes
[[noreturn]] RIX_EXPORT void refuseTable(std::size_t bytes);
}  // namespace detail

/// The allocator of containers whose memory counts. It charges the account that was current when the container was
/// made; memory that moves from one container to another stays with the account that it was charged to, a copy is
/// charged where it is made. For the tables of a run: each allocation costs a few atomic operations more.
template <class T>
class Counted {
public:
    using value_type = T;
    using propagate_on_container_move_assignment = std::true_type;
    using propagate_on_container_swap = std::true_type;

    Counted() noexcept : m_account(MemoryAccount::current()) {}
    // Copies only: a container that was moved from keeps its account.
    Counted(const Counted&) noexcept = default;
    Counted& operator=(const Counted&) noexcept = default;
    template <class U>
    Counted(const Counted<U>& other) noexcept : m_account(other.account()) {}  // NOLINT: allocators are rebound
    Counted select_on_container_copy_construction() const noexcept { return {}; }

    T* allocate(std::size_t count) {
        if (m_account == nullptr) {
            return std::allocator<T>().allocate(count);
        }
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        m_account->charge(count * sizeof(T));
        try {
            return std::allocator<T>().allocate(count);
        } catch (const std::bad_alloc&) {
            m_account->release(count * sizeof(T));
            detail::refuseTable(count * sizeof(T));
        }
    }
    void deallocate(T* address, std::size_t count) noexcept {
        std::allocator<T>().deallocate(address, count);
        if (m_account != nullptr) {
            m_account->release(count * sizeof(T));
        }
    }

    const std::shared_ptr<MemoryAccount>& account() const { return m_account; }
    template <class U>
    bool operator==(const Counted<U>& other) const noexcept {
        return m_account == other.account();
    }

private:
    std::shared_ptr<MemoryAccount> m_account;
};

template <class T>
using CountedVector = std::vector<T, Counted<T>>;

}  // namespace rix::access
