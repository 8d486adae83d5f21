#include "Gather.h"

#include <algorithm>
#include <cstring>

#include <rix/Assert.h>
#include <rix/access/Pieces.h>
#include <rix/access/Plan.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/SampleCast.h>
#include <rix/access/Scratch.h>
#include <rix/access/StreamKernels.h>
#include <rix/image/SampleMemory.h>

#include "GatherKernels.h"

namespace rix::geometry {

namespace {

using access::Block;
using access::Interval;
using access::Plan;
using access::Position;
using access::RowSegment;
using access::Stores;

/// Rough costs of an element in nanoseconds, for deciding whether threads pay.
constexpr double copyCost = 0.2;
constexpr double transposeCost = 0.5;

constexpr std::size_t Position::* coordinates[] = {&Position::column, &Position::row, &Position::plane,
                                                   &Position::sequence, &Position::spectral};

/// Past the caches only what is an address in memory: a row on its way to an image is read again.
Stores storesFor(const ImageModel& output) {
    return helper::contiguousSamples(output) != nullptr ? access::storesFor(output) : Stores::Cached;
}

/// What both ways need of a run.
struct Work {
    const ImageModel& input;
    const AxisMaps& maps;
    ImageModel& output;
    ConstRawData value;
    GatherKernels kernels;
    Stores stores;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> extents;  ///< of the input
    std::size_t size;                                      ///< of an element
    bool isBinary;

    /// Where the row of an output position comes from, but for its columns' source; none where that is the value.
    bool sourceOf(const Position& at, Position& from) const {
        for (std::size_t axis = ROWS; axis < maps.size(); ++axis) {
            const AxisMap& map = maps[axis];
            const std::int64_t place = evenRunAt(map, at.*coordinates[axis], extents[map.source]).source;
            if (place == EvenRun::none) {
                return false;
            }
            from.*coordinates[map.source] = static_cast<std::size_t>(place);
        }
        return true;
    }
};

// Rows ---------------------------------------------------------------------------------------------------------------

/// Repeats an element.
void repeat(RawData to, ConstRawData element, std::size_t size, std::size_t count) {
    if (size == 1) {
        std::memset(to, *element, count);
        return;
    }
    // Doubled, and from then on in blocks that stay in the first-level cache.
    constexpr std::size_t largest = 4096;
    std::size_t done = std::min<std::size_t>(count, 1);
    std::memcpy(to, element, done * size);
    while (done < count) {
        const std::size_t n = std::min({done, count - done, largest / size});
        std::memcpy(to + done * size, to, n * size);
        done += n;
    }
}

/// Fills rows of the output. Made once a block.
class RowFiller {
public:
    RowFiller(const Work& work, const Plan& plan) : m_work(work), m_rows(work.input, plan) {}

    /// The elements of a row from a column on.
    void fill(const Position& at, std::size_t count, RawData to) {
        Position from;
        if (!m_work.sourceOf(at, from)) {
            repeat(to, m_work.value, m_work.size, count);
            return;
        }
        const AxisMap& map = m_work.maps[COLUMNS];
        for (std::size_t done = 0; done < count;) {
            EvenRun run = evenRunAt(map, at.column + done, m_work.extents[COLUMNS]);
            run.count = std::min(run.count, count - done);
            fillRun(run, from, to + done * m_work.size);
            done += run.count;
        }
    }

private:
    void fillRun(const EvenRun& run, const Position& from, RawData to) {
        if (run.source == EvenRun::none) {
            repeat(to, m_work.value, m_work.size, run.count);
            return;
        }
        RowSegment segment{from, run.step == 0 ? 1 : run.count};
        segment.column = static_cast<std::size_t>(run.source) - (run.step < 0 ? run.count - 1 : 0);
        const ConstRawData row = m_rows.read(segment);
        if (run.step == 0) {
            repeat(to, row, m_work.size, run.count);
        } else if (run.step < 0) {
            m_work.kernels.reverse(to, row, run.count);
        } else {
            m_work.kernels.copy(to, row, run.count * m_work.size);
        }
    }

