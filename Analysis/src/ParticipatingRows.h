#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <type_traits>

#include <rix/access/AllFinite.h>
#include <rix/access/Joins.h>
#include <rix/access/MemoryAccount.h>
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

    /// Goes to a segment.
    void open(const access::RowSegment& segment) {
        m_row = m_in.read(segment);
        m_maskRow = m_mask ? m_mask->read(segment) : nullptr;
        m_count = segment.count;
        nanCount = 0;
        infiniteCount = 0;
    }

    /// Calls `add(samples)` for those of the segment, in order, in pieces that stay in the first-level cache.
    template <class Add>
    void forEachPiece(const Add& add) {
        struct Seen {
            bool areFinite;
        };
        const auto look = [](std::span<const T> samples) {
            return Seen{access::allFinite(samples.data(), samples.size())};
        };
        forEachPieceSeen(look, [&](std::span<const T> samples, const Seen&, std::size_t) { add(samples); });
    }

    /// The same after a look at them: calls `add(samples, look(samples), begin)`. What a look gives tells whether all
    /// samples `areFinite`; `begin` is the place in the segment where the piece was taken from.
    template <class Look, class Add>
    void forEachPieceSeen(const Look& look, const Add& add) {
        for (std::size_t begin = 0; begin < m_count; begin += pieceSamples) {
            const std::size_t end = std::min(begin + pieceSamples, m_count);
            if (m_maskRow == nullptr) {
                const std::span<const T> samples(m_row + begin, end - begin);
                if (const auto seen = look(samples); seen.areFinite) {
                    add(samples, seen, begin);
                    continue;
                }
            }
            const std::span<const T> samples(m_kept.data(), keep(begin, end));
            add(samples, look(samples), begin);
        }
    }

    /// The same in one piece where all samples have a part: for what reads them only once.
    template <class Add>
    void forEachStretch(const Add& add) {
        if (std::is_integral_v<T> && m_maskRow == nullptr) {
            add(std::span<const T>(m_row, m_count));
        } else {
            forEachPiece(add);
        }
    }

    /// The place in the segment of the first sample of a value that has a part, at or behind a place; the segment's
    /// length without one.
    std::size_t find(T value, std::size_t from = 0) const {
        std::size_t i = from;
        while (i < m_count && (m_row[i] != value || (m_maskRow != nullptr && m_maskRow[i] == 0))) {
            ++i;
        }
        return i;
    }

    /// Of the pieces so far, where the mask is not 0.
    std::size_t nanCount = 0;
    std::size_t infiniteCount = 0;

private:
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
    std::size_t m_count = 0;
};

/// Gives `reduce` the list of the images that are read: with the mask when there is one.
template <class Reduce>
auto withMask(const ImageModel& image, const ImageModel* mask, const Reduce& reduce) {
    return mask != nullptr ? reduce({&image, mask}) : reduce({&image});
}

using Counts = access::CountedVector<std::uint64_t>;

/// What `add(counters, samples)` counts in as many counters, over all samples of type `T` that have a part.
template <class T, class Add>
Counts countSamples(access::ExecutionContext& context, const ImageModel& image, const ImageModel* mask,
                    double nanosecondsPerVoxel, std::size_t counters, const Add& add) {
    Counts joined(counters);
    const auto open = [&](const access::Plan& plan) {
        return [rows = ParticipatingRows<T>(image, mask, plan), &add](Counts& counts,
                                                                      const access::RowSegment& segment) mutable {
            rows.open(segment);
            rows.forEachPiece([&](std::span<const T> samples) { add(counts.data(), samples); });
        };
    };
    const auto make = [&] { return std::make_unique<Counts>(counters); };
    const auto join = [&](const Counts& counts) {
        std::transform(counts.begin(), counts.end(), joined.begin(), joined.begin(), std::plus<>());
    };
    withMask(image, mask, [&](std::initializer_list<const ImageModel*> images) {
        access::accumulateRows<Counts>(context, images, nanosecondsPerVoxel, make, open, join);
    });
    return joined;
}

}  // namespace rix::analysis
