#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include <rix/access/BorderConditions.h>
#include <rix/access/Plan.h>
#include <rix/access/Rows.h>
#include <rix/access/Scratch.h>
#include <rix/access/WholeImage.h>
#include <rix/image/ImageModel.h>
#include <rix/image/SampleMemory.h>

#include "resampling/PlaceKernels.h"

namespace rix::geometry {

/// The elements of an input that places read, which may lie beyond it; on each axis from `begin` on.
struct Region {
    std::array<std::int64_t, 3> begin{};
    std::array<std::size_t, 3> count{};

    double samples() const {
        return static_cast<double>(count[0]) * static_cast<double>(count[1]) * static_cast<double>(count[2]);
    }
};

/// Samples of regions of an image, mirrored beyond, copied: rows of an image that are a power of two apart would
/// compete for the same few places of the first-level cache.
template <class Sample>
class RegionReader {
public:
    RegionReader(const ImageModel& input, std::size_t room)
        : m_extents(helper::getExtents(input)),
          m_reader(input),
          m_samples(access::samplesInPlace<Sample>(input)),
          m_room(std::max<std::size_t>(room / sizeof(Sample), leastRoom)),
          m_memory(bytes(room)) {}

    /// What it holds. @param room bytes of a region, if it may be so large
    static std::size_t bytes(std::size_t room) {
        return (std::max<std::size_t>(room / sizeof(Sample), leastRoom) + tapsRead) * sizeof(Sample);
    }

    /// The memory that a reader holds.
    static std::size_t held(std::size_t room) { return access::Scratch::held(bytes(room)); }

    bool fits(const Region& region) const { return region.samples() <= static_cast<double>(m_room); }

    /// Copies a region that fits.
    void copy(const Region& region, const access::Position& at, std::size_t axes, PlaceRow& row) {
        auto* to = m_memory.template as<Sample>();
        const auto [least, most] = columnsOf(region);
        for (std::size_t z = 0; z < region.count[PLANS]; ++z) {
            access::RowSegment segment{at, most - least};
            segment.column = least;
            segment.plane = axes == 3 ? inside(region.begin[PLANS], z, PLANS) : at.plane;
            for (std::size_t y = 0; y < region.count[ROWS]; ++y, to += region.count[COLUMNS]) {
                segment.row = inside(region.begin[ROWS], y, ROWS);
                const Sample* const samples = read(segment);
                fetch(region, y + rowsAhead, segment);
                if (most - least == region.count[COLUMNS] &&
                    region.begin[COLUMNS] == static_cast<std::int64_t>(least)) {
                    std::copy_n(samples, region.count[COLUMNS], to);
                    continue;
                }
                for (std::size_t x = 0; x < region.count[COLUMNS]; ++x) {
                    to[x] = samples[inside(region.begin[COLUMNS], x, COLUMNS) - least];
                }
            }
        }
        std::fill_n(to, tapsRead, Sample{});
        place(region, m_memory.template as<Sample>(), static_cast<double>(region.count[COLUMNS]),
              static_cast<double>(region.count[COLUMNS] * region.count[ROWS]), row);
    }

private:
    static constexpr std::size_t leastRoom = 4096;

    /// Rows of a region that are asked for ahead: they are too short for the processor to see them coming.
    static constexpr std::size_t rowsAhead = 6;

    const Sample* read(const access::RowSegment& segment) {
        return m_samples != nullptr ? m_samples + access::detail::offsetOf(segment, m_extents) : m_reader.read(segment);
    }

    void fetch(const Region& region, std::size_t y, access::RowSegment segment) const {
        constexpr std::size_t cacheLine = 64;
        if (m_samples != nullptr && y < region.count[ROWS]) {
            segment.row = inside(region.begin[ROWS], y, ROWS);
            const Sample* const samples = m_samples + access::detail::offsetOf(segment, m_extents);
            for (std::size_t x = 0; x < segment.count; x += cacheLine / sizeof(Sample)) {
                __builtin_prefetch(samples + x);
            }
        }
    }

