#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "Runs.h"

namespace rix::individual_analysis {

__extension__ typedef __int128 Int128;

/// Always gathered. Positions are indices of elements; all sums are exact. One cache line.
struct ShapeSums {
    std::uint64_t count = 0;                        ///< pixels
    std::uint64_t runs = 0;                         ///< maximal runs of pixels along the columns
    std::array<std::uint64_t, 3> position{};        ///< sums of the column, row and plane
    std::array<std::uint32_t, 3> lower{none, none, none};
    std::array<std::uint32_t, 3> upper{};           ///< of the last element, not past it

    static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
};

/// Sums of products of two coordinates, exact.
struct SecondMoments {
    Int128 xx = 0, yy = 0, zz = 0, xy = 0, xz = 0, yz = 0;
};

/// The 13 directions to half of the neighbours of a voxel: along the columns; to the row above; to the plane below.
inline constexpr std::size_t directionCount = 13;
inline constexpr std::size_t directionsInPlane = 4;
inline constexpr std::array<std::array<int, 3>, directionCount> directions{{{1, 0, 0},
                                                                            {-1, -1, 0},
                                                                            {0, -1, 0},
                                                                            {1, -1, 0},
                                                                            {-1, -1, -1},
                                                                            {0, -1, -1},
                                                                            {1, -1, -1},
                                                                            {-1, 0, -1},
                                                                            {0, 0, -1},
                                                                            {1, 0, -1},
                                                                            {-1, 1, -1},
                                                                            {0, 1, -1},
                                                                            {1, 1, -1}}};

/// How the pixels of an object lie to each other.
struct ContactSums {
    /// Pairs of pixels that are neighbours in a direction; not counted for the columns, where they follow from the runs.
    std::array<std::uint64_t, directionCount> pairs{};
    std::int64_t euler = 0;  ///< what is added to the number of runs to make the Euler number
};

/// Sums of the grey values of one channel.
struct IntensitySums {
    double sum = 0.0;      ///< within a band of v - shift, then of v
    double squares = 0.0;  ///< within a band of (v - shift)^2, then about the mean
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();
    double shift = std::numeric_limits<double>::quiet_NaN();  ///< of a band; not set before its first value
};

/// Sums of v times column, row and plane.
using WeightedPosition = std::array<double, 3>;

/// The first and last pixel of an object in a row; [begin, end) may contain other pixels.
struct OutlineRow {
    std::uint32_t slot;
    std::uint32_t row;
    std::uint32_t plane;
    std::uint32_t begin;
    std::uint32_t end;
};

/// What is gathered of the objects of a band of rows, then of a whole frame. Memory follows the labels that occur.
class ObjectTable {
public:
    ObjectTable(std::uint32_t gathered, std::size_t channels) : m_gathered(gathered), m_channels(channels) {}

    /// The slot of a label, made when it is new.
    std::uint32_t slotOf(std::uint32_t label) {
        for (std::size_t i = hash(label); !m_entries.empty(); i = (i + 1) & (m_entries.size() - 1)) {
            const Entry& entry = m_entries[i];
            if (entry.label == label) {
                return entry.slot;
            }
            if (entry.label == 0) {
                break;
            }
        }
        return insert(label);
    }
    /// The slot of a label that is known.
    std::uint32_t findSlot(std::uint32_t label) const {
        std::size_t i = hash(label);
        while (m_entries[i].label != label) {
            i = (i + 1) & (m_entries.size() - 1);
        }
        return m_entries[i].slot;
    }

    std::size_t size() const { return labels.size(); }
    std::size_t channels() const { return m_channels; }
    std::uint32_t gathered() const { return m_gathered; }
    bool gathers(std::uint32_t data) const { return (m_gathered & data) != 0; }

    /// Brings the sums of grey values from the form within a band to that between bands.
    void finishBand();
    /// Adds what was gathered in the next band.
    void add(const ObjectTable& band);
    /// Brings the objects into the order of their labels.
    void sort();

    std::vector<std::uint32_t> labels;
    std::vector<ShapeSums> shape;
    std::vector<SecondMoments> second;
    std::vector<ContactSums> contacts;
    std::vector<IntensitySums> intensity;    ///< the channels of an object are adjacent
    std::vector<WeightedPosition> weighted;  ///< the same
    std::vector<OutlineRow> outline;         ///< in raster order, after `sort` also in the order of the objects

private:
    struct Entry {
        std::uint32_t label;  ///< 0: free
        std::uint32_t slot;
    };

    // The high bits of a product with an odd number near 2^64 / golden ratio spread regular labels evenly.
    std::size_t hash(std::uint32_t label) const {
        return static_cast<std::size_t>((label * std::uint64_t{0x9E3779B97F4A7C15}) >> m_hashShift) &
               (m_entries.size() - 1);
    }
    std::uint32_t insert(std::uint32_t label);
    void rebuild(std::size_t entries);
    void sortOutline(const std::vector<std::uint32_t>& newSlots);

    std::uint32_t m_gathered;
    std::size_t m_channels;
    unsigned m_hashShift = 63;
    std::vector<Entry> m_entries;  ///< open addressing, a power of two, at most half full
};

}  // namespace rix::individual_analysis
