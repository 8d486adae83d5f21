#include "ImageComparison.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <iomanip>
#include <limits>
#include <sstream>
#include <vector>

#include <rix/access/VoxelTypeLists.h>

#include "ImageFactories.h"

namespace rix::test {

namespace {

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

/// What differs in the samples, in words; empty when nothing does.
template <class T>
String compareSamples(const ImageModel& expected, const ImageModel& actual, const ComparisonOptions& options) {
    const Extents n = helper::getExtents(expected);
    const std::size_t samples = helper::getElementNumber(expected.getElementType());
    std::vector<T> a(n[COLUMNS] * samples);
    std::vector<T> b(a.size());
    std::size_t compared = 0;
    std::size_t different = 0;
    double largest = 0.0;
    std::ostringstream first;
    const bool areRead = forEachRow(expected, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
        for (std::size_t i = 0; i < a.size(); ++i, ++compared) {
            if (i == 0 && !(expected.readRowAt(n[COLUMNS], reinterpret_cast<RawData>(a.data()), 0, y, z, t, s) &&
                            actual.readRowAt(n[COLUMNS], reinterpret_cast<RawData>(b.data()), 0, y, z, t, s))) {
                return false;
            }
            if (accepted(a[i], b[i], options)) {
                continue;
            }
            largest = std::fmax(largest, distance(a[i], b[i]));
            if (different++ == 0) {
                first << "column " << i / samples << ", row " << y << ", plane " << z << ", sequence " << t
                      << ", spectral " << s << (samples > 1 ? ", sample " + std::to_string(i % samples) : String())
                      << ": expected " << textOf(a[i]) << ", got " << textOf(b[i]);
            }
        }
        return true;
    });
    return !areRead         ? "a row can't be read\n"
           : different == 0 ? String()
                            : std::to_string(different) + " of " + std::to_string(compared) +
                                  " samples differ by up to " + textOf(largest) + "\n  first at " + first.str() + "\n";
}

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
            differences += compareSamples<typename decltype(tag)::type>(expected, actual, options);
        });
    }
    if (differences.empty()) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "the images differ\n" << differences;
}

}  // namespace rix::test
