#include <rix/properties/ScalarArray.h>

#include <algorithm>
#include <bit>
#include <string>
#include <utility>
#include <vector>

#include <rix/exceptions/Exception.h>

namespace rix {

namespace {

template <class T>
std::uint64_t toWord(T value) {
    return std::bit_cast<std::uint64_t>(value);
}

const String& labelOf(ScalarType type) {
    return getInfoScalarType().getLabelFromValue(type);
}

}  // namespace

struct ScalarArrayPrivate {
    ScalarType type = INTEGER;
    std::vector<std::uint64_t> words;

    template <class T>
    void setData(std::size_t count, const T* data) {
        if (data == nullptr && count != 0) {
            throw InvalidCall("No data was given for " + std::to_string(count) + " numbers of a ScalarArray.");
        }
        // Built aside: `data` may be what a caller read from this very array, and memory may run out.
        std::vector<std::uint64_t> copy(count);
        std::transform(data, data + count, copy.begin(), toWord<T>);
        words = std::move(copy);
        type = SCALAR_TYPE_OF<T>;
    }

    void require(ScalarType expected) const {
        if (type != expected) {
            throw InvalidCall("The ScalarArray isn't of " + labelOf(expected) + " type.");
        }
    }

    void requireTypeOf(const Scalar& scalar) const {
        if (type != scalar.getType()) {
            throw InvalidCall("The ScalarArray hasn't the same type (" + labelOf(type) + ") as the Scalar (" +
                              labelOf(scalar.getType()) + ").");
        }
    }

    std::uint64_t& wordAt(std::size_t index) {
        if (index >= words.size()) {
            throw BadIndex("index <" + std::to_string(index) + "> must be less than " + std::to_string(words.size()));
        }
        return words[index];
    }

    static std::uint64_t wordOf(const Scalar& scalar) {
        switch (scalar.getType()) {
            case INTEGER: return toWord(scalar.getIntValue());
            case UNSIGNED_INTEGER: return scalar.getUIntValue();
            case REAL: break;
        }
        return toWord(scalar.getRealValue());
    }
};

ScalarArray::ScalarArray() : m_private(std::make_unique<ScalarArrayPrivate>()) {}

ScalarArray::ScalarArray(std::size_t count, ScalarType type) : ScalarArray() {
    m_private->type = type;
    m_private->words.resize(count);
}

ScalarArray::ScalarArray(std::size_t count, const long* data) : ScalarArray() {
    setData(count, data);
}

ScalarArray::ScalarArray(std::size_t count, const unsigned long* data) : ScalarArray() {
    setData(count, data);
}

ScalarArray::ScalarArray(std::size_t count, const double* data) : ScalarArray() {
    setData(count, data);
}

ScalarArray::ScalarArray(const ScalarArray& other)
    : m_private(std::make_unique<ScalarArrayPrivate>(*other.m_private)) {}

ScalarArray::ScalarArray(ScalarArray&& other) : ScalarArray() {
    m_private.swap(other.m_private);
}

ScalarArray& ScalarArray::operator=(const ScalarArray& other) {
    *this = ScalarArray(other);
    return *this;
}

ScalarArray& ScalarArray::operator=(ScalarArray&& other) noexcept {
    m_private.swap(other.m_private);
    return *this;
}

ScalarArray::~ScalarArray() = default;

ScalarType ScalarArray::getType() const {
    return m_private->type;
}

std::size_t ScalarArray::size() const {
    return m_private->words.size();
}

bool ScalarArray::empty() const {
    return m_private->words.empty();
}

void ScalarArray::clear() {
    m_private->words.clear();
}

void ScalarArray::reserve(std::size_t count) {
    m_private->words.reserve(count);
}

void ScalarArray::resize(std::size_t count) {
    m_private->words.resize(count);
}

void ScalarArray::setData(std::size_t count, const long* data) {
    m_private->setData(count, data);
}

void ScalarArray::setData(std::size_t count, const unsigned long* data) {
    m_private->setData(count, data);
}

void ScalarArray::setData(std::size_t count, const double* data) {
    m_private->setData(count, data);
}

long ScalarArray::getIntValueAt(std::size_t index) const {
    m_private->require(INTEGER);
    return std::bit_cast<long>(m_private->wordAt(index));
}

unsigned long ScalarArray::getUIntValueAt(std::size_t index) const {
    m_private->require(UNSIGNED_INTEGER);
    return m_private->wordAt(index);
}

double ScalarArray::getRealValueAt(std::size_t index) const {
    m_private->require(REAL);
    return std::bit_cast<double>(m_private->wordAt(index));
}

void ScalarArray::setIntValueAt(std::size_t index, long value) {
    m_private->require(INTEGER);
    m_private->wordAt(index) = toWord(value);
}

void ScalarArray::setUIntValueAt(std::size_t index, unsigned long value) {
    m_private->require(UNSIGNED_INTEGER);
    m_private->wordAt(index) = value;
}

void ScalarArray::setRealValueAt(std::size_t index, double value) {
    m_private->require(REAL);
    m_private->wordAt(index) = toWord(value);
}

void ScalarArray::pushBack(long value) {
    m_private->require(INTEGER);
    m_private->words.push_back(toWord(value));
}

void ScalarArray::pushBack(unsigned long value) {
    m_private->require(UNSIGNED_INTEGER);
    m_private->words.push_back(value);
}

void ScalarArray::pushBack(double value) {
    m_private->require(REAL);
    m_private->words.push_back(toWord(value));
}

Scalar ScalarArray::getScalarValueAt(std::size_t index) const {
    const std::uint64_t word = m_private->wordAt(index);
    switch (m_private->type) {
        case INTEGER: return std::bit_cast<std::int64_t>(word);
        case UNSIGNED_INTEGER: return word;
        case REAL: break;
    }
    return std::bit_cast<double>(word);
}

void ScalarArray::setScalarValueAt(std::size_t index, const Scalar& value) {
    m_private->requireTypeOf(value);
    m_private->wordAt(index) = ScalarArrayPrivate::wordOf(value);
}

void ScalarArray::pushBack(const Scalar& value) {
    m_private->requireTypeOf(value);
    m_private->words.push_back(ScalarArrayPrivate::wordOf(value));
}

bool ScalarArray::operator==(const ScalarArray& other) const {
    if (m_private->type != other.m_private->type) {
        return false;
    }
    if (m_private->type != REAL) {
        return m_private->words == other.m_private->words;
    }
    // Not the bits: -0 equals 0, and NaN differs from itself.
    return std::equal(
        m_private->words.begin(), m_private->words.end(), other.m_private->words.begin(), other.m_private->words.end(),
        [](std::uint64_t a, std::uint64_t b) { return std::bit_cast<double>(a) == std::bit_cast<double>(b); });
}

}  // namespace rix
