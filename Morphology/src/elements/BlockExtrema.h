#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

#include <rix/access/ImageModelProxy.h>
#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Scratch.h>

#include "ElementBlocks.h"
#include "ElementMinimum.h"
#include "Passes.h"

namespace rix::morphology {

/// What is the same for all blocks.
template <class T>
struct Shared {
    Shared(const ImageModel& input, const ElementJob& job, OptimLevelType level)
        : image(input),
          extents(helper::getExtents(input)),
          proxy(&input, access::voxelTypeOf<T>),
          border(job.border == ElementBorderPolicy::NEUTRAL
                     ? nullptr
                     : access::borderOf<T>(policyOf(job.border), job.borderValue)),
          element(neededOf(job.element, input, job.border)),
          chords(element.isBox() ? std::vector<Chord>() : element.chords()),
          reach(element.reach()),
          kernels(elementKernels<T>(job.extremum, level)),
          keysAreVoxels(std::is_unsigned_v<T> && job.extremum == Extremum::Minimum) {}

    const ImageModel& image;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> extents;
    ImageModelProxy proxy;
    std::shared_ptr<const access::BorderCondition<T>> border;  ///< null where nothing lies beyond the edges
    Element element;
    std::vector<Chord> chords;
    access::Reach reach;
    ElementKernels<T> kernels;
    bool keysAreVoxels;
};

/// The extrema of the voxels of a block.
template <class T>
class BlockExtrema {
public:
    using Key = KeyOf<T>;

    BlockExtrema(const Shared<T>& shared, const access::Block& block)
        : m_shared(shared),
          m_at(block),
          m_voxels{block.columns().length(), block.rows().length(), block.planes().length()},
          m_block(blockOf(m_voxels, shared.element, sizeof(Key))),
          m_memory(m_block.tableLength() * m_block.tables * sizeof(Key)),
          m_row(m_block.extents[0] * sizeof(T)),
          m_reader(shared.image),
          m_sources(2 * shared.chords.size()) {
        load();
        if (shared.element.isBox()) {
            takeBox();
        }
    }

    /// Of a row of the block, counted from its first.
    void results(std::size_t row, std::size_t plane, T* voxels) {
        if (!m_shared.element.isBox()) {
            gatherChords(row, plane);
        } else if (m_last.count > 0) {
            gather(m_last, [&](std::size_t offset) {
                return m_lastAxis == ROWS ? at(0, row + offset, plane) : at(0, row, plane + offset);
            });
        } else {
            m_shared.kernels.decode(at(0, row, plane), voxels, m_voxels[0]);
            return;
        }
        m_looks.add(m_sourceCount * m_voxels[0] * sizeof(Key) / 64);
        if constexpr (std::is_same_v<T, Key>) {
            if (m_shared.keysAreVoxels) {
                m_shared.kernels.minimum(m_sources.data(), m_sourceCount, voxels, m_voxels[0]);
                return;
            }
        }
        Key* const keys = m_row.template as<Key>();
        m_shared.kernels.minimum(m_sources.data(), m_sourceCount, keys, m_voxels[0]);
        m_shared.kernels.decode(keys, voxels, m_voxels[0]);
    }

private:
    Key* at(std::size_t table, std::size_t row, std::size_t plane) const {
        return m_memory.template as<Key>() + table * m_block.tableLength() +
               (plane * m_block.extents[1] + row) * m_block.pitch;
    }

    template <class Use>
    void forEachRow(std::size_t rows, std::size_t planes, const Use& use) {
        for (std::size_t plane = 0; plane < planes; ++plane) {
            for (std::size_t row = 0; row < rows; ++row) {
                use(row, plane);
                m_looks.add(m_block.extents[0] * sizeof(Key) / 16);
            }
        }
    }

    /// @param rowAt gives the keys at a distance
    template <class RowAt>
    void gather(const Pass& pass, const RowAt& rowAt) {
        m_sources.resize(std::max<std::size_t>(m_sources.size(), pass.count));
        for (m_sourceCount = 0; m_sourceCount < pass.count; ++m_sourceCount) {
            m_sources[m_sourceCount] = rowAt(pass.offsets[m_sourceCount]);
        }
    }

    template <class RowAt>
    void take(const Pass& pass, const RowAt& rowAt, Key* out, std::size_t count) {
        gather(pass, rowAt);
        m_shared.kernels.minimum(m_sources.data(), m_sourceCount, out, count);
    }

    void load() {
        const auto first = [](const access::Interval& voxels, const access::Reach::Axis& axis) {
            return static_cast<std::int64_t>(voxels.begin) - static_cast<std::int64_t>(axis.before);
        };
        const std::int64_t column = first(m_at.columns(), m_shared.reach.columns);
        const std::vector<Pass> passes =
            m_shared.element.isBox() ? passesOf(m_shared.reach.columns.sum() + 1) : std::vector<Pass>();
        forEachRow(m_block.extents[1], m_block.extents[2], [&](std::size_t row, std::size_t plane) {
            const std::int64_t y = first(m_at.rows(), m_shared.reach.rows) + static_cast<std::int64_t>(row);
            const std::int64_t z = first(m_at.planes(), m_shared.reach.planes) + static_cast<std::int64_t>(plane);
            Key* const keys = at(0, row, plane);
            const Key* from = keys;
            if (m_shared.border != nullptr) {
                T* const voxels = m_row.template as<T>();
                m_shared.border->getData(m_shared.proxy, voxels, voxels + m_block.extents[0], column, y, z,
                                         static_cast<std::int64_t>(m_at.sequence()),
                                         static_cast<std::int64_t>(m_at.spectral()));
                m_shared.kernels.encode(voxels, keys, m_block.extents[0]);
            } else {
                from = loadInside(column, y, z, keys, !passes.empty());
            }
            std::size_t left = m_block.extents[0];
            for (const Pass& pass : passes) {
                left -= pass.reach();
                take(pass, [&](std::size_t offset) { return from + offset; }, keys, left);
                from = keys;
            }
            makeTables(row, plane);
        });
    }

