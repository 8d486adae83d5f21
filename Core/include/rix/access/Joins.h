#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// The partial results of a reduction whose joins commute exactly: counts, sums of integers, extrema.
///
/// A block takes any partial result that is free, adds to it and gives it back. So there are never more than blocks run
/// at the same time, while one for each block would be too many where they are tables. Which blocks met in which
/// partial result is left to chance, and the joined result can't tell.
template <class Partial>
class Accumulators {
public:
    /// `make()` gives a new partial result, empty.
    template <class Make>
    std::unique_ptr<Partial> take(const Make& make) {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_free.empty()) {
                std::unique_ptr<Partial> partial = std::move(m_free.back());
                m_free.pop_back();
                return partial;
            }
        }
        return make();
    }

    void give(std::unique_ptr<Partial> partial) {
        const std::lock_guard lock(m_mutex);
        m_free.push_back(std::move(partial));
    }

    /// All partial results, once no block runs any more.
    const std::vector<std::unique_ptr<Partial>>& all() const { return m_free; }

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Partial>> m_free;
};

/// Calls `add(partial, samples, count)` for every piece of a row of an image, in parallel blocks, then `join(partial)`
/// for every partial result. The result must not depend on which pieces met in which partial result.
/// @param make gives a new partial result as a unique pointer
/// @param nanosecondsPerVoxel rough cost of `add`, for deciding whether threads pay
template <class T, class Partial, class Make, class Add, class Join>
void accumulate(ExecutionContext& context, const ImageModel& image, double nanosecondsPerVoxel, const Make& make,
                const Add& add, const Join& join) {
    const Plan plan = cutLines({&image}, nanosecondsPerVoxel);
    Accumulators<Partial> partials;
    run(context, plan, [&](const Block& block) {
        std::unique_ptr<Partial> partial = partials.take(make);
        RowReader<T> in(image, plan);
        plan.forEachSegment(block, [&](const RowSegment& segment) { add(*partial, in.read(segment), segment.count); });
        partials.give(std::move(partial));
    });
    for (const auto& partial : partials.all()) {
        join(*partial);
    }
}

/// The same for sums of reals and whatever else depends on the order of additions. The image is divided into leaves:
/// stretches of `leafElements` elements in storage order, whatever the storage and the blocks. `add(partial, samples,
/// count, index)` is called for the pieces of a leaf in order, of which the first has `index` 0; what it makes of a
/// leaf must not depend on how it is cut into pieces (it may use `index` to tell which of several running sums an
/// element belongs to). Then `join(left, right)` joins neighbouring partial results, along a tree that follows from
/// their number alone. So the result is the same, bit for bit, for every number of threads, cut and storage.
/// @return the partial result of the whole image; a new one when it is empty
template <class T, class Partial, class Add, class Join>
Partial reduceLeaves(ExecutionContext& context, const ImageModel& image, double nanosecondsPerVoxel, const Add& add,
                     const Join& join) {
    constexpr std::size_t leafElements = std::size_t{1} << 16;
    const Plan all = cutLines({&image}, nanosecondsPerVoxel);
    const std::size_t voxels = all.voxelCount();
    std::vector<Partial> leaves(voxels / leafElements + (voxels % leafElements != 0 ? 1 : 0));
    const std::size_t columns = image.getNumOf(COLUMNS);
    // Blocks of whole leaves of what is one line; their rows are found again below where the storage has no such line.
    Plan plan({voxels, 1, 1, 1, 1}, JoinedAxes::None);
    plan.setSmall(all.isSmall());
    if (voxels > 0) {
        plan.cut(COLUMNS, {1, std::max<std::size_t>(scaledToBlocks(leafElements) / leafElements, 1) * leafElements});
    }
    run(context, plan, [&](const Block& block) {
        RowReader<T> in(image, all);
        for (std::size_t first = block.columns().begin; first < block.columns().end;) {
            const std::size_t index = first % leafElements;
            std::size_t count = std::min(leafElements - index, block.columns().end - first);
            Position at{first};
            if (!all.rowsAreJoined()) {
                at = {first % columns, first / columns};
                count = std::min(count, columns - at.column);
            }
            add(leaves[first / leafElements], in.read(all.segmentAt(at, count)), count, index);
            first += count;
        }
    });
    for (std::size_t step = 1; step < leaves.size(); step *= 2) {
        for (std::size_t i = 0; i + step < leaves.size(); i += 2 * step) {
            join(leaves[i], leaves[i + step]);
        }
    }
    return leaves.empty() ? Partial{} : std::move(leaves.front());
}

}  // namespace rix::access
