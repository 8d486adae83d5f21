#include "PackedExtrema.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <rix/access/BorderPolicy.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/access/Looks.h>
#include <rix/access/PackedRows.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

#include "PackedBlocks.h"
#include "PackedKernels.h"
#include "Passes.h"

namespace rix::morphology {

namespace {

using access::Block;
using access::BlockProgress;
using access::Position;
using access::Scratch;

using Word = std::uint64_t;
constexpr Word allBits = ~Word{0};

/// What is the same for all blocks.
struct SharedBits {
    SharedBits(const ImageModel& input, const ElementJob& job, OptimLevelType level)
        : image(input),
          extents(helper::getExtents(input)),
          proxy(&input, RIX_UINT8),
          border(job.border == ElementBorderPolicy::NEUTRAL
                     ? nullptr
                     : access::borderOf<std::uint8_t>(policyOf(job.border), job.borderValue)),
          element(neededOf(job.element, input, job.border)),
          patterns(patternsOf(element)),
          plan(planPacked(input, element, patterns)),
          reach(element.reach()),
          flip(job.extremum == Extremum::Maximum ? allBits : Word{0}),
          pack(access::packRow<std::uint8_t>(level)),
          unpack(access::unpackRow(level)),
          kernels(packedKernels(level)) {}

    const ImageModel& image;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> extents;
    ImageModelProxy proxy;
    std::shared_ptr<const access::BorderCondition<std::uint8_t>> border;  ///< null: nothing lies beyond the edges
    Element element;
    std::vector<Pattern> patterns;
    access::Plan plan;
    access::Reach reach;
    Word flip;  ///< a maximum is the minimum of the complements
    access::PackRow<std::uint8_t> pack;
    access::UnpackRow unpack;
    const PackedKernels& kernels;
};

/// The extrema of the voxels of a block, at one bit each. Bits that are set don't matter: what takes no part is set.
class PackedExtrema {
public:
    PackedExtrema(const SharedBits& shared, const Block& block)
        : m_shared(shared),
          m_at(block),
          m_rows(block.rows().length()),
          m_planes(block.planes().length()),
          m_block(packedBlockOf({block.columns().length(), m_rows, m_planes}, shared.element)),
          m_table(m_block.tableWords() * sizeof(Word)),
          m_kept(m_block.keptWords() * sizeof(Word)),
          m_seen(m_block.planeWords() * sizeof(Word)),
          m_voxels(shared.border != nullptr ? m_block.row * 64 : 0),
          m_reader(shared.image, shared.plan, access::BinarySamples::AsStored) {
        std::fill_n(m_table.as<Word>() + m_block.planeWords(), m_block.margin, allBits);
        std::fill_n(m_kept.as<Word>(), m_block.keptWords(), allBits);
        for (std::size_t plane = 0; plane < m_planes + shared.reach.planes.sum(); ++plane) {
            if (load(plane)) {
                meet(plane);
            }
        }
        if (shared.element.isBox()) {
            takeBox();
        }
    }

    /// Of a row of the block, counted from its first.
    const Word* results(std::size_t row, std::size_t plane) const { return kept(row, plane); }

private:
    Word* kept(std::size_t row, std::size_t plane) const {
        return m_kept.as<Word>() + (plane * m_block.keptRows + row) * m_block.row;
    }

    /// Lets the results see a plane of what the windows see, which is in the table.
    void meet(std::size_t plane) {
        m_reach = 1;
        if (m_shared.element.isBox()) {
            take(m_shared.patterns.front(), kept(0, plane));
            return;
        }
        for (const Pattern& pattern : m_shared.patterns) {
            bool isTaken = false;
            for (const auto& [deep, rows] : pattern.planes) {
                const std::size_t z = plane - (m_shared.reach.planes.before + static_cast<std::size_t>(deep));
                if (z >= m_planes) {  // what is negative is huge
                    continue;
                }
                if (!isTaken) {
                    take(pattern, m_seen.as<Word>());
                    isTaken = true;
                }
                m_sources.clear();
                for (const std::int64_t down : rows) {
                    const std::size_t first = m_shared.reach.rows.before + static_cast<std::size_t>(down);
                    m_sources.push_back(m_seen.as<Word>() + first * m_block.row);
                }
                m_shared.kernels.restrict(m_sources.data(), m_sources.size(), kept(0, z), m_rows * m_block.row);
                m_looks.add(m_sources.size() * (m_rows * m_block.row / 64 + 1));
            }
        }
    }

