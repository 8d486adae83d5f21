#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <type_traits>

#include <rix/access/Rows.h>

namespace rix::analysis {

/// The samples of rows that have a part in statistics: where the mask is not 0, and finite. Made by the thread that
/// uses it, once a block.
template <class T>
class ParticipatingRows {
public:
    /// The most samples of a piece.
    static constexpr std::size_t pieceSamples = 2048;

    /// @param mask of the same extents; null for all voxels
    ParticipatingRows(const ImageModel& image, const ImageModel* mask, const access::Plan& plan) : m_in(image, plan) {
        if (mask != nullptr) {
            m_mask.emplace(*mask, plan);
        }
    }

    /// Calls `add(samples)` for those of a segment, in order, in pieces that stay in the first-level cache.
    template <class Add>
    void read(const access::RowSegment& segment, const Add& add) {
        m_row = m_in.read(segment);
        m_maskRow = m_mask ? m_mask->read(segment) : nullptr;
        nanCount = 0;
        infiniteCount = 0;
        for (std::size_t begin = 0; begin < segment.count; begin += pieceSamples) {
            const std::size_t end = std::min(begin + pieceSamples, segment.count);
            if (m_maskRow == nullptr && allFinite(begin, end)) {
                add(std::span<const T>(m_row + begin, end - begin));
            } else {
                add(std::span<const T>(m_kept.data(), keep(begin, end)));
            }
        }
    }

    /// The place in a segment of the first sample of a value that has a part; the segment's length without one. The
    /// segment may be the last one read.
    std::size_t find(const access::RowSegment& segment, T value) {
        m_row = m_in.read(segment);
        m_maskRow = m_mask ? m_mask->read(segment) : nullptr;
        std::size_t i = 0;
        while (i < segment.count && (m_row[i] != value || (m_maskRow != nullptr && m_maskRow[i] == 0))) {
            ++i;
        }
        return i;
    }

    /// Of the last segment, where the mask is not 0.
    std::size_t nanCount = 0;
    std::size_t infiniteCount = 0;

private:
    bool allFinite(std::size_t begin, std::size_t end) const {
        bool finite = true;
        if constexpr (std::is_floating_point_v<T>) {
            for (std::size_t i = begin; i < end; ++i) {
                finite &= m_row[i] - m_row[i] == 0;  // NaN for what is not finite
            }
        }
        return finite;
    }

    /// Copies the samples that have a part, and counts those that are not finite. @return how many were copied
    std::size_t keep(std::size_t begin, std::size_t end) {
        std::size_t kept = 0;
        for (std::size_t i = begin; i < end; ++i) {
            if (m_maskRow != nullptr && m_maskRow[i] == 0) {
                continue;
            }
            if constexpr (std::is_floating_point_v<T>) {
                if (!std::isfinite(m_row[i])) {
                    ++(std::isnan(m_row[i]) ? nanCount : infiniteCount);
                    continue;
                }
            }
            m_kept[kept++] = m_row[i];
        }
        return kept;
    }

    access::RowReader<T> m_in;
    std::optional<access::RowReader<std::uint8_t>> m_mask;
    std::array<T, pieceSamples> m_kept;
    const T* m_row = nullptr;
    const std::uint8_t* m_maskRow = nullptr;
};

/// Gives `reduce` the list of the images that are read: with the mask when there is one.
template <class Reduce>
auto withMask(const ImageModel& image, const ImageModel* mask, const Reduce& reduce) {
    return mask != nullptr ? reduce({&image, mask}) : reduce({&image});
}

}  // namespace rix::analysis
