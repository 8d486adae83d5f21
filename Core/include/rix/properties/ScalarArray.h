#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

#include <rix/Export.h>
#include <rix/properties/Scalar.h>

namespace rix {

struct ScalarArrayPrivate;

/// A list of numbers of one type: signed integers, unsigned integers or reals, each of 64 bits.
///
/// Operations that take or give a number demand the type of the list and throw `InvalidCall` for another one;
/// those that take an index throw `BadIndex` beyond the end.
class RIX_EXPORT ScalarArray {
public:
    /// An empty list of signed integers.
    ScalarArray();
    /// `count` zeros.
    ScalarArray(std::size_t count, ScalarType type);
    /// A copy of `count` numbers, whose type becomes the type of the list.
    /// @throws InvalidCall when `data` is null and `count` is not 0.
    ScalarArray(std::size_t count, const long* data);
    ScalarArray(std::size_t count, const unsigned long* data);
    ScalarArray(std::size_t count, const double* data);
    ScalarArray(const ScalarArray& other);
    /// Leaves `other` an empty list of signed integers.
    ScalarArray(ScalarArray&& other);
    ScalarArray& operator=(const ScalarArray& other);
    ScalarArray& operator=(ScalarArray&& other) noexcept;
    ~ScalarArray();

    ScalarType getType() const;
    std::size_t size() const;
    bool empty() const;
    /// Removes the numbers; the type stays.
    void clear();
    void reserve(std::size_t count);
    /// Cuts the list or appends zeros.
    void resize(std::size_t count);

    /// Replaces numbers and type, as the constructors do.
    void setData(std::size_t count, const long* data);
    void setData(std::size_t count, const unsigned long* data);
    void setData(std::size_t count, const double* data);

    long getIntValueAt(std::size_t index) const;
    unsigned long getUIntValueAt(std::size_t index) const;
    double getRealValueAt(std::size_t index) const;
    void setIntValueAt(std::size_t index, long value);
    void setUIntValueAt(std::size_t index, unsigned long value);
    void setRealValueAt(std::size_t index, double value);
    void pushBack(long value);
    void pushBack(unsigned long value);
    void pushBack(double value);
    /// A number of any other type is appended as the type that a `Scalar` made of it would have.
    template <class T>
        requires std::is_arithmetic_v<T>
    void pushBack(T value) {
        if constexpr (SCALAR_TYPE_OF<T> == REAL) {
            pushBack(static_cast<double>(value));
        } else if constexpr (SCALAR_TYPE_OF<T> == INTEGER) {
            pushBack(static_cast<long>(value));
        } else {
            pushBack(static_cast<unsigned long>(value));
        }
    }

    Scalar getScalarValueAt(std::size_t index) const;
    void setScalarValueAt(std::size_t index, const Scalar& value);
    void pushBack(const Scalar& value);

    /// The same type, the same size and equal numbers; NaN equals nothing.
    bool operator==(const ScalarArray& other) const;

private:
    std::unique_ptr<ScalarArrayPrivate> m_private;
};

}  // namespace rix