    /// What a pattern sees of the plane in the table; patterns come in the order of their lengths.
    void take(const Pattern& pattern, Word* out) {
        Word* const table = m_table.as<Word>();
        const auto both = [&](std::size_t first, std::size_t second, Word* to) {
            m_shared.kernels.both(Bits::at(table, first), Bits::at(table, second), to, m_block.planeWords());
            m_looks.add(m_block.planeWords() / 64 + 1);
        };
        for (; 2 * m_reach <= pattern.length; m_reach *= 2) {
            both(0, m_reach, table);
        }
        const std::size_t first = 64 * m_block.before + static_cast<std::size_t>(pattern.first);
        both(first, first + pattern.length - m_reach, out);
    }

    /// Brings a plane into the table. @return whether there is anything in it
    bool load(std::size_t plane) {
        bool isAny = false;
        for (std::size_t row = 0; row < m_block.seenRows; ++row) {
            isAny = loadRow(row, plane, m_table.as<Word>() + row * m_block.row) || isAny;
            m_looks.add(m_block.row);
        }
        return isAny;
    }

    /// @return whether there is anything in the row
    bool loadRow(std::size_t row, std::size_t plane, Word* bits) {
        const auto place = [](std::size_t begin, std::size_t index, const access::Reach::Axis& axis) {
            return static_cast<std::int64_t>(begin + index) - static_cast<std::int64_t>(axis.before);
        };
        const std::int64_t y = place(m_at.rows().begin, row, m_shared.reach.rows);
        const std::int64_t z = place(m_at.planes().begin, plane, m_shared.reach.planes);
        const std::int64_t column =
            static_cast<std::int64_t>(m_at.columns().begin) - static_cast<std::int64_t>(64 * m_block.before);
        if (m_shared.border != nullptr) {
            auto* const voxels = m_voxels.as<std::uint8_t>();
            const std::size_t count = m_block.row * 64;
            m_shared.border->getData(m_shared.proxy, voxels, voxels + count, column, y, z,
                                     static_cast<std::int64_t>(m_at.sequence()),
                                     static_cast<std::int64_t>(m_at.spectral()));
            pack(voxels, count, bits);
            return true;
        }
        if (y < 0 || y >= static_cast<std::int64_t>(m_shared.extents[ROWS]) || z < 0 ||
            z >= static_cast<std::int64_t>(m_shared.extents[PLANS])) {
            std::fill_n(bits, m_block.row, allBits);
            return false;
        }
        // Both ends of what lies before the image are those of words.
        const auto from = static_cast<std::size_t>(std::max<std::int64_t>(column, 0));
        const auto end = static_cast<std::size_t>(column + static_cast<std::int64_t>(m_block.row * 64));
        const std::size_t count = std::min(end, m_shared.extents[COLUMNS]) - from;
        Word* const inside = bits + (static_cast<std::int64_t>(from) - column) / 64;
        std::fill(bits, inside, allBits);
        pack(m_reader.read(
                 {{from, static_cast<std::size_t>(y), static_cast<std::size_t>(z), m_at.sequence(), m_at.spectral()},
                  count}),
             count, inside);
        std::fill(inside + access::wordsOf(count), bits + m_block.row, allBits);
        return true;
    }

    /// All bits behind the voxels are set.
    void pack(const std::uint8_t* voxels, std::size_t count, Word* bits) const {
        m_shared.pack(voxels, count, bits);
        const std::size_t words = access::wordsOf(count);
        for (std::size_t i = 0; i < words; ++i) {
            bits[i] ^= m_shared.flip;
        }
        if (count % 64 != 0) {
            bits[words - 1] |= allBits << count % 64;
        }
    }