    /// @param inPlace whether the keys may stay where the image has them
    /// @return where they are
    const Key* loadInside(std::int64_t column, std::int64_t y, std::int64_t z, Key* keys, bool inPlace) {
        const auto end = column + static_cast<std::int64_t>(m_block.extents[0]);
        const auto columns = static_cast<std::int64_t>(m_shared.extents[COLUMNS]);
        const bool inside = y >= 0 && y < static_cast<std::int64_t>(m_shared.extents[ROWS]) && z >= 0 &&
                            z < static_cast<std::int64_t>(m_shared.extents[PLANS]);
        const std::int64_t from = inside ? std::clamp<std::int64_t>(column, 0, columns) : end;
        const std::int64_t to = inside ? std::max(std::min(end, columns), from) : end;
        if (from < to) {
            const auto count = static_cast<std::size_t>(to - from);
            const T* const voxels = m_reader.read({{static_cast<std::size_t>(from), static_cast<std::size_t>(y),
                                                    static_cast<std::size_t>(z), m_at.sequence(), m_at.spectral()},
                                                   count});
            if constexpr (std::is_same_v<T, Key>) {
                if (inPlace && m_shared.keysAreVoxels && count == m_block.extents[0]) {
                    return voxels;
                }
            }
            m_shared.kernels.encode(voxels, keys + (from - column), count);
        }
        std::fill(keys, keys + (from - column), nothing<Key>);
        std::fill(keys + (to - column), keys + (end - column), nothing<Key>);
        return keys;
    }

    /// All but the columns, which were taken as the rows came, and the last pass, whose results are voxels.
    void takeBox() {
        std::vector<Pass> rowPasses = passesOf(m_shared.reach.rows.sum() + 1);
        std::vector<Pass> planePasses = passesOf(m_shared.reach.planes.sum() + 1);
        std::vector<Pass>& last = planePasses.empty() ? rowPasses : planePasses;
        if (!last.empty()) {
            m_last = last.back();
            m_lastAxis = planePasses.empty() ? ROWS : PLANS;
            last.pop_back();
        }
        std::size_t rows = m_block.extents[1];
        for (const Pass& pass : rowPasses) {
            rows -= pass.reach();
            forEachRow(rows, m_block.extents[2], [&](std::size_t row, std::size_t plane) {
                take(
                    pass, [&](std::size_t offset) { return at(0, row + offset, plane); }, at(0, row, plane),
                    m_voxels[0]);
            });
        }
        std::size_t planes = m_block.extents[2];
        for (const Pass& pass : planePasses) {
            planes -= pass.reach();
            forEachRow(m_voxels[1], planes, [&](std::size_t row, std::size_t plane) {
                take(
                    pass, [&](std::size_t offset) { return at(0, row, plane + offset); }, at(0, row, plane),
                    m_voxels[0]);
            });
        }
    }

    /// Table k has the minima of 2^k neighbours in a row.
    void makeTables(std::size_t row, std::size_t plane) {
        for (std::size_t table = 1; table < m_block.tables; ++table) {
            const std::size_t step = std::size_t{1} << (table - 1);
            const Key* const below = at(table - 1, row, plane);
            const Key* const rows[] = {below, below + step};
            m_shared.kernels.minimum(rows, 2, at(table, row, plane), m_block.extents[0] - 2 * step + 1);
        }
    }

    void gatherChords(std::size_t row, std::size_t plane) {
        const auto moved = [](std::size_t voxel, const access::Reach::Axis& axis, std::int64_t offset) {
            return static_cast<std::size_t>(static_cast<std::int64_t>(voxel + axis.before) + offset);
        };
        m_sourceCount = 0;
        for (const Chord& chord : m_shared.chords) {
            const auto length = static_cast<std::size_t>(chord.length);
            const auto table = static_cast<std::size_t>(std::bit_width(length)) - 1;
            const Key* const from = at(table, moved(row, m_shared.reach.rows, chord.first[1]),
                                       moved(plane, m_shared.reach.planes, chord.first[2])) +
                                    moved(0, m_shared.reach.columns, chord.first[0]);
            m_sources[m_sourceCount++] = from;
            if (const std::size_t done = std::size_t{1} << table; done < length) {
                m_sources[m_sourceCount++] = from + (length - done);
            }
        }
    }

    const Shared<T>& m_shared;
    const access::Block& m_at;
    std::array<std::size_t, 3> m_voxels;
    ElementBlock m_block;
    access::Scratch m_memory;
    access::Scratch m_row;
    access::RowReader<T> m_reader;
    std::vector<const Key*> m_sources;  ///< of which the least is taken
    std::size_t m_sourceCount = 0;
    Pass m_last;
    Components m_lastAxis = ROWS;
    access::Looks m_looks;
};

}  // namespace rix::morphology
