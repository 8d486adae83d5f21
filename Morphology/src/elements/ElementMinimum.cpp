#include "ElementMinimum.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <vector>

#include <rix/access/BorderPolicy.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>

#include "ElementBlocks.h"

namespace rix::morphology {

namespace {

using access::Block;
using access::BlockProgress;
using access::Position;
using access::Scratch;

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
          element(job.element),
          chords(element.isBox() ? std::vector<Chord>() : element.chords()),
          reach(element.reach()),
          kernels(elementKernels<T>(job.extremum, level)) {}

    static access::BorderPolicy policyOf(ElementBorderPolicy policy) {
        return policy == ElementBorderPolicy::MIRROR     ? access::BorderPolicy::MIRROR
               : policy == ElementBorderPolicy::CONTINUE ? access::BorderPolicy::CONTINUE
                                                         : access::BorderPolicy::FIXED;
    }

    const ImageModel& image;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> extents;
    ImageModelProxy proxy;
    std::shared_ptr<const access::BorderCondition<T>> border;  ///< null where nothing lies beyond the edges
    const Element& element;
    std::vector<Chord> chords;
    access::Reach reach;
    ElementKernels<T> kernels;
};

/// The extrema of the voxels of a block.
template <class T>
class BlockExtrema {
public:
    using Key = KeyOf<T>;

    BlockExtrema(const Shared<T>& shared, const Block& block)
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
        } else {
            makeTables();
        }
    }

    /// Of a row of the block, counted from its first.
    void results(std::size_t row, std::size_t plane, T* voxels) {
        const Key* keys = at(0, row, plane);
        if (!m_shared.element.isBox()) {
            takeChords(row, plane, m_row.template as<Key>());
            keys = m_row.template as<Key>();
        }
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

    void load() {
        const auto first = [](const access::Interval& voxels, const access::Reach::Axis& axis) {
            return static_cast<std::int64_t>(voxels.begin) - static_cast<std::int64_t>(axis.before);
        };
        const std::int64_t column = first(m_at.columns(), m_shared.reach.columns);
        forEachRow(m_block.extents[1], m_block.extents[2], [&](std::size_t row, std::size_t plane) {
            const std::int64_t y = first(m_at.rows(), m_shared.reach.rows) + static_cast<std::int64_t>(row);
            const std::int64_t z = first(m_at.planes(), m_shared.reach.planes) + static_cast<std::int64_t>(plane);
            if (m_shared.border != nullptr) {
                T* const voxels = m_row.template as<T>();
                m_shared.border->getData(m_shared.proxy, voxels, voxels + m_block.extents[0], column, y, z,
                                         static_cast<std::int64_t>(m_at.sequence()),
                                         static_cast<std::int64_t>(m_at.spectral()));
                m_shared.kernels.encode(voxels, at(0, row, plane), m_block.extents[0]);
            } else {
                loadInside(column, y, z, at(0, row, plane));
            }
        });
    }

    void loadInside(std::int64_t column, std::int64_t y, std::int64_t z, Key* keys) {
        const auto end = column + static_cast<std::int64_t>(m_block.extents[0]);
        const auto columns = static_cast<std::int64_t>(m_shared.extents[COLUMNS]);
        const bool inside = y >= 0 && y < static_cast<std::int64_t>(m_shared.extents[ROWS]) && z >= 0 &&
                            z < static_cast<std::int64_t>(m_shared.extents[PLANS]);
        const std::int64_t from = inside ? std::max<std::int64_t>(column, 0) : end;
        const std::int64_t to = inside ? std::min(end, columns) : end;
        std::fill(keys, keys + (from - column), nothing<Key>);
        if (from < to) {
            const T* const voxels = m_reader.read({{static_cast<std::size_t>(from), static_cast<std::size_t>(y),
                                                    static_cast<std::size_t>(z), m_at.sequence(), m_at.spectral()},
                                                   static_cast<std::size_t>(to - from)});
            m_shared.kernels.encode(voxels, keys + (from - column), static_cast<std::size_t>(to - from));
        }
        std::fill(keys + (to - column), keys + (end - column), nothing<Key>);
    }

    /// Minima of `length` neighbours by doubling, in place: `pair(step)` makes of all elements the least of it and that
    /// `step` further on.
    template <class Pair>
    static void doubling(std::size_t length, const Pair& pair) {
        std::size_t done = 1;
        for (; 2 * done <= length; done *= 2) {
            pair(done);
        }
        if (done < length) {
            pair(length - done);
        }
    }

    void takeLess(Key* row, const Key* other, std::size_t count) const {
        const Key* const rows[] = {row, other};
        m_shared.kernels.minimum(rows, 2, row, count);
    }

    void takeBox() {
        const auto& n = m_block.extents;
        forEachRow(n[1], n[2], [&](std::size_t row, std::size_t plane) {
            Key* const keys = at(0, row, plane);
            std::size_t left = n[0];
            doubling(m_shared.reach.columns.sum() + 1, [&](std::size_t step) {
                left -= step;
                takeLess(keys, keys + step, left);
            });
        });
        std::size_t rows = n[1];
        doubling(m_shared.reach.rows.sum() + 1, [&](std::size_t step) {
            rows -= step;
            forEachRow(rows, n[2], [&](std::size_t row, std::size_t plane) {
                takeLess(at(0, row, plane), at(0, row + step, plane), m_voxels[0]);
            });
        });
        std::size_t planes = n[2];
        doubling(m_shared.reach.planes.sum() + 1, [&](std::size_t step) {
            planes -= step;
            forEachRow(m_voxels[1], planes, [&](std::size_t row, std::size_t plane) {
                takeLess(at(0, row, plane), at(0, row, plane + step), m_voxels[0]);
            });
        });
    }

    /// Table k has the minima of 2^k neighbours in a row.
    void makeTables() {
        for (std::size_t table = 1; table < m_block.tables; ++table) {
            const std::size_t step = std::size_t{1} << (table - 1);
            const std::size_t count = m_block.extents[0] - 2 * step + 1;
            forEachRow(m_block.extents[1], m_block.extents[2], [&](std::size_t row, std::size_t plane) {
                const Key* const below = at(table - 1, row, plane);
                const Key* const rows[] = {below, below + step};
                m_shared.kernels.minimum(rows, 2, at(table, row, plane), count);
            });
        }
    }

    void takeChords(std::size_t row, std::size_t plane, Key* least) {
        const auto moved = [](std::size_t voxel, const access::Reach::Axis& axis, std::int64_t offset) {
            return static_cast<std::size_t>(static_cast<std::int64_t>(voxel + axis.before) + offset);
        };
        std::size_t sources = 0;
        for (const Chord& chord : m_shared.chords) {
            const auto length = static_cast<std::size_t>(chord.length);
            const auto table = static_cast<std::size_t>(std::bit_width(length)) - 1;
            const Key* const from = at(table, moved(row, m_shared.reach.rows, chord.first[1]),
                                       moved(plane, m_shared.reach.planes, chord.first[2])) +
                                    moved(0, m_shared.reach.columns, chord.first[0]);
            m_sources[sources++] = from;
            if (const std::size_t done = std::size_t{1} << table; done < length) {
                m_sources[sources++] = from + (length - done);
            }
        }
        m_shared.kernels.minimum(m_sources.data(), sources, least, m_voxels[0]);
        m_looks.add(sources * m_voxels[0] * sizeof(Key) / 16);
    }

    const Shared<T>& m_shared;
    const Block& m_at;
    std::array<std::size_t, 3> m_voxels;
    ElementBlock m_block;
    Scratch m_memory;
    Scratch m_row;
    access::RowReader<T> m_reader;
    std::vector<const Key*> m_sources;
    access::Looks m_looks;
};

