#include <rix/individual_analysis/MeasureResults.h>

#include <rix/access/Looks.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageTypes.h>

namespace rix::individual_analysis {

void MeasureResults::initialize(const std::vector<std::size_t>& labelsPerSequencePlane, std::size_t numSpectralPlanes,
                                std::size_t arraySize) {
    std::vector<std::size_t> first{0};
    for (const std::size_t labels : labelsPerSequencePlane) {
        first.push_back(first.back() + labels);
    }
    const std::size_t spectral = m_use == SpectralUse::Shared ? 1 : numSpectralPlanes;
    std::size_t count = 0;
    if (!helper::checkedMultiply(first.back(), spectral, count) || !helper::checkedMultiply(count, arraySize, count)) {
        throw MemoryError("The results of a measure have more values than 64 bits can count.");
    }
    m_values.clear();
    access::resizeWithLooks(m_values, count, 0.0);
    m_first = std::move(first);
    m_spectral = spectral;
    m_arraySize = arraySize;
}

}  // namespace rix::individual_analysis
