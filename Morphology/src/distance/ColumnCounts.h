#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <rix/access/Plan.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>

#include "distance/ClassRows.h"
#include "distance/DistanceTask.h"

namespace rix::morphology {

/// The bands of rows in which the first axis of a distance map is taken, and what its neighbours tell a band: how many
/// steps from their rows beside it, on each column, it is to another class.
///
/// So no more than two rows a band are kept of what is counted in both directions. Bands are counted one by one, each
/// as if its class went on beyond it; then these are joined in order.
template <class Class>
class ColumnCounts {
public:
    ColumnCounts(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                 OptimLevelType level)
        : m_context(context),
          m_image(image),
          m_task(task),
          m_kernels(classKernels<Class>(level)),
          m_plan(planOf(task)) {
        if (bandsOf(task) > 1) {
            m_tables = access::Scratch(tableBytes(task));
        }
    }

    static access::Plan planOf(const DistanceTask& task) {
        access::Plan plan(task.extents, access::JoinedAxes::None);
        plan.cut(ROWS, {.step = rowsOf(task)});
        for (const Components axis : {PLANS, SEQUENCE, SPECTRAL_SERIES}) {
            plan.cut(axis, {.step = 1});
        }
        constexpr double nanosecondsPerVoxel = 3.0;
        plan.setSmall(static_cast<double>(plan.voxelCount()) * nanosecondsPerVoxel < access::smallWorkNanoseconds());
        return plan;
    }

    /// Beside what a row needs.
    static std::size_t bytes(const DistanceTask& task, std::size_t threads) {
        const access::Plan plan = planOf(task);
        const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
        Band band(task.extents[COLUMNS], std::min(rowsOf(task), task.extents[ROWS]));
        return (bandsOf(task) > 1 ? access::Scratch::held(tableBytes(task)) : 0) +
               atOnce * access::Scratch::held(band.memory.bytes());
    }
    static std::size_t mostAtOnce(const DistanceTask& task, std::size_t threads) {
        const access::Plan plan = planOf(task);
        return plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    }

    const access::Plan& plan() const { return m_plan; }

    /// Calls `row(segment, classes, forth, back)` for every row of the image, from the last of a band to the first: its
    /// classes, and the steps to another class towards the first row of its plane and towards the last. @param open
    /// gives such a function for a block. Two steps of the run, or one.
    template <class Open>
    void forEachRow(const Open& open) {
        const access::Steps steps(m_context, bandsOf(m_task) > 1 ? 2 : 1);
        if (bandsOf(m_task) > 1) {
            fillTables();
        }
        access::run(m_context, m_plan, [&](const access::Block& block, access::BlockProgress& progress) {
            Band band(m_task.extents[COLUMNS], block.rows().length());
            readBand(block, band);
            const std::size_t rows = block.rows().length();
            for (std::size_t row = 0; row < rows; ++row) {
                count(block, band, row, true, row == 0 ? countsBefore(block) : band.counts(row - 1), band.counts(row));
            }
            auto use = open(block);
            for (std::size_t row = rows; row-- > 0;) {
                count(block, band, row, false, row + 1 == rows ? countsBehind(block) : band.back(), band.back());
                use(segmentOf(block, block.rows().begin + row), band.classes(row), band.counts(row), band.back());
                progress.add(m_task.extents[COLUMNS]);
            }
        });
    }

private:
    struct Band {
        Band(std::size_t columns, std::size_t rows) {
            classPitch = (columns + 63) / 64 * 64;
            classPlace = memory.template add<Class>(classPitch * (rows + 2));
            countPitch = (columns + 15) / 16 * 16;
            countPlace = memory.template add<std::int32_t>(countPitch * rows);
            backPlace = memory.template add<std::int32_t>(columns);
        }
        /// From -1 to one beyond the band.
        Class* classes(std::size_t row) const {
            return memory.template row<Class>(classPlace) + (row + 1) * classPitch;
        }
        std::int32_t* counts(std::size_t row) const {
            return memory.template row<std::int32_t>(countPlace) + row * countPitch;
        }
        std::int32_t* back() const { return memory.template row<std::int32_t>(backPlace); }

        RowMemory memory;
        std::size_t classPitch;
        std::size_t countPitch;
        std::size_t classPlace;
        std::size_t countPlace;
        std::size_t backPlace;
    };

