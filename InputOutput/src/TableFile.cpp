#include <rix/io/TableFile.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include <rix/exceptions/Exception.h>
#include <rix/io/TextFile.h>
#include <rix/measurement/TableText.h>

#include "OutputFile.h"

namespace rix::io {

namespace {

static_assert(std::endian::native == std::endian::little, "STL and PLY files are written as memory holds numbers");

using Table = vessel::DataFrameView;

/// Bytes that go to a file in large pieces.
class ByteSink {
public:
    explicit ByteSink(OutputFile& file) : m_file(file) { m_bytes.reserve(size); }

    void text(std::string_view text) { bytes(text.data(), text.size()); }
    template <class T>
    void number(T value) {
        bytes(&value, sizeof(value));
    }
    /// With a decimal point, and the fewest digits that read back as the same number.
    void digits(double value) {
        std::array<char, 32> digits{};
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
        bytes(digits.data(), static_cast<std::size_t>(end.ptr - digits.data()));
    }
    void flush() {
        if (!m_file.writeAt(m_written, m_bytes.data(), m_bytes.size())) {
            throw WritingError(m_file.failure());
        }
        m_written += m_bytes.size();
        m_bytes.clear();
    }

private:
    static constexpr std::size_t size = std::size_t{1} << 20;

    void bytes(const void* from, std::size_t count) {
        if (m_bytes.size() + count > size) {
            flush();
        }
        m_bytes.append(static_cast<const char*>(from), count);
    }

    OutputFile& m_file;
    std::string m_bytes;
    std::uint64_t m_written = 0;
};

[[noreturn]] void refuse(const char* what, const char* format) {
    throw WritingError(String("The table has no ") + what + ", which a " + format +
                       " file holds; .csv and .json hold any table.");
}

std::span<const double> realsOf(const Table& table, std::string_view name, const char* what, const char* format) {
    const auto column = table.findColumn(name);
    if (!column.has_value() || table.getColumnType(*column) != vessel::ColumnType::REAL) {
        refuse(what, format);
    }
    return table.getReals(*column);
}

std::span<const std::int64_t> integersOf(const Table& table, std::string_view name, const char* what,
                                         const char* format) {
    const auto column = table.findColumn(name);
    if (!column.has_value() || table.getColumnType(*column) != vessel::ColumnType::INTEGER) {
        refuse(what, format);
    }
    return table.getIntegers(*column);
}

/// The coordinates of the three corners of triangles.
using Corners = std::array<std::array<std::span<const double>, 3>, 3>;

Corners cornersOf(const Table& table, const char* format) {
    Corners corners;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::string name{static_cast<char>('X' + axis), static_cast<char>('1' + i)};
            corners[i][axis] = realsOf(table, name, "triangles (columns X1 to Z3)", format);
        }
    }
    return corners;
}

void assertCounted(std::size_t count, const char* what, const char* format) {
    if (count > std::numeric_limits<std::int32_t>::max()) {
        throw WritingError(String("There are more ") + what + " than a " + format + " file can count.");
    }
}

void writeStl(const Table& table, ByteSink& sink) {
    const Corners corners = cornersOf(table, "STL");
    assertCounted(table.getRowCount(), "triangles", "STL");
    std::string heading = "binary STL";
    heading.resize(80, ' ');
    sink.text(heading);
    sink.number(static_cast<std::uint32_t>(table.getRowCount()));
    for (std::size_t row = 0; row < table.getRowCount(); ++row) {
        const auto side = [&](std::size_t to, std::size_t axis) {
            return corners[to][axis][row] - corners[0][axis][row];
        };
        std::array<double, 3> normal{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t next = (axis + 1) % 3;
            const std::size_t last = (axis + 2) % 3;
            normal[axis] = side(1, next) * side(2, last) - side(1, last) * side(2, next);
        }
        const double length = std::hypot(normal[0], normal[1], normal[2]);
        for (const double each : normal) {
            sink.number(static_cast<float>(length > 0.0 ? each / length : 0.0));
        }
        for (const auto& corner : corners) {
            for (const auto& axis : corner) {
                sink.number(static_cast<float>(axis[row]));
            }
        }
        sink.number(std::uint16_t{0});
    }
}

