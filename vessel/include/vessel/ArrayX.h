#pragma once

#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

namespace vessel {

/// A one-dimensional array whose length is known at run time only. A value type: copies share nothing.
template <class T>
class ArrayX {
public:
    using ValueType = T;

    ArrayX() = default;
    /// `size` values of `T()`.
    explicit ArrayX(std::size_t size) : m_values(size) {}
    ArrayX(std::initializer_list<T> values) : m_values(values) {}
    explicit ArrayX(std::vector<T> values) : m_values(std::move(values)) {}

    std::size_t size() const noexcept { return m_values.size(); }
    bool empty() const noexcept { return m_values.empty(); }
    /// Keeps the values that remain; new ones are `T()`.
    void resize(std::size_t size) { m_values.resize(size); }

    /// Positions are not checked.
    T& operator[](std::size_t index) { return m_values[index]; }
    const T& operator[](std::size_t index) const { return m_values[index]; }

    T* data() noexcept { return m_values.data(); }
    const T* data() const noexcept { return m_values.data(); }
    auto begin() noexcept { return m_values.begin(); }
    auto begin() const noexcept { return m_values.begin(); }
    auto end() noexcept { return m_values.end(); }
    auto end() const noexcept { return m_values.end(); }

    bool operator==(const ArrayX&) const = default;

private:
    std::vector<T> m_values;
};

}  // namespace vessel