/// @param finish makes of a row of results what is written: (position, results, out, count)
template <class T, class Out, class Open>
void run(access::ExecutionContext& context, const Shared<T>& shared, ImageModel& output, const Open& open) {
    const access::Plan plan = planElement(shared.image, shared.element, sizeof(T));
    access::run(context, plan, [&](const Block& block, BlockProgress& progress) {
        BlockExtrema<T> extrema(shared, block);
        auto finish = open();
        const std::size_t count = block.columns().length();
        const Scratch results(count * sizeof(T));
        access::RowWriter<Out> writer(output);
        block.forEachRow([&](const Position& at) {
            extrema.results(at.row - block.rows().begin, at.plane - block.planes().begin, results.as<T>());
            Out* const row = writer.open({at, count});
            finish(at, results.as<T>(), row, count);
            writer.flush();
            progress.add(count);
        });
    });
}

}  // namespace

void takeExtrema(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const ElementJob& job,
                 Difference difference, const ImageModel* image, OptimLevelType level) {
    const bool isBinary = output.getInterpretation() == RIX_BINARY;
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const Shared<T> shared(input, job, level);
        if (difference == Difference::None) {
            run<T, T>(context, shared, output, [&] {
                return [&](const Position&, const T* results, T* out, std::size_t count) {
                    if (isBinary) {  // what sees nothing is the last voxel of the type
                        std::transform(results, results + count, out, [](T voxel) { return voxel != 0 ? T{1} : T{0}; });
                    } else {
                        std::copy_n(results, count, out);
                    }
                };
            });
            return;
        }
        const DifferenceRow<T> subtract = differenceRow<T>(level);
        run<T, DifferenceOf<T>>(context, shared, output, [&] {
            return [&, reader = access::RowReader<T>(*image)](const Position& at, const T* results,
                                                              DifferenceOf<T>* out, std::size_t count) mutable {
                const T* const voxels = reader.read({at, count});
                const bool fromImage = difference == Difference::ImageLessResult;
                subtract(fromImage ? voxels : results, fromImage ? results : voxels, out, count);
                for (std::size_t i = 0; isBinary && i < count; ++i) {
                    out[i] = out[i] != 0 ? 1 : 0;
                }
            };
        });
    });
}

std::size_t extremaBytes(const ImageModel& input, const Element& element, bool takesDifference, std::size_t threads) {
    const std::size_t keyBytes = helper::getSizeOf(input.getVoxelType());
    const access::Plan plan = planElement(input, element, keyBytes);
    const ElementBlock block =
        blockOf({plan.largestPart(COLUMNS), plan.largestPart(ROWS), plan.largestPart(PLANS)}, element, keyBytes);
    const std::size_t row = Scratch::held(block.extents[0] * keyBytes);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    constexpr std::size_t slots = 4;  // rows on their way from and to images without addresses
    return atOnce * (Scratch::held(block.tableLength() * block.tables * keyBytes) + 2 * row +
                     (slots + (takesDifference ? 2 : 0)) * row);
}

VoxelTypes differenceTypeOf(VoxelTypes type) {
    VoxelTypes found = type;
    access::dispatch(access::Reals{}, type,
                     [&](auto tag) { found = access::voxelTypeOf<DifferenceOf<typename decltype(tag)::type>>; });
    return found;
}

}  // namespace rix::morphology
