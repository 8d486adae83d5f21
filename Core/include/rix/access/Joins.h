#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
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

/// Adds the pieces of the rows of images to partial results, in parallel blocks, then calls `join(partial)` for every
/// partial result. The result must not depend on which pieces met in which partial result.
/// @param make gives a new partial result as a unique pointer
/// @param open `open(plan)` gives what reads and adds the pieces of a block: a function `(partial, segment)`
/// @param nanosecondsPerVoxel rough cost of adding, for deciding whether threads pay
template <class Partial, class Make, class Open, class Join>
void accumulateRows(ExecutionContext& context, std::initializer_list<const ImageModel*> images,
                    double nanosecondsPerVoxel, const Make& make, const Open& open, const Join& join) {
    const Plan plan = cutLines(images, nanosecondsPerVoxel);
    Accumulators<Partial> partials;
    run(context, plan, [&](const Block& block) {
        std::unique_ptr<Partial> partial = partials.take(make);
        auto add = open(plan);
        plan.forEachSegment(block, [&](const RowSegment& segment) { add(*partial, segment); });
        partials.give(std::move(partial));
    });
    for (const auto& partial : partials.all()) {
        join(*partial);
    }
}

/// The same for one image: `add(partial, samples, count)` is called for every piece of a row.
template <class T, class Partial, class Make, class Add, class Join>
void accumulate(ExecutionContext& context, const ImageModel& image, double nanosecondsPerVoxel, const Make& make,
                const Add& add, const Join& join) {
    const auto open = [&](const Plan& plan) {
        return [in = RowReader<T>(image, plan), &add](Partial& partial, const RowSegment& segment) mutable {
            add(partial, in.read(segment), segment.count);
        };
    };
    accumulateRows<Partial>(context, {&image}, nanosecondsPerVoxel, make, open, join);
}

/// The elements of a leaf of a reduction.
inline constexpr std::size_t leafElements = std::size_t{1} << 16;

/// For sums of reals and whatever else depends on the order of additions. The images are divided into leaves: stretches
/// of `leafElements` elements in storage order, whatever the storage and the blocks. The pieces of a leaf are added to
/// a `Leaf` in order; what it makes of them must not depend on how it is cut into pieces. `finish(leaf)` gives its
/// partial result, and `join(left, right)` joins neighbouring ones, along a tree that follows from their number alone.
/// So the result is the same, bit for bit, for every number of threads, cut and storage.
/// @param images of the same extents
/// @param open `open(plan)` gives what reads and adds the pieces of a block: a function `(leaf, segment, first)`, of
///        which `first` is the place of the segment's first element in storage order
/// @return the partial result of all; `finish(Leaf{})` when the images are empty
template <class Leaf, class Open, class Finish, class Join>
auto reduceRows(ExecutionContext& context, std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel,
                const Open& open, const Finish& finish, const Join& join) {
    using Partial = decltype(finish(std::declval<Leaf>()));
    const Plan all = cutLines(images, nanosecondsPerVoxel);
    const std::size_t voxels = all.voxelCount();
    CountedVector<Partial> leaves(voxels / leafElements + (voxels % leafElements != 0 ? 1 : 0));
    const std::size_t columns = (*images.begin())->getNumOf(COLUMNS);
    // Blocks of whole leaves of what is one line; their rows are found again below where the storage has no such line.
    Plan plan({voxels, 1, 1, 1, 1}, JoinedAxes::None);
    plan.setSmall(all.isSmall());
    if (voxels > 0) {
        plan.cut(COLUMNS, {1, std::max<std::size_t>(scaledToBlocks(leafElements) / leafElements, 1) * leafElements});
    }
    run(context, plan, [&](const Block& block) {
        auto add = open(all);
        for (std::size_t first = block.columns().begin; first < block.columns().end;) {
            const std::size_t index = first / leafElements;
            const std::size_t end = std::min((index + 1) * leafElements, block.columns().end);
            Leaf leaf{};
            while (first < end) {
                std::size_t count = end - first;
                RowSegment segment{{first}, count};
                if (!all.rowsAreJoined()) {
                    segment = all.lineAt(first / columns);
                    segment.column = first % columns;
                    count = std::min(count, columns - segment.column);
                    segment.count = count;
                }
                add(leaf, segment, first);
                first += count;
            }
            leaves[index] = finish(std::move(leaf));
        }
    });
    for (std::size_t step = 1; step < leaves.size(); step *= 2) {
        for (std::size_t i = 0; i + step < leaves.size(); i += 2 * step) {
            join(leaves[i], leaves[i + step]);
        }
    }
    return leaves.empty() ? finish(Leaf{}) : std::move(leaves.front());
}

/// The same for one image whose leaves are partial results: `add(partial, samples, count, index)` is called for the
/// pieces of a leaf, of which the first has `index` 0; it may use `index` to tell which of several running sums an
/// element belongs to.
template <class T, class Partial, class Add, class Join>
Partial reduceLeaves(ExecutionContext& context, const ImageModel& image, double nanosecondsPerVoxel, const Add& add,
                     const Join& join) {
    const auto open = [&](const Plan& plan) {
        return [in = RowReader<T>(image, plan), &add](Partial& leaf, const RowSegment& segment,
                                                      std::size_t first) mutable {
            add(leaf, in.read(segment), segment.count, first % leafElements);
        };
    };
    return reduceRows<Partial>(context, {&image}, nanosecondsPerVoxel, open, [](Partial leaf) { return leaf; }, join);
}

}  // namespace rix::access