void writePly(const Table& table, ByteSink& sink) {
    const Corners corners = cornersOf(table, "PLY");
    std::array<std::span<const std::int64_t>, 3> numbers;
    std::vector<std::int64_t> used;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::string name = "Vertex" + std::to_string(i + 1);
        numbers[i] = integersOf(table, name, "numbers of corners (columns Vertex1 to Vertex3)", "PLY");
        used.insert(used.end(), numbers[i].begin(), numbers[i].end());
    }
    std::sort(used.begin(), used.end());
    used.erase(std::unique(used.begin(), used.end()), used.end());
    assertCounted(std::max(used.size(), table.getRowCount()), "corners or triangles", "PLY");
    const auto indexOf = [&](std::int64_t number) {
        return static_cast<std::size_t>(std::lower_bound(used.begin(), used.end(), number) - used.begin());
    };
    std::vector<std::array<double, 3>> vertices(used.size());
    for (std::size_t row = 0; row < table.getRowCount(); ++row) {
        for (std::size_t i = 0; i < 3; ++i) {
            vertices[indexOf(numbers[i][row])] = {corners[i][0][row], corners[i][1][row], corners[i][2][row]};
        }
    }
    sink.text("ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(vertices.size()) +
              "\nproperty double x\nproperty double y\nproperty double z\nelement face " +
              std::to_string(table.getRowCount()) + "\nproperty list uchar int vertex_indices\nend_header\n");
    for (const std::array<double, 3>& vertex : vertices) {
        for (const double each : vertex) {
            sink.number(each);
        }
    }
    for (std::size_t row = 0; row < table.getRowCount(); ++row) {
        sink.number(std::uint8_t{3});
        for (const auto& corner : numbers) {
            sink.number(static_cast<std::int32_t>(indexOf(corner[row])));
        }
    }
}

void writeSvg(const Table& table, ByteSink& sink) {
    constexpr const char* what = "lines (columns Line, X and Y)";
    const auto lines = integersOf(table, "Line", what, "SVG");
    const auto x = realsOf(table, "X", what, "SVG");
    const auto y = realsOf(table, "Y", what, "SVG");
    // Lines of several frames or channels may have the same numbers.
    std::vector<std::span<const std::int64_t>> groups{lines};
    for (const char* const name : {"Frame", "Channel"}) {
        if (const auto column = table.findColumn(name);
            column.has_value() && table.getColumnType(*column) == vessel::ColumnType::INTEGER) {
            groups.push_back(table.getIntegers(*column));
        }
    }
    const auto isNew = [&](std::size_t row) {
        return row == 0 || std::any_of(groups.begin(), groups.end(),
                                       [row](const auto& group) { return group[row] != group[row - 1]; });
    };
    const auto [left, right] = std::minmax_element(x.begin(), x.end());
    const auto [top, bottom] = std::minmax_element(y.begin(), y.end());
    const bool isEmpty = lines.empty();
    const double width = isEmpty ? 1.0 : *right - *left;
    const double height = isEmpty ? 1.0 : *bottom - *top;
    const double margin = std::max({width, height, 1e-9}) * 0.01;
    sink.text("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"");
    for (const double each : {(isEmpty ? 0.0 : *left) - margin, (isEmpty ? 0.0 : *top) - margin, width + 2.0 * margin,
                              height + 2.0 * margin}) {
        sink.digits(each);
        sink.text(" ");
    }
    sink.text("\" fill=\"none\" stroke=\"black\">\n");
    for (std::size_t row = 0; row < lines.size(); ++row) {
        sink.text(isNew(row) ? "<polyline vector-effect=\"non-scaling-stroke\" points=\"" : " ");
        sink.digits(x[row]);
        sink.text(",");
        sink.digits(y[row]);
        if (row + 1 == lines.size() || isNew(row + 1)) {
            sink.text("\"/>\n");
        }
    }
    sink.text("</svg>\n");
}

struct Format {
    const char* extension;
    void (*write)(const Table& table, ByteSink& sink);
};

void writeCsv(const Table& table, ByteSink& sink) {
    sink.text(measurement::tableToCsv(table));
}
void writeJson(const Table& table, ByteSink& sink) {
    sink.text(measurement::tableToJson(table));
}

constexpr std::array formats{Format{".csv", &writeCsv}, Format{".json", &writeJson}, Format{".svg", &writeSvg},
                             Format{".stl", &writeStl}, Format{".ply", &writePly}};

const Format* formatOf(const std::filesystem::path& path) {
    const auto* const format = std::find_if(formats.begin(), formats.end(),
                                            [&](const Format& each) { return path.extension() == each.extension; });
    return format == formats.end() ? nullptr : format;
}

}  // namespace

bool isTableFile(const std::filesystem::path& path) {
    return formatOf(path) != nullptr;
}

String tableExtensions() {
    String names;
    for (const Format& format : formats) {
        names += (names.empty() ? "" : ", ") + String(format.extension);
    }
    return names;
}

void writeTable(const std::filesystem::path& path, const vessel::DataFrameView& table) {
    try {
        const Format* const format = formatOf(path);
        if (format == nullptr) {
            throw WritingError("The extension is none of " + tableExtensions() + ".");
        }
        OutputFile file(path);
        ByteSink sink(file);
        format->write(table, sink);
        sink.flush();
        file.commit();
    } catch (WritingError& error) {
        error.addInfoLevel("Cannot write the table '" + path.string() + "'.");
        throw;
    }
}

}  // namespace rix::io
