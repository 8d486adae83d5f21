#include "Element.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/image/ImageHeader.h>

namespace rix::morphology {

namespace {

/// Of lengths that are compared with a radius.
constexpr double tolerance = 1e-12;

/// Chords of what holds `isInside(offset)`, whose rows are symmetrical and without gaps.
template <class IsInside>
std::vector<Chord> symmetricalChords(const std::array<double, 3>& radii, const IsInside& isInside) {
    Offset most{};
    for (std::size_t axis = 0; axis < most.size(); ++axis) {
        most[axis] = static_cast<std::int64_t>(std::floor(radii[axis] * (1 + tolerance)));
    }
    std::vector<Chord> chords;
    for (std::int64_t z = -most[2]; z <= most[2]; ++z) {
        for (std::int64_t y = -most[1]; y <= most[1]; ++y) {
            std::int64_t x = most[0];
            while (x >= 0 && !isInside(Offset{x, y, z})) {
                --x;
            }
            if (x >= 0) {
                chords.push_back({{-x, y, z}, 2 * x + 1});
            }
        }
    }
    return chords;
}

/// The share of a radius that an offset is along an axis; the axis of radius 0 has one offset only.
double shareOf(std::int64_t offset, double radius) {
    return offset == 0 ? 0.0 : static_cast<double>(offset) / radius;
}

/// a / b, to nearest, halves towards 0; b > 0.
std::int64_t dividedTowardsZero(std::int64_t a, std::int64_t b) {
    const std::int64_t magnitude = (2 * std::abs(a) + b - 1) / (2 * b);
    return a < 0 ? -magnitude : magnitude;
}

}  // namespace

void Element::takeBounds() {
    if (m_chords.empty()) {
        return;
    }
    m_lowest = m_chords.front().first;
    m_highest = m_lowest;
    for (const Chord& chord : m_chords) {
        for (std::size_t axis = 0; axis < m_lowest.size(); ++axis) {
            const std::int64_t last = chord.first[axis] + (axis == 0 ? chord.length - 1 : 0);
            m_lowest[axis] = std::min(m_lowest[axis], chord.first[axis]);
            m_highest[axis] = std::max(m_highest[axis], last);
        }
    }
}

Element Element::ofBox(const Offset& extents) {
    Element element;
    element.m_isBox = true;
    for (std::size_t axis = 0; axis < extents.size(); ++axis) {
        element.m_lowest[axis] = -(extents[axis] / 2);
        element.m_highest[axis] = extents[axis] - 1 - extents[axis] / 2;
    }
    return element;
}

Element Element::ofBall(const std::array<double, 3>& radii, std::size_t axes) {
    Element element;
    element.m_chords = symmetricalChords(radii, [&](const Offset& at) {
        double sum = 0;
        for (std::size_t axis = 0; axis < axes; ++axis) {
            const double share = shareOf(at[axis], radii[axis]);
            sum += share * share;
        }
        return sum <= 1 + tolerance;
    });
    element.takeBounds();
    return element;
}

Element Element::ofOctahedron(const std::array<double, 3>& radii, std::size_t axes) {
    Element element;
    element.m_chords = symmetricalChords(radii, [&](const Offset& at) {
        double sum = 0;
        for (std::size_t axis = 0; axis < axes; ++axis) {
            sum += std::fabs(shareOf(at[axis], radii[axis]));
        }
        return sum <= 1 + tolerance;
    });
    element.takeBounds();
    return element;
}

Element Element::ofLine(const Offset& end) {
    const std::int64_t steps = std::max({std::abs(end[0]), std::abs(end[1]), std::abs(end[2])});
    std::vector<Offset> voxels;
    for (std::int64_t i = 0; i <= steps; ++i) {
        const auto along = [&](std::int64_t offset) { return steps == 0 ? 0 : dividedTowardsZero(i * offset, steps); };
        voxels.push_back({along(end[0]), along(end[1]), along(end[2])});
    }
    std::sort(voxels.begin(), voxels.end(), [](const Offset& a, const Offset& b) {
        return std::array{a[2], a[1], a[0]} < std::array{b[2], b[1], b[0]};
    });
    Element element;
    for (const Offset& at : voxels) {
        if (!element.m_chords.empty()) {
            Chord& last = element.m_chords.back();
            if (last.first[1] == at[1] && last.first[2] == at[2] && last.first[0] + last.length == at[0]) {
                ++last.length;
                continue;
            }
        }
        element.m_chords.push_back({at, 1});
    }
    element.takeBounds();
    return element;
}

Element Element::ofImage(const ImageModel& image) {
    const auto extents = helper::getExtents(image);
    if (dynamic_cast<const HeaderImage*>(&image) != nullptr) {
        const auto length = [&](std::size_t axis) { return static_cast<std::int64_t>(extents[axis]); };
        return ofBox({length(COLUMNS), length(ROWS), length(PLANS)});
    }
    Element element;
    const auto origin = [&](std::size_t axis) { return static_cast<std::int64_t>(extents[axis] / 2); };
    access::RowReader<double> reader(image);
    access::Looks looks;
    for (std::size_t plane = 0; plane < extents[PLANS]; ++plane) {
        for (std::size_t row = 0; row < extents[ROWS]; ++row) {
            looks.add(extents[COLUMNS]);
            const double* const samples = reader.read({{0, row, plane, 0, 0}, extents[COLUMNS]});
            for (std::size_t column = 0; column < extents[COLUMNS]; ++column) {
                if (samples[column] == 0) {
                    continue;
                }
                if (column > 0 && samples[column - 1] != 0) {
                    ++element.m_chords.back().length;
                    continue;
                }
                element.m_chords.push_back(
                    {{static_cast<std::int64_t>(column) - origin(COLUMNS),
                      static_cast<std::int64_t>(row) - origin(ROWS), static_cast<std::int64_t>(plane) - origin(PLANS)},
                     1});
            }
        }
    }
    element.takeBounds();
    return element;
}

bool Element::isIn(const ImageModel& image) {
    if (dynamic_cast<const HeaderImage*>(&image) != nullptr) {
        return true;
    }
    const auto extents = helper::getExtents(image);
    access::RowReader<double> reader(image);
    for (std::size_t plane = 0; plane < extents[PLANS]; ++plane) {
        for (std::size_t row = 0; row < extents[ROWS]; ++row) {
            const double* const samples = reader.read({{0, row, plane, 0, 0}, extents[COLUMNS]});
            if (std::any_of(samples, samples + extents[COLUMNS], [](double sample) { return sample != 0; })) {
                return true;
            }
        }
    }
    return false;
}

Element Element::reflected() const {
    Element element = *this;
    for (Chord& chord : element.m_chords) {
        chord.first = {1 - chord.first[0] - chord.length, -chord.first[1], -chord.first[2]};
    }
    for (std::size_t axis = 0; axis < m_lowest.size(); ++axis) {
        element.m_lowest[axis] = -m_highest[axis];
        element.m_highest[axis] = -m_lowest[axis];
    }
    return element;
}

Element Element::within(const ImageModel& image) const {
    const auto extents = helper::getExtents(image);
    Offset farthest{};
    for (std::size_t axis = 0; axis < farthest.size(); ++axis) {
        farthest[axis] = static_cast<std::int64_t>(extents[axis]) - 1;
    }
    Element seen = *this;
    if (m_isBox) {
        for (std::size_t axis = 0; axis < farthest.size(); ++axis) {
            seen.m_lowest[axis] = std::max(m_lowest[axis], -farthest[axis]);
            seen.m_highest[axis] = std::min(m_highest[axis], farthest[axis]);
            if (seen.m_lowest[axis] > seen.m_highest[axis]) {
                return *this;
            }
        }
        return seen;
    }
    seen.m_chords.clear();
    for (const Chord& chord : m_chords) {
        const std::int64_t begin = std::max(chord.first[0], -farthest[0]);
        const std::int64_t end = std::min(chord.first[0] + chord.length, farthest[0] + 1);
        if (begin < end && std::abs(chord.first[1]) <= farthest[1] && std::abs(chord.first[2]) <= farthest[2]) {
            seen.m_chords.push_back({{begin, chord.first[1], chord.first[2]}, end - begin});
        }
    }
    if (seen.m_chords.empty()) {
        return *this;
    }
    seen.takeBounds();
    return seen;
}

std::vector<Chord> Element::chords() const {
    if (!m_isBox) {
        return m_chords;
    }
    std::vector<Chord> chords;
    for (std::int64_t z = m_lowest[2]; z <= m_highest[2]; ++z) {
        for (std::int64_t y = m_lowest[1]; y <= m_highest[1]; ++y) {
            chords.push_back({{m_lowest[0], y, z}, m_highest[0] - m_lowest[0] + 1});
        }
    }
    return chords;
}

std::size_t Element::chordCount() const {
    return m_isBox ? 0 : m_chords.size();
}

std::int64_t Element::longestChord() const {
    std::int64_t longest = 1;
    for (const Chord& chord : m_chords) {
        longest = std::max(longest, chord.length);
    }
    return longest;
}

access::Reach Element::reach() const {
    const auto axis = [&](std::size_t i) {
        return access::Reach::Axis{static_cast<std::size_t>(std::max<std::int64_t>(-m_lowest[i], 0)),
                                   static_cast<std::size_t>(std::max<std::int64_t>(m_highest[i], 0))};
    };
    return {axis(0), axis(1), axis(2)};
}

}  // namespace rix::morphology