    std::size_t inside(std::int64_t begin, std::size_t i, Components axis) const {
        return static_cast<std::size_t>(
            access::computeCoord(begin + static_cast<std::int64_t>(i), static_cast<std::int64_t>(m_extents[axis])));
    }

    /// The columns of the image that a region reads: from, and to one behind.
    std::pair<std::size_t, std::size_t> columnsOf(const Region& region) const {
        const std::int64_t end = region.begin[COLUMNS] + static_cast<std::int64_t>(region.count[COLUMNS]);
        if (region.begin[COLUMNS] >= 0 && end <= static_cast<std::int64_t>(m_extents[COLUMNS])) {
            return {static_cast<std::size_t>(region.begin[COLUMNS]), static_cast<std::size_t>(end)};
        }
        std::size_t least = std::numeric_limits<std::size_t>::max();
        std::size_t most = 0;
        for (std::size_t x = 0; x < region.count[COLUMNS]; ++x) {
            const std::size_t column = inside(region.begin[COLUMNS], x, COLUMNS);
            least = std::min(least, column);
            most = std::max(most, column);
        }
        return {least, most + 1};
    }

    static void place(const Region& region, const Sample* samples, double line, double plane, PlaceRow& row) {
        row.region = samples;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            row.begin[axis] = static_cast<double>(region.begin[axis]);
        }
        row.stride[0] = 1.0;
        row.stride[1] = line;
        row.stride[2] = plane;
    }

    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    access::RowReader<Sample> m_reader;
    const Sample* m_samples;  ///< of an image that has them in its memory; else null
    std::size_t m_room;
    access::Scratch m_memory;
};

/// Samples of regions of planes of bytes, each with the one of the next row behind it: four neighbours are then read at
/// once.
class BytePairReader {
public:
    BytePairReader(const ImageModel& input, std::size_t room)
        : m_reader(input, roomOfBytes(room)), m_pairs(pairBytes(room)) {}

    static std::size_t held(std::size_t room) {
        return RegionReader<std::uint8_t>::held(roomOfBytes(room)) + access::Scratch::held(pairBytes(room));
    }

    bool fits(const Region& region) const { return m_reader.fits(region); }

    void copy(const Region& region, const access::Position& at, std::size_t axes, PlaceRow& row) {
        m_reader.copy(region, at, axes, row);
        const std::size_t columns = region.count[COLUMNS];
        const auto* from = static_cast<const std::uint8_t*>(row.region);
        auto* to = m_pairs.as<std::uint16_t>();
        row.region = to;
        // Rows lie one behind the other.
        const std::size_t count = columns * (region.count[ROWS] - 1);
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = static_cast<std::uint16_t>(from[i] | from[i + columns] << 8);
        }
        std::fill_n(to + count, tapsRead, std::uint16_t{0});
    }

private:
    /// Of bytes and pairs of them together no more than of other samples.
    static std::size_t roomOfBytes(std::size_t room) { return room / 4; }
    static std::size_t pairBytes(std::size_t room) {
        return RegionReader<std::uint8_t>::bytes(roomOfBytes(room)) * sizeof(std::uint16_t);
    }

    RegionReader<std::uint8_t> m_reader;
    access::Scratch m_pairs;
};

/// The rows of an output: in its own memory where it has one, which costs less than to ask it for each of many short
/// ones.
class ResultRows {
public:
    ResultRows(ImageModel& output, const access::Plan& plan)
        : m_writer(output, plan),
          m_extents(helper::getExtents(output)),
          m_size(helper::getElementSize(output)),
          m_samples(access::needsCopy(output, output.getVoxelType()) ? nullptr : helper::contiguousSamples(output)) {}

    RawData open(const access::RowSegment& segment) {
        return m_samples != nullptr ? m_samples + access::detail::offsetOf(segment, m_extents) * m_size
                                    : m_writer.open(segment);
    }
    void flush() {
        if (m_samples == nullptr) {
            m_writer.flush();
        }
    }

private:
    access::RawRowWriter m_writer;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    std::size_t m_size;
    RawData m_samples;
};

}  // namespace rix::geometry
