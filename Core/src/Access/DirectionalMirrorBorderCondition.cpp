#include <rix/access/BorderConditions.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "Access/BorderRows.h"

namespace rix::access {

using borders::OuterCoordinates;
using borders::Parts;
using borders::Source;

namespace {

/// How far a coordinate lies outside an axis: 0 inside, else the signed distance from the edge element.
std::int64_t distanceOutside(std::int64_t c, std::int64_t n) {
    return c < 0 ? c : std::max<std::int64_t>(c - (n - 1), 0);
}

/// To the nearest integer, halves toward 0. The tolerance makes a half of what the angle's sine missed by a hair; the
/// bounds keep coordinates at the ends of the range defined, and they are far outside of any image.
std::int64_t roundedTowardEdge(double value) {
    constexpr double tolerance = 1e-6;
    constexpr double bound = 0x1p61;
    return static_cast<std::int64_t>(
        std::copysign(std::ceil(std::min(std::abs(value), bound) - 0.5 - tolerance), value));
}

struct Offset {
    std::int64_t column;
    std::int64_t row;
};

/// Where the reflection of an element lies, seen from the edge element nearest to it. At least one distance isn't 0.
Offset reflected(std::int64_t columnDistance, std::int64_t rowDistance, double cosine, double sine) {
    const auto half = [](std::int64_t distance) { return distance < 0 ? -0.5 : distance > 0 ? 0.5 : 0.0; };
    const double x = static_cast<double>(columnDistance) - half(columnDistance);
    const double y = static_cast<double>(rowDistance) - half(rowDistance);
    return {roundedTowardEdge(half(columnDistance) + cosine * x + sine * y),
            roundedTowardEdge(half(rowDistance) + sine * x - cosine * y)};
}

}  // namespace

template <class T>
DirectionalMirrorBorderCondition<T>::DirectionalMirrorBorderCondition(double angle)
    : m_angle(angle), m_cosine(std::cos(2 * angle)), m_sine(std::sin(2 * angle)) {
    if (!std::isfinite(angle)) {
        throw InvalidCall("The angle of a directional mirror must be a finite number of radians, not " +
                          std::to_string(angle) + ".");
    }
    // Right and half right angles exactly, so that no distance is too long for them.
    constexpr double negligible = 1e-12;
    if (std::abs(m_sine) < negligible) {
        m_sine = 0.0;
        m_cosine = std::copysign(1.0, m_cosine);
    } else if (std::abs(m_cosine) < negligible) {
        m_cosine = 0.0;
        m_sine = std::copysign(1.0, m_sine);
    }
}

template <class T>
std::shared_ptr<DirectionalMirrorBorderCondition<T>> DirectionalMirrorBorderCondition<T>::New(double angle) {
    return std::make_shared<DirectionalMirrorBorderCondition>(angle);
}

template <class T>
void DirectionalMirrorBorderCondition<T>::getData(const ImageModel& image, T* begin, T* end, std::int64_t column,
                                                  std::int64_t row, std::int64_t plane, std::int64_t sequence,
                                                  std::int64_t spectral) const {
    const Source source = borders::checkedSource(image, begin, end);
    borders::checkHasElements(source);
    const auto samples = static_cast<std::int64_t>(source.samples);
    const std::int64_t rows = source.outerExtent(0);
    const Parts parts = borders::partsOf(column, (end - begin) / samples, source.columns());
    const std::int64_t rowDistance = distanceOutside(row, rows);
    const std::int64_t edgeRow = std::clamp<std::int64_t>(row, 0, rows - 1);
    OuterCoordinates outer = borders::mirrored(source, {edgeRow, plane, sequence, spectral});

    // Left and right of the image each element has a row of its own.
    const auto readElements = [&](T* out, std::int64_t first, std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i, out += samples) {
            const std::int64_t distance = distanceOutside(first + i, source.columns());
            const Offset offset = reflected(distance, rowDistance, m_cosine, m_sine);
            const std::int64_t edgeColumn = distance < 0 ? 0 : source.columns() - 1;
            OuterCoordinates position = outer;
            position[0] = computeCoord(edgeRow + offset.row, rows);
            borders::readInside(source, out, computeCoord(edgeColumn + offset.column, source.columns()), 1, position);
        }
    };
    T* const inside = begin + parts.left * samples;
    readElements(begin, column, parts.left);
    readElements(inside + parts.inside * samples, column + (parts.left + parts.inside), parts.right);
    if (rowDistance == 0) {
        borders::readInside(source, inside, parts.firstInside, parts.inside, outer);
    } else if (parts.inside > 0) {
        const Offset offset = reflected(0, rowDistance, m_cosine, m_sine);
        outer[0] = computeCoord(edgeRow + offset.row, rows);
        borders::readMirroredRow(source, inside, parts.firstInside + offset.column, parts.inside, outer);
    }
}

template class DirectionalMirrorBorderCondition<std::uint8_t>;
template class DirectionalMirrorBorderCondition<std::uint16_t>;
template class DirectionalMirrorBorderCondition<std::uint32_t>;
template class DirectionalMirrorBorderCondition<std::int8_t>;
template class DirectionalMirrorBorderCondition<std::int16_t>;
template class DirectionalMirrorBorderCondition<std::int32_t>;
template class DirectionalMirrorBorderCondition<float>;
template class DirectionalMirrorBorderCondition<double>;
template class DirectionalMirrorBorderCondition<std::complex<float>>;
template class DirectionalMirrorBorderCondition<std::complex<double>>;

}  // namespace rix::access
