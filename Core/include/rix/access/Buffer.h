#pragma once

#include <cstddef>

#include <rix/access/Scratch.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageTypes.h>

namespace rix::access {

/// Working memory of a thread that is made when it is first asked for and only grows.
template <class T>
class Buffer {
public:
    /// At least `count` elements; what was there is lost when the buffer grows.
    /// @throws MemoryError when there is no memory
    T* reserve(std::size_t count) {
        if (m_count < count || m_scratch.data() == nullptr) {
            std::size_t bytes = 0;
            if (!helper::checkedMultiply(count, sizeof(T), bytes)) {
                throw MemoryError("The size of a working buffer does not fit 64 bits.");
            }
            m_scratch = Scratch(bytes);
            m_count = count;
        }
        return data();
    }
    T* data() const { return m_scratch.as<T>(); }

private:
    Scratch m_scratch;
    std::size_t m_count = 0;
};

}  // namespace rix::access
