#include <rix/rendering/Rows.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <type_traits>

#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>

namespace rix::rendering {
namespace {

std::size_t product(std::size_t a, std::size_t b) {
    std::size_t result = 0;
    if (!helper::checkedMultiply(a, b, result)) {
        throw MemoryError("a row of the image is too long for memory");
    }
    return result;
}

template <class T>
std::uint32_t toLabel(T sample) {
    if constexpr (access::isComplex<T>) {
        return toLabel(sample.real());
    } else if constexpr (std::is_floating_point_v<T>) {
        constexpr T limit = T(9.0e18);  // what a signed 64-bit integer surely holds
        return std::abs(sample) < limit ? static_cast<std::uint32_t>(std::llround(sample)) : 0;
    } else {
        return static_cast<std::uint32_t>(sample);
    }
}

}  // namespace

RowReader::RowReader(const ImageModel& image, helper::InterruptPoint interrupt)
    : m_image(image),
      m_interrupt(interrupt),
      m_samples(product(image.getNumOf(COLUMNS), helper::getElementNumber(image.getElementType()))) {}

ConstRawData RowReader::read(const RowPosition& position) {
    const auto columns = m_image.getNumOf(COLUMNS);
    m_interrupt.pass(m_samples * sizeof(double));
    ConstRawData row = nullptr;
    if (m_image.getConstRowAt(columns, row, 0, position.row, position.plane, position.frame, position.channel)) {
        return row;
    }
    m_bytes.resize(product(columns, helper::getElementSize(m_image)));
    if (!m_image.readRowAt(columns, m_bytes.data(), 0, position.row, position.plane, position.frame,
                           position.channel)) {
        throw RuntimeError("row " + std::to_string(position.row) + " of the image can't be read");
    }
    return m_bytes.data();
}

const std::vector<double>& RowReader::readReals(const RowPosition& position) {
    m_reals.resize(m_samples);
    const ConstRawData row = read(position);
    access::dispatch(access::AllTypes{}, m_image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto* samples = reinterpret_cast<const T*>(row);
        std::transform(samples, samples + m_samples, m_reals.begin(), [](const T& sample) {
            if constexpr (access::isComplex<T>) {
                return std::abs(std::complex<double>(sample));
            } else {
                return static_cast<double>(sample);
            }
        });
    });
    return m_reals;
}

const std::vector<std::uint32_t>& RowReader::readLabels(const RowPosition& position) {
    m_labels.resize(m_samples);
    const ConstRawData row = read(position);
    access::dispatch(access::AllTypes{}, m_image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto* samples = reinterpret_cast<const T*>(row);
        std::transform(samples, samples + m_samples, m_labels.begin(), toLabel<T>);
    });
    return m_labels;
}

}  // namespace rix::rendering
