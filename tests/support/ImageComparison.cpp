#include "ImageComparison.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <iomanip>
#include <limits>
#include <optional>
#include <sstream>
#include <vector>

#include <rix/access/VoxelTypeLists.h>

#include "ImageFactories.h"

namespace rix::test {

namespace {

using Position = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

template <class T>
String textOf(T value) {
    std::ostringstream text;
    if constexpr (access::isComplex<T>) {
        text << '(' << textOf(value.real()) << ", " << textOf(value.imag()) << ')';
    } else if constexpr (std::is_floating_point_v<T>) {
        text << std::setprecision(std::numeric_limits<T>::max_digits10) << value;
    } else {
        text << +value;
    }
    return text.str();
}

String textOf(const vessel::SpatialDirections& directions) {
    std::ostringstream text;
    for (const vessel::Vector3d& d : {directions.columnDirection, directions.rowDirection, directions.sliceDirection}) {
        text << '(' << textOf(d[0]) << ", " << textOf(d[1]) << ", " << textOf(d[2]) << ')';
    }
    return text.str();
}

/// Number of representable values between two numbers; -0 and 0 are one apart.
template <class T>
std::uint64_t unitsBetween(T a, T b) {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    const auto ordered = [](T value) {
        constexpr Bits sign = Bits{1} << (8 * sizeof(Bits) - 1);
        const Bits bits = std::bit_cast<Bits>(value);
        return static_cast<std::uint64_t>((bits & sign) != 0 ? static_cast<Bits>(~bits)
                                                             : static_cast<Bits>(bits | sign));
    };
    return ordered(a) > ordered(b) ? ordered(a) - ordered(b) : ordered(b) - ordered(a);
}

template <class T>
bool accepted(T expected, T actual, const ComparisonOptions& options) {
    if constexpr (access::isComplex<T>) {
        return accepted(expected.real(), actual.real(), options) && accepted(expected.imag(), actual.imag(), options);
    } else if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(expected) || std::isnan(actual)) {
            return std::isnan(expected) && std::isnan(actual);
        }
        if (unitsBetween(expected, actual) <= options.unitsInTheLastPlace) {
            return true;
        }
        // The difference of infinities is no number, and 0 accepts -0 only when a tolerance was asked for.
        return options.absoluteTolerance > 0.0 &&
               std::abs(static_cast<double>(expected) - static_cast<double>(actual)) <= options.absoluteTolerance;
    } else {
        return expected == actual;
    }
}

template <class T>
double distance(T expected, T actual) {
    if constexpr (access::isComplex<T>) {
        return std::max(distance(expected.real(), actual.real()), distance(expected.imag(), actual.imag()));
    } else {
        return std::abs(static_cast<double>(expected) - static_cast<double>(actual));
    }
}

template <class T>
class SampleComparison {
public:
    SampleComparison(const ImageModel& expected, const ImageModel& actual, const ComparisonOptions& options)
        : m_expected(expected),
          m_actual(actual),
          m_options(options),
          m_extents(helper::getExtents(expected)),
          m_samplesAnElement(helper::getElementNumber(expected.getElementType())),
          m_rowOfExpected(m_extents[COLUMNS] * m_samplesAnElement),
          m_rowOfActual(m_rowOfExpected.size()) {}

    /// What differs, in words; empty when nothing does.
    String run() {
        String failure;
        forEachRow(m_expected, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
            const Position p{0, y, z, t, s};
            if (!readRows(p)) {
                failure = "a row can't be read at " + describe(p) + "\n";
                return false;
            }
            compareRows(p);
            return true;
        });
        if (!failure.empty()) {
            return failure;
        }
        return m_first ? describeDifferences() : String();
    }

