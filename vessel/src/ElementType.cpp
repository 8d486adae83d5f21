#include <vessel/ElementType.h>

namespace vessel {

std::size_t getSampleSize(SampleType type) noexcept {
    switch (type) {
        case SampleType::UINT8:
        case SampleType::INT8: return 1;
        case SampleType::UINT16:
        case SampleType::INT16: return 2;
        case SampleType::UINT32:
        case SampleType::INT32:
        case SampleType::FLOAT32: return 4;
        case SampleType::INT64:
        case SampleType::FLOAT64:
        case SampleType::COMPLEX_FLOAT32: return 8;
        case SampleType::COMPLEX_FLOAT64: return 16;
    }
    return 0;
}

std::size_t getSampleCount(ElementLayout layout) noexcept {
    switch (layout) {
        case ElementLayout::SCALAR: return 1;
        case ElementLayout::VECTOR_2: return 2;
        case ElementLayout::VECTOR_3:
        case ElementLayout::SYMMETRIC_MATRIX_2: return 3;
        case ElementLayout::SYMMETRIC_MATRIX_3: return 6;
    }
    return 0;
}

}  // namespace vessel
