#pragma once

#include <cstddef>

#include <rix/access/Scratch.h>

namespace rix::filtering::smoothing {

/// Some values of a thread: scratch memory, or where they are few this object's own, as rows may be short and many.
template <class V>
class RowList {
public:
    explicit RowList(std::size_t count)
        : m_memory(count > own ? access::Scratch(count * sizeof(V)) : access::Scratch()) {}
    V& operator[](std::size_t i) { return data()[i]; }
    V* data() { return m_memory.data() != nullptr ? m_memory.template as<V>() : m_own; }

private:
    static constexpr std::size_t own = 4096 / sizeof(V);
    alignas(64) V m_own[own];
    access::Scratch m_memory;
};

}  // namespace rix::filtering::smoothing