    const Work& m_work;
    access::RawRowReader m_rows;
};

void gatherRows(access::ExecutionContext& context, const Work& work) {
    const Plan plan = access::cutBoxes(
        {}, {&work.output}, {.reach = {}, .nanosecondsPerVoxel = copyCost, .heldBytesPerVoxel = 2 * work.size});
    access::run(context, plan, [&](const Block& block) {
        RowFiller filler(work, plan);
        access::RawRowWriter out(work.output, plan);
        // Binary rows become 0 and 1 piece by piece, where they are still in the cache.
        const std::size_t length = block.columns().length();
        const std::size_t piece = work.isBinary ? std::min(length, 4096 / work.size) : length;
        block.forEachRow([&](const Position& at) {
            const RawData row = out.open({at, length});
            Position place = at;
            for (std::size_t done = 0; done < length; done += piece) {
                const std::size_t count = std::min(piece, length - done);
                place.column = at.column + done;
                filler.fill(place, count, row + done * work.size);
                if (work.isBinary) {
                    access::makeZeroOrOne(work.output.getVoxelType(), row + done * work.size, count);
                }
            }
            out.flush();
        });
        if (work.stores == Stores::Streaming) {
            access::finishStreaming();
        }
    });
}

// Transposed ---------------------------------------------------------------------------------------------------------

/// The most rows of either image that a block has.
constexpr std::size_t mostRows = 1024;
/// Lines of the cache in a row of a box of the output, if it has so many: what goes to memory is long, and on the other
/// side what comes from there is foreseen.
constexpr std::size_t linesOfBox = 8;

/// The rows of a box of an image, as addresses: in place, or in a copy.
/// @tparam Data ConstRawData for reading, RawData for writing
template <class Data>
class BoxRows {
public:
    /// @param image of which addresses follow from the first, where it is one buffer
    template <class Image>
    explicit BoxRows(Image& image)
        : m_first(helper::contiguousSamples(image)),
          m_extents(helper::getExtents(image)),
          m_size(helper::getElementSize(image)) {}

