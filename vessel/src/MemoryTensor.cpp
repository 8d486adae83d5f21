#include <vessel/MemoryTensor.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace vessel {

namespace {

std::size_t checkedSize(SampleType type, const std::vector<std::size_t>& shape) {
    if (std::find(shape.begin(), shape.end(), 0U) != shape.end()) {
        return 0;
    }
    std::size_t bytes = getSampleSize(type);
    for (const std::size_t extent : shape) {
        if (__builtin_mul_overflow(bytes, extent, &bytes)) {
            throw std::length_error("The size of a tensor in bytes does not fit 64 bits.");
        }
    }
    return bytes;
}

}  // namespace

MemoryTensor::MemoryTensor(SampleType type, std::vector<std::size_t> shape)
    : m_type(type), m_shape(std::move(shape)), m_samples(checkedSize(m_type, m_shape)) {}

MemoryTensor::~MemoryTensor() = default;

}  // namespace vessel
