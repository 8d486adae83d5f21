#pragma once

#include <cstddef>
#include <utility>

#include <rix/Export.h>
#include <rix/access/MemoryAccount.h>
#include <rix/image/ImageTypes.h>

namespace rix::access {

/// Working memory of a block, aligned to 64 bytes. It comes from a store of the calling thread and returns to it, so
/// that blocks after the first allocate nothing. Contents are undefined at first. While it lives, what was asked for is
/// charged to the account of the run; what waits in the store is not.
class RIX_EXPORT Scratch {
public:
    Scratch() = default;
    /// @throws MemoryError when there is none, or the run may not have it.
    explicit Scratch(std::size_t bytes);
    ~Scratch();
    Scratch(Scratch&& other) noexcept
        : m_charge(std::move(other.m_charge)),
          m_data(std::exchange(other.m_data, nullptr)),
          m_capacity(std::exchange(other.m_capacity, 0)) {}
    Scratch& operator=(Scratch&& other) noexcept {
        std::swap(m_charge, other.m_charge);
        std::swap(m_data, other.m_data);
        std::swap(m_capacity, other.m_capacity);
        return *this;
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    /// Buffers are multiples of this: pages.
    static constexpr std::size_t granularity = 4096;
    /// The bytes that a buffer for `bytes` holds: buffers are whole pages. For descriptions of the memory of runs.
    static constexpr std::size_t held(std::size_t bytes) { return (bytes / granularity + 1) * granularity; }

    RawData data() const { return m_data; }
    template <class T>
    T* as() const {
        return reinterpret_cast<T*>(m_data);
    }

private:
    MemoryCharge m_charge;
    RawData m_data = nullptr;
    std::size_t m_capacity = 0;
};

}  // namespace rix::access