    const Data* data() const { return m_rows.data(); }
    bool isInMemory() const { return m_first != nullptr; }
    Data& operator[](std::size_t row) { return m_rows[row]; }
    Data addressOf(const Position& at) const {
        const auto& n = m_extents;
        return m_first +
               ((((at.spectral * n[SEQUENCE] + at.sequence) * n[PLANS] + at.plane) * n[ROWS] + at.row) * n[COLUMNS] +
                at.column) *
                   m_size;
    }
    /// Where a row of the box is kept that has no address.
    RawData copyOf(std::size_t row, std::size_t rows, std::size_t elements) {
        return m_copies.reserve(rows * elements * m_size) + row * elements * m_size;
    }

private:
    Data m_first;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    std::size_t m_size;
    std::array<Data, mostRows> m_rows{};
    access::Buffer<std::uint8_t> m_copies;
};

/// Boxes of a few hundred rows of either image, in step with the lines of the cache; and of as many of the other axes
/// as make a block.
Plan cutSquares(const Work& work, Components across) {
    const auto& n = helper::getExtents(work.output);
    Plan plan(n, access::JoinedAxes::None);
    const std::size_t line = elementsOfLine(work.size);
    const std::size_t elements = std::max(access::blockBytes() / (2 * work.size), line * line);
    const auto inLines = [line](std::size_t length) { return (length + line - 1) / line * line; };
    const std::size_t fewest = std::min(n[COLUMNS], linesOfBox * line);
    const std::size_t rows = std::min({n[across], inLines(elements / fewest), mostRows});
    const std::size_t columns = std::min({n[COLUMNS], inLines(elements / rows), mostRows});
    plan.setSmall(static_cast<double>(plan.voxelCount()) * transposeCost < access::smallWorkNanoseconds());
    plan.cut(COLUMNS, {1, columns});
    plan.cut(across, {1, rows});
    std::size_t left = std::max<std::size_t>(elements / (columns * rows), 1);
    for (const Components axis : {ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        if (axis != across) {
            const std::size_t step = std::min(left, n[axis]);
            plan.cut(axis, {1, step});
            left = std::max<std::size_t>(left / step, 1);
        }
    }
    return plan;
}

/// Transposes boxes whose columns are another axis of the input, and whose axis `across` is the input's columns.
class BoxTransposer {
public:
    BoxTransposer(const Work& work, Components across)
        : m_work(work), m_across(across), m_in(work.input), m_out(work.output) {}

    /// @param at the first element of the box in the output
    void transpose(const Position& at, std::size_t width, std::size_t height) {
        readRows(at, width, height);
        findRows(at, width, height);
        m_work.kernels.transpose(
            {m_in.data(), m_out.data(), width, height, m_work.isBinary, m_work.output.getVoxelType()});
        if (!m_out.isInMemory()) {
            writeRows(at, width, height);
        }
    }

private:
    void readRows(const Position& at, std::size_t width, std::size_t height) {
        RowSegment segment{{}, height};
        const bool known = m_work.sourceOf(at, segment);
        RIX_ASSERT(known);
        static_cast<void>(known);
        const AxisMap& map = m_work.maps[COLUMNS];
        if (m_work.maps[m_across].reversed) {
            segment.column -= height - 1;
        }
        for (std::size_t i = 0; i < width; ++i) {
            segment.*coordinates[map.source] =
                static_cast<std::size_t>(evenRunAt(map, at.column + i, m_work.extents[map.source]).source);
            m_in[i] = m_in.isInMemory() ? m_in.addressOf(segment) : readRow(segment, i, width);
        }
    }

    ConstRawData readRow(const RowSegment& at, std::size_t row, std::size_t rows) {
        ConstRawData address = nullptr;
        const ImageModel& input = m_work.input;
        if (input.getConstRowAt(at.count, address, at.column, at.row, at.plane, at.sequence, at.spectral)) {
            return address;
        }
        const RawData copy = m_in.copyOf(row, rows, at.count);
        if (!input.readRowAt(at.count, copy, at.column, at.row, at.plane, at.sequence, at.spectral)) {
            access::throwRowError("readRowAt", input, at);
        }
        return copy;
    }

    /// The rows of the output in the order in which the columns of the input are stored.
    template <class Use>
    void forEachRow(const Position& at, std::size_t width, std::size_t height, const Use& use) {
        RowSegment segment{at, width};
        for (std::size_t i = 0; i < height; ++i) {
            segment.*coordinates[m_across] = at.*coordinates[m_across] + i;
            use(segment, m_work.maps[m_across].reversed ? height - 1 - i : i);
        }
    }

    void findRows(const Position& at, std::size_t width, std::size_t height) {
        m_isCopied.fill(false);
        forEachRow(at, width, height, [&](const RowSegment& to, std::size_t row) {
            if (m_out.isInMemory()) {
                m_out[row] = m_out.addressOf(to);
            } else if (!m_work.output.getRowAt(to.count, m_out[row], to.column, to.row, to.plane, to.sequence,
                                               to.spectral)) {
                m_out[row] = m_out.copyOf(row, height, width);
                m_isCopied[row] = true;
            }
        });
    }

    void writeRows(const Position& at, std::size_t width, std::size_t height) {
        forEachRow(at, width, height, [&](const RowSegment& to, std::size_t row) {
            if (m_isCopied[row] && !m_work.output.writeRowAt(to.count, m_out[row], to.column, to.row, to.plane,
                                                             to.sequence, to.spectral)) {
                access::throwRowError("writeRowAt", m_work.output, to);
            }
        });
    }

    const Work& m_work;
    Components m_across;
    BoxRows<ConstRawData> m_in;
    BoxRows<RawData> m_out;
    std::array<bool, mostRows> m_isCopied{};
};

void gatherTransposed(access::ExecutionContext& context, const Work& work, Components across) {
    const Plan plan = cutSquares(work, across);
    access::run(context, plan, [&](const Block& block) {
        BoxTransposer box(work, across);
        // The first elements of its boxes: all positions but those along the box's own axes.
        Block boxes = block;
        const std::size_t width = block.columns().length();
        const std::size_t height = block.axes[across].length();
        boxes.axes[across].end = boxes.axes[across].begin + 1;
        boxes.forEachRow([&](const Position& at) { box.transpose(at, width, height); });
        if (work.stores == Stores::Streaming) {
            access::finishStreaming();
        }
    });
}

}  // namespace

void gather(access::ExecutionContext& context, const ImageModel& input, const AxisMaps& maps, ImageModel& output,
            OptimLevelType level, ConstRawData value) {
    const std::size_t size = helper::getElementSize(input);
    const Stores stores = storesFor(output);
    const Work work{input,
                    maps,
                    output,
                    value,
                    gatherKernels(size, stores, level),
                    stores,
                    helper::getExtents(input),
                    size,
                    output.getInterpretation() == RIX_BINARY};
    const auto across =
        std::find_if(maps.begin(), maps.end(), [](const AxisMap& map) { return map.source == COLUMNS; });
    if (across == maps.begin()) {
        gatherRows(context, work);
    } else {
        gatherTransposed(context, work, static_cast<Components>(across - maps.begin()));
    }
}

}  // namespace rix::geometry