    static std::size_t rowsOf(const DistanceTask& task) {
        constexpr std::size_t leastRows = 16;
        const std::size_t bytes = task.extents[COLUMNS] * (sizeof(std::int32_t) + sizeof(Class));
        const std::size_t fitting = access::blockBytes() / std::max<std::size_t>(bytes, 1);
        return std::max(fitting, std::max<std::size_t>(access::scaledToBlocks(leastRows), 2));
    }
    static std::size_t bandsOf(const DistanceTask& task) {
        return (task.extents[ROWS] + rowsOf(task) - 1) / rowsOf(task);
    }
    static std::size_t tableBytes(const DistanceTask& task) {
        const std::size_t planes = task.extents[PLANS] * task.extents[SEQUENCE] * task.extents[SPECTRAL_SERIES];
        return 2 * planes * bandsOf(task) * task.extents[COLUMNS] * sizeof(std::int32_t);
    }

    static access::RowSegment segmentOf(const access::Block& block, std::size_t row) {
        return {{0, row, block.planes().begin, block.sequence(), block.spectral()}, block.columns().length()};
    }

    bool isFirst(const access::Block& block) const { return block.rows().begin == 0; }
    bool isLast(const access::Block& block) const { return block.rows().end == m_task.extents[ROWS]; }

    void readBand(const access::Block& block, Band& band) const {
        band.memory.take();
        const auto reader = readClasses<Class>(m_image, m_plan, m_task.ofLabels);
        const std::size_t before = isFirst(block) ? 0 : 1;
        const std::size_t behind = isLast(block) ? 0 : 1;
        for (std::size_t row = 0; row < block.rows().length() + before + behind; ++row) {
            reader->read(segmentOf(block, block.rows().begin + row - before), band.classes(row - before));
        }
    }

    /// The counts of a row of the band of that number in the plan; forth of its last row or back of its first.
    std::int32_t* tableOf(std::size_t index, bool isForth) const {
        return m_tables.as<std::int32_t>() + (2 * index + (isForth ? 0 : 1)) * m_task.extents[COLUMNS];
    }
    /// Counts of the last row of the band before, forth; null for the first band of a plane.
    const std::int32_t* countsBefore(const access::Block& block) const {
        return isFirst(block) ? nullptr : tableOf(block.index - 1, true);
    }
    /// Counts of the first row of the band behind, back; null for the last band of a plane.
    const std::int32_t* countsBehind(const access::Block& block) const {
        return isLast(block) ? nullptr : tableOf(block.index + 1, false);
    }

    /// @param before counts of the row before in that direction, which may be another band's
    void count(const access::Block& block, const Band& band, std::size_t row, bool isForth, const std::int32_t* before,
               std::int32_t* counts) const {
        const std::size_t columns = m_task.extents[COLUMNS];
        const bool isEdge = isForth ? row == 0 && isFirst(block) : row + 1 == block.rows().length() && isLast(block);
        const Class* const classes = band.classes(row);
        if (!isEdge) {
            m_kernels.countOn(classes, band.classes(isForth ? row - 1 : row + 1), before, counts, columns);
            return;
        }
        for (std::size_t x = 0; x < columns; ++x) {
            counts[x] = m_task.borderIsBackground && classes[x] != 0 ? 1 : noCount;
        }
    }

    void fillTables() {
        access::run(m_context, m_plan, [&](const access::Block& block) {
            Band band(m_task.extents[COLUMNS], block.rows().length());
            readBand(block, band);
            const std::size_t rows = block.rows().length();
            for (const bool isForth : {true, false}) {
                std::int32_t* const counts = tableOf(block.index, isForth);
                std::fill_n(counts, m_task.extents[COLUMNS], goesOn);
                for (std::size_t i = 0; i < rows; ++i) {
                    count(block, band, isForth ? i : rows - 1 - i, isForth, counts, counts);
                }
            }
        });
        const std::size_t bands = bandsOf(m_task);
        const std::size_t columns = m_task.extents[COLUMNS];
        const auto join = [&](std::int32_t* counts, const std::int32_t* before) {
            for (std::size_t x = 0; x < columns; ++x) {
                counts[x] = counts[x] >= goesOn ? counts[x] - goesOn + before[x] : counts[x];
            }
        };
        access::forEachPart(m_context, m_plan.blockCount() / bands, static_cast<double>(bands * columns),
                            [&](std::size_t plane) {
                                for (std::size_t band = 1; band < bands; ++band) {
                                    const std::size_t forth = plane * bands + band;
                                    const std::size_t back = (plane + 1) * bands - 1 - band;
                                    join(tableOf(forth, true), tableOf(forth - 1, true));
                                    join(tableOf(back, false), tableOf(back + 1, false));
                                }
                            });
    }

    access::ExecutionContext& m_context;
    const ImageModel& m_image;
    const DistanceTask& m_task;
    ClassKernels<Class> m_kernels;
    access::Plan m_plan;
    access::Scratch m_tables;  ///< of each band counts forth of its last row and back of its first
};

}  // namespace rix::morphology
