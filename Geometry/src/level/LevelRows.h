#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/Plan.h>
#include <rix/access/Rows.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageHeader.h>
#include <rix/properties/Property.h>
#include <rix/rules/Rules.h>

/// Lines and surfaces on which an image has a level: they cross edges between elements.
namespace rix::geometry {

/// Which side of the level an element is on. What is not finite, and what lies beyond the image, is on none: nothing
/// passes beside it.
enum LevelSide : std::uint8_t { BelowLevel = 0, FromLevel = 1, NoLevel = 2 };

/// Whether the level lies between two elements.
inline bool crosses(std::uint8_t a, std::uint8_t b) {
    return (a ^ b) == 1;
}

/// Where it does: the share of the way from the first sample to the second.
inline double levelBetween(double first, double second, double level) {
    // Halves, as the difference of samples may be too large for a number.
    return (level * 0.5 - first * 0.5) / (second * 0.5 - first * 0.5);
}

/// The number of a row in storage order, and how many there are.
inline std::size_t rowNumber(const access::Position& at, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents) {
    return ((at.spectral * extents[SEQUENCE] + at.sequence) * extents[PLANS] + at.plane) * extents[ROWS] + at.row;
}
inline std::size_t rowCount(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents) {
    return extents[ROWS] * extents[PLANS] * extents[SEQUENCE] * extents[SPECTRAL_SERIES];
}

/// Rows of an image and those behind them, as samples and as sides.
/// @tparam rows,planes how many rows, of how many planes, are there at a time
template <std::size_t rows, std::size_t planes>
class LevelRows {
public:
    LevelRows(const ImageModel& image, double level)
        : m_reader(image),
          m_extents(helper::getExtents(image)),
          m_level(level),
          m_memory(bytesOfRows(m_extents[COLUMNS])) {
        m_tags.fill({~std::size_t{0}, 0, 0, 0});
    }

    static std::size_t bytes(const ImageModel& image) {
        const std::size_t columns = image.getNumOf(COLUMNS);
        const bool isConverted = image.getVoxelType() != RIX_FLOAT64 || image.getInterpretation() == RIX_BINARY;
        return access::Scratch::held(bytesOfRows(columns)) +
               (isConverted ? access::Scratch::held(columns * sizeof(double)) : 0);
    }

    /// Reads the row at a position and those behind it, of so many rows and planes; what is there already stays.
    void read(const access::Position& at, std::size_t rowsWanted = rows, std::size_t planesWanted = planes) {
        m_first = at.row;
        for (std::size_t z = 0; z < planesWanted; ++z) {
            for (std::size_t y = 0; y < rowsWanted; ++y) {
                access::RowSegment segment{at, m_extents[COLUMNS]};
                segment.column = 0;
                segment.row = at.row + y;
                segment.plane = at.plane + z;
                const std::array<std::size_t, 4> tag{segment.row, segment.plane, segment.sequence, segment.spectral};
                const std::size_t place = placeOf(y, z);
                if (m_tags[place] != tag) {
                    readRow(segment, place);
                    m_tags[place] = tag;
                }
            }
        }
    }

    const double* samples(std::size_t y, std::size_t z) const { return samplesOf(placeOf(y, z)); }
    /// One more than there are columns.
    const std::uint8_t* sides(std::size_t y, std::size_t z) const { return sidesOf(placeOf(y, z)); }

private:
    static std::size_t bytesOfRows(std::size_t columns) {
        return rows * planes * (columns * sizeof(double) + columns + 1);
    }
    std::size_t placeOf(std::size_t y, std::size_t z) const { return z * rows + (m_first + y) % rows; }
    double* samplesOf(std::size_t row) const { return m_memory.as<double>() + row * m_extents[COLUMNS]; }
    std::uint8_t* sidesOf(std::size_t row) const {
        return reinterpret_cast<std::uint8_t*>(samplesOf(rows * planes)) + row * (m_extents[COLUMNS] + 1);
    }

    void readRow(const access::RowSegment& segment, std::size_t place) {
        double* const samples = samplesOf(place);
        std::uint8_t* const sides = sidesOf(place);
        const std::size_t columns = m_extents[COLUMNS];
        sides[columns] = NoLevel;
        if (segment.row >= m_extents[ROWS] || segment.plane >= m_extents[PLANS]) {
            std::fill_n(sides, columns, static_cast<std::uint8_t>(NoLevel));
            return;
        }
        const double* const row = m_reader.read(segment);
        std::copy_n(row, columns, samples);
        for (std::size_t x = 0; x < columns; ++x) {
            const bool isFinite = row[x] - row[x] == 0.0;
            const std::uint8_t side = row[x] >= m_level ? FromLevel : BelowLevel;
            sides[x] = isFinite ? side : static_cast<std::uint8_t>(NoLevel);
        }
    }

    access::RowReader<double> m_reader;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    double m_level;
    access::Scratch m_memory;
    std::size_t m_first = 0;
    std::array<std::array<std::size_t, 4>, rows * planes> m_tags;  ///< row, plane, frame and channel of each
};

/// Bands of whole rows of single planes.
access::Plan cutRows(const ImageModel& image, double nanosecondsPerVoxel);

/// Between labels there is no level.
class RuleHasLevels : public Rules<Property<const ImageModel*>> {
public:
    /// @param axes that have to span the world
    explicit RuleHasLevels(std::size_t axes) : m_axes(axes) {}
    void apply(Property<const ImageModel*>& property) override;
    String describe() const override;

private:
    std::size_t m_axes;
};

}  // namespace rix::geometry