private:
    bool readRows(const Position& p) {
        const auto read = [&](const ImageModel& image, std::vector<T>& row) {
            return image.readRowAt(m_extents[COLUMNS], reinterpret_cast<RawData>(row.data()), 0, p[ROWS], p[PLANS],
                                   p[SEQUENCE], p[SPECTRAL_SERIES]);
        };
        return read(m_expected, m_rowOfExpected) && read(m_actual, m_rowOfActual);
    }

    void compareRows(const Position& p) {
        for (std::size_t i = 0; i < m_rowOfExpected.size(); ++i) {
            ++m_compared;
            const T expected = m_rowOfExpected[i];
            const T actual = m_rowOfActual[i];
            if (accepted(expected, actual, m_options)) {
                continue;
            }
            ++m_different;
            Position position = p;
            position[COLUMNS] = i / m_samplesAnElement;
            if (!m_first) {
                m_first = position;
                m_firstText = describe(position, i % m_samplesAnElement) + ": expected " + textOf(expected) + ", got " +
                              textOf(actual);
            }
            // Written so that a difference that is no number, as that of an infinity, counts as the largest.
            if (const double d = distance(expected, actual); !(d <= m_largest)) {
                m_largest = std::isnan(d) ? std::numeric_limits<double>::infinity() : d;
                m_largestText = describe(position, i % m_samplesAnElement) + ": expected " + textOf(expected) +
                                ", got " + textOf(actual);
            }
        }
    }

    String describe(const Position& p, std::size_t sample = 0) const {
        std::ostringstream text;
        text << "column " << p[COLUMNS] << ", row " << p[ROWS] << ", plane " << p[PLANS] << ", sequence " << p[SEQUENCE]
             << ", spectral " << p[SPECTRAL_SERIES];
        if (m_samplesAnElement > 1) {
            text << ", sample " << sample;
        }
        return text.str();
    }

    String describeDifferences() {
        std::ostringstream text;
        text << m_different << " of " << m_compared << " samples differ\n"
             << "  first at " << m_firstText << "\n"
             << "  largest difference " << textOf(m_largest) << " at " << m_largestText << "\n";
        return text.str();
    }

    const ImageModel& m_expected;
    const ImageModel& m_actual;
    const ComparisonOptions& m_options;
    const Position m_extents;
    const std::size_t m_samplesAnElement;
    std::vector<T> m_rowOfExpected;
    std::vector<T> m_rowOfActual;
    std::size_t m_compared = 0;
    std::size_t m_different = 0;
    std::optional<Position> m_first;
    String m_firstText;
    double m_largest = -1.0;
    String m_largestText;
};

/// Collects the differences of two headers, one a line.
class HeaderComparison {
public:
    template <class T>
    void compare(const String& what, const T& expected, const T& actual) {
        if (!(expected == actual)) {
            m_text << what << ": expected " << show(expected) << ", got " << show(actual) << '\n';
        }
    }
    String text() const { return m_text.str(); }

private:
    static String show(const String& value) { return '"' + value + '"'; }
    template <class T>
    static String show(const T& value) {
        return textOf(value);
    }

    std::ostringstream m_text;
};

void compareShapes(const ImageModel& expected, const ImageModel& actual, HeaderComparison& header) {
    for (int i = RIX_COMPONENTS_FIRST; i < RIX_COMPONENTS_SIZE; ++i) {
        const auto axis = static_cast<Components>(i);
        header.compare("extent of " + helper::componentToString(axis), expected.getNumOf(axis), actual.getNumOf(axis));
    }
    header.compare("voxel type", helper::voxelTypesToString(expected.getVoxelType()),
                   helper::voxelTypesToString(actual.getVoxelType()));
    header.compare("element type", helper::elementTypesToString(expected.getElementType()),
                   helper::elementTypesToString(actual.getElementType()));
}

void compareMeanings(const ImageModel& expected, const ImageModel& actual, HeaderComparison& header) {
    header.compare("interpretation", helper::interpretationsToString(expected.getInterpretation()),
                   helper::interpretationsToString(actual.getInterpretation()));
    header.compare("scope of labels", helper::labelScopeToString(helper::getLabelScope(expected)),
                   helper::labelScopeToString(helper::getLabelScope(actual)));
    header.compare("colour interpretation", helper::colorInterpretationToString(expected.getColorInterpretation()),
                   helper::colorInterpretationToString(actual.getColorInterpretation()));
    for (int i = RIX_COMPONENTS_FIRST; i < RIX_COMPONENTS_SIZE; ++i) {
        const auto axis = static_cast<Components>(i);
        const String name = helper::componentToString(axis);
        header.compare("origin of " + name, expected.getOriginOf(axis), actual.getOriginOf(axis));
        header.compare("spacing of " + name, expected.getSpacingOf(axis), actual.getSpacingOf(axis));
    }
    header.compare("spatial unit", expected.getSpatialUnitName(), actual.getSpatialUnitName());
    header.compare("sequence unit", expected.getSequenceUnitName(), actual.getSequenceUnitName());
    header.compare("spatial directions", expected.getSpatialDirections(), actual.getSpatialDirections());
}

}  // namespace

::testing::AssertionResult imagesEqual(const ImageModel& expected, const ImageModel& actual,
                                       const ComparisonOptions& options) {
    HeaderComparison header;
    compareShapes(expected, actual, header);
    const bool comparable = header.text().empty();
    if (options.headers == ComparisonOptions::Headers::Everything) {
        compareMeanings(expected, actual, header);
    }
    String differences = header.text();
    if (comparable) {
        access::dispatch(access::AllTypes{}, expected.getVoxelType(), [&](auto tag) {
            differences += SampleComparison<typename decltype(tag)::type>(expected, actual, options).run();
        });
    }
    if (differences.empty()) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "the images differ\n" << differences;
}

}  // namespace rix::test
