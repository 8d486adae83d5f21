#pragma once

#include <cstddef>
#include <utility>

#include <rix/Export.h>
#include <rix/image/ImageTypes.h>

namespace rix::access {

/// Working memory of a block, aligned to 64 bytes. It comes from a store of the calling thread and returns to it, so
/// that blocks after the first allocate nothing. Contents are undefined at first.
class RIX_EXPORT Scratch {
public:
    Scratch() = default;
    /// @throws MemoryError when there is none.
    explicit Scratch(std::size_t bytes);
    ~Scratch();
    Scratch(Scratch&& other) noexcept
        : m_data(std::exchange(other.m_data, nullptr)), m_capacity(std::exchange(other.m_capacity, 0)) {}
    Scratch& operator=(Scratch&& other) noexcept {
        std::swap(m_data, other.m_data);
        std::swap(m_capacity, other.m_capacity);
        return *this;
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    RawData data() const { return m_data; }
    template <class T>
    T* as() const {
        return reinterpret_cast<T*>(m_data);
    }

private:
    RawData m_data = nullptr;
    std::size_t m_capacity = 0;
};

}  // namespace rix::access
