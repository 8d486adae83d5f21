#include <rix/access/BorderConditions.h>

#include <algorithm>

#include "Access/BorderRows.h"

namespace rix::access {

using borders::OuterCoordinates;
using borders::Parts;
using borders::Source;

namespace {

/// Fills with copies of one element, which may be the first of those filled.
template <class T>
void repeatElement(const T* element, T* out, std::int64_t count, std::size_t samples) {
    if (samples == 1) {
        std::fill_n(out, count, *element);
        return;
    }
    for (std::int64_t i = 0; i < count; ++i, out += samples) {
        if (out != element) {
            std::copy_n(element, samples, out);
        }
    }
}

template <class Policy>
std::shared_ptr<Policy> sharedInstance() {
    static const std::shared_ptr<Policy> instance = std::make_shared<Policy>();
    return instance;
}

template <class T>
std::int64_t elementCount(const Source& source, const T* begin, const T* end) {
    return (end - begin) / static_cast<std::int64_t>(source.samples);
}

}  // namespace

template <class T>
std::shared_ptr<NoBorderCondition<T>> NoBorderCondition<T>::New() {
    return sharedInstance<NoBorderCondition>();
}

template <class T>
void NoBorderCondition<T>::getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row,
                                   std::int64_t plane, std::int64_t sequence, std::int64_t spectral) const {
    const Source source = borders::checkedSource(image, begin, end);
    const std::int64_t count = elementCount(source, begin, end);
    if (count == 0) {
        return;
    }
    const OuterCoordinates outer{row, plane, sequence, spectral};
    const bool isInsideTheImage =
        borders::isInside(source, outer) && borders::partsOf(column, count, source.columns()).inside == count;
    RIX_ASSERT(isInsideTheImage);
    if (!isInsideTheImage) {
        throw BadIndex("A row that leaves image " + helper::describeImage(image) +
                       " was read without a border: " + std::to_string(count) + " elements at column " +
                       std::to_string(column) + ", row " + std::to_string(row) + ", plane " + std::to_string(plane) +
                       ", sequence " + std::to_string(sequence) + ", spectral " + std::to_string(spectral) + ".");
    }
    borders::readInside(source, begin, column, count, outer);
}

template <class T>
std::shared_ptr<FixedBorderCondition<T>> FixedBorderCondition<T>::New(T value) {
    return std::make_shared<FixedBorderCondition>(value);
}

template <class T>
void FixedBorderCondition<T>::getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row,
                                      std::int64_t plane, std::int64_t sequence, std::int64_t spectral) const {
    const Source source = borders::checkedSource(image, begin, end);
    const OuterCoordinates outer{row, plane, sequence, spectral};
    if (!borders::isInside(source, outer)) {
        std::fill(begin, end, m_value);
        return;
    }
    const Parts parts = borders::partsOf(column, elementCount(source, begin, end), source.columns());
    const auto samples = static_cast<std::int64_t>(source.samples);
    T* const inside = std::fill_n(begin, parts.left * samples, m_value);
    borders::readInside(source, inside, parts.firstInside, parts.inside, outer);
    std::fill(inside + parts.inside * samples, end, m_value);
}

template <class T>
std::shared_ptr<MirrorBorderCondition<T>> MirrorBorderCondition<T>::New() {
    return sharedInstance<MirrorBorderCondition>();
}

template <class T>
void MirrorBorderCondition<T>::getData(const ImageModel& image, T* begin, T* end, std::int64_t column, std::int64_t row,
                                       std::int64_t plane, std::int64_t sequence, std::int64_t spectral) const {
    const Source source = borders::checkedSource(image, begin, end);
    borders::checkHasElements(source);
    borders::readMirroredRow(source, begin, column, elementCount(source, begin, end),
                             borders::mirrored(source, {row, plane, sequence, spectral}));
}

template <class T>
std::shared_ptr<ContinueBorderCondition<T>> ContinueBorderCondition<T>::New() {
    return sharedInstance<ContinueBorderCondition>();
}

template <class T>
void ContinueBorderCondition<T>::getData(const ImageModel& image, T* begin, T* end, std::int64_t column,
                                         std::int64_t row, std::int64_t plane, std::int64_t sequence,
                                         std::int64_t spectral) const {
    const Source source = borders::checkedSource(image, begin, end);
    borders::checkHasElements(source);
    if (begin == end) {
        return;
    }
    OuterCoordinates outer{row, plane, sequence, spectral};
    for (std::size_t i = 0; i < outer.size(); ++i) {
        outer[i] = std::clamp<std::int64_t>(outer[i], 0, source.outerExtent(i) - 1);
    }
    const Parts parts = borders::partsOf(column, elementCount(source, begin, end), source.columns());
    const auto samples = static_cast<std::int64_t>(source.samples);
    if (parts.inside == 0) {
        borders::readInside(source, begin, parts.left > 0 ? 0 : source.columns() - 1, 1, outer);
        repeatElement(begin, begin, parts.left + parts.right, source.samples);
        return;
    }
    T* const inside = begin + parts.left * samples;
    T* const right = inside + parts.inside * samples;
    borders::readInside(source, inside, parts.firstInside, parts.inside, outer);
    repeatElement(inside, begin, parts.left, source.samples);
    repeatElement(right - samples, right, parts.right, source.samples);
}

#define RIX_COMPILE_CONDITIONS(T)            \
    template class NoBorderCondition<T>;     \
    template class FixedBorderCondition<T>;  \
    template class MirrorBorderCondition<T>; \
    template class ContinueBorderCondition<T>;
RIX_COMPILE_CONDITIONS(std::uint8_t)
RIX_COMPILE_CONDITIONS(std::uint16_t)
RIX_COMPILE_CONDITIONS(std::uint32_t)
RIX_COMPILE_CONDITIONS(std::int8_t)
RIX_COMPILE_CONDITIONS(std::int16_t)
RIX_COMPILE_CONDITIONS(std::int32_t)
RIX_COMPILE_CONDITIONS(float)
RIX_COMPILE_CONDITIONS(double)
RIX_COMPILE_CONDITIONS(std::complex<float>)
RIX_COMPILE_CONDITIONS(std::complex<double>)

}  // namespace rix::access