    /// Rows and planes; the columns were taken as the rows came.
    void takeBox() {
        const auto all = [&](const Pass& pass, Word* out, std::size_t step, std::size_t words) {
            std::array<const Word*, 4> sources;
            for (std::size_t i = 0; i < sources.size(); ++i) {
                sources[i] = out + step * pass.offsets[std::min(i, pass.count - 1)];
            }
            m_shared.kernels.all(sources, out, words);
            m_looks.add(words / 32 + 1);
        };
        for (std::size_t plane = 0; plane < m_block.keptPlanes; ++plane) {
            std::size_t rows = m_block.keptRows;
            for (const Pass& pass : passesOf(m_shared.reach.rows.sum() + 1)) {
                rows -= pass.reach();
                all(pass, kept(0, plane), m_block.row, rows * m_block.row);
            }
        }
        std::size_t planes = m_block.keptPlanes;
        for (const Pass& pass : passesOf(m_shared.reach.planes.sum() + 1)) {
            planes -= pass.reach();
            for (std::size_t plane = 0; plane < planes; ++plane) {
                all(pass, kept(0, plane), m_block.row * m_block.keptRows, m_rows * m_block.row);
            }
        }
    }

    const SharedBits& m_shared;
    const Block& m_at;
    std::size_t m_rows;
    std::size_t m_planes;
    PackedBlock m_block;
    Scratch m_table;  ///< of the plane that is seen: what `m_reach` voxels from each on show
    std::size_t m_reach = 1;
    Scratch m_kept;
    Scratch m_seen;
    Scratch m_voxels;  ///< of a row, where something lies beyond the edges
    access::RowReader<std::uint8_t> m_reader;
    std::vector<const Word*> m_sources;
    access::Looks m_looks;
};

}  // namespace

void takePackedExtrema(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                       const ElementJob& job, Difference difference, const ImageModel* image, OptimLevelType level) {
    const SharedBits shared(input, job, level);
    access::run(context, shared.plan, [&](const Block& block, BlockProgress& progress) {
        PackedExtrema extrema(shared, block);
        const std::size_t count = block.columns().length();
        const std::size_t words = access::wordsOf(count);
        const Scratch row(2 * words * sizeof(Word));
        Word* const bits = row.as<Word>();
        Word* const others = bits + words;
        access::RowReader<std::uint8_t> reader(image != nullptr ? *image : input, shared.plan,
                                               access::BinarySamples::AsStored);
        access::RowWriter<std::uint8_t> writer(output, shared.plan);
        block.forEachRow([&](const Position& at) {
            const Word* const results = extrema.results(at.row - block.rows().begin, at.plane - block.planes().begin);
            const access::RowSegment segment{at, count};
            if (difference != Difference::None) {
                shared.pack(reader.read(segment), count, others);
            }
            for (std::size_t i = 0; i < words; ++i) {
                const Word result = results[i] ^ shared.flip;
                bits[i] = difference == Difference::None              ? result
                          : difference == Difference::ResultLessImage ? result & ~others[i]
                                                                      : others[i] & ~result;
            }
            shared.unpack(bits, count, writer.open(segment));
            writer.flush();
            progress.add(count);
        });
    });
}

std::size_t packedExtremaBytes(const ImageModel& input, const Element& element, bool takesDifference,
                               std::size_t threads) {
    const access::Plan plan = planPacked(input, element, patternsOf(element));
    const PackedBlock block =
        packedBlockOf({plan.largestPart(COLUMNS), plan.largestPart(ROWS), plan.largestPart(PLANS)}, element);
    const auto held = [](std::size_t words) { return Scratch::held(words * sizeof(Word)); };
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    // Rows on their way from and to images that are stored otherwise, as they are there and as bytes.
    const std::size_t voxelBytes = helper::getSizeOf(input.getVoxelType()) + 1;
    const std::size_t row = Scratch::held(block.row * 64 * voxelBytes);
    return atOnce * (held(block.tableWords()) + held(block.keptWords()) + held(block.planeWords()) +
                     held(2 * block.row) + (takesDifference ? 6 : 5) * row);
}

}  // namespace rix::morphology
