#include <rix/morphology/ConvexHullOfObjects2d.h>

#include <algorithm>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>

#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

void declare(ConvexHullOfObjects2d& filter, algorithms::Properties& properties) {
    properties.input(filter.inputLabelImage, "The labels of the objects; 0 is background.", AddRulesForRealImage());
    properties.output(filter.outputLabelImage, "The labels of their hulls.", AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filter.inputLabelImage));
}

/// Voxels of a label beside each other, or the first and last one of it in a row.
template <class T>
struct LabelRow {
    T label;
    std::int64_t row;
    std::int64_t first;
    std::int64_t last;
};

struct Corner {
    std::int64_t row;
    std::int64_t column;
};

/// Adds a corner to one side of a hull, whose corners come from the first row to the last, and takes off those that it
/// makes needless. @param side 1 for the left side, of lowest columns, and -1 for the right one
void addCorner(access::CountedVector<Corner>& corners, const Corner& next, std::int64_t side) {
    while (corners.size() >= 2) {
        const Corner& before = corners[corners.size() - 2];
        const Corner& last = corners.back();
        // The side goes straight on or turns to the inside: the last corner lies on the line or within.
        const std::int64_t turn = (last.column - before.column) * (next.row - before.row) -
                                  (next.column - before.column) * (last.row - before.row);
        if (side * turn < 0) {
            break;
        }
        corners.pop_back();
    }
    corners.push_back(next);
}

/// The least column of a side of lowest columns in a row, or the negative of the greatest one of the negatives.
class Side {
public:
    explicit Side(const access::CountedVector<Corner>& corners, std::int64_t side) : m_corners(corners), m_side(side) {}

    /// Rows in order.
    std::int64_t columnIn(std::int64_t row) {
        while (m_at + 1 < m_corners.size() && m_corners[m_at + 1].row <= row) {
            ++m_at;
        }
        const Corner& from = m_corners[m_at];
        if (from.row == row) {
            return from.column;
        }
        const Corner& to = m_corners[m_at + 1];
        const std::int64_t rise = m_side * (to.column - from.column) * (row - from.row);
        const std::int64_t run = to.row - from.row;
        const std::int64_t up = rise >= 0 ? (rise + run - 1) / run : -(-rise / run);
        return from.column + m_side * up;
    }

private:
    const access::CountedVector<Corner>& m_corners;
    std::int64_t m_side;
    std::size_t m_at = 0;
};

/// A plane of labels.
template <class T>
class HullPlane {
public:
    HullPlane(const T* labels, T* hulls, std::size_t columns, std::size_t rows)
        : m_labels(labels), m_hulls(hulls), m_columns(columns), m_rows(rows) {}

    void fill() {
        access::Looks looks;
        std::size_t pieces = 0;
        forEachPiece(looks, [&](auto...) { ++pieces; });
        m_found.reserve(pieces);
        forEachPiece(looks, [&](T label, std::size_t row, std::size_t first, std::size_t end) {
            m_found.push_back({label, static_cast<std::int64_t>(row), static_cast<std::int64_t>(first),
                               static_cast<std::int64_t>(end) - 1});
        });
        m_left.reserve(m_rows);
        m_right.reserve(m_rows);
        for (std::size_t row = 0; row < m_rows; ++row) {
            std::fill_n(m_hulls + row * m_columns, m_columns, T{0});
            looks.add(m_columns / 64 + 1);
        }
        std::sort(m_found.begin(), m_found.end(), [&](const LabelRow<T>& a, const LabelRow<T>& b) {
            looks.add(1);
            return a.label != b.label ? a.label > b.label : a.row < b.row || (a.row == b.row && a.first < b.first);
        });
        // The smaller labels come last and stay.
        for (std::size_t begin = 0; begin < m_found.size();) {
            std::size_t end = begin;
            while (end < m_found.size() && m_found[end].label == m_found[begin].label) {
                ++end;
            }
            draw(begin, end, looks);
            begin = end;
        }
    }

    /// The bytes that one holds, at most.
    static std::size_t bytes(std::size_t columns, std::size_t rows) {
        return columns * rows * sizeof(LabelRow<T>) + 2 * rows * sizeof(Corner);
    }

private:
    /// Calls `use(label, row, first, end)` for voxels of a label beside each other.
    template <class Use>
    void forEachPiece(access::Looks& looks, const Use& use) const {
        for (std::size_t row = 0; row < m_rows; ++row) {
            const T* const labels = m_labels + row * m_columns;
            for (std::size_t x = 0; x < m_columns;) {
                const std::size_t first = x;
                const T label = labels[x];
                while (x < m_columns && labels[x] == label) {
                    ++x;
                }
                x += x == first ? 1 : 0;  // NaN is not even itself
                if (label != T{0} && !isNaN(label)) {
                    use(label, row, first, x);
                }
            }
            looks.add(m_columns / 4 + 1);
        }
    }

    void draw(std::size_t begin, std::size_t end, access::Looks& looks) {
        m_left.clear();
        m_right.clear();
        for (std::size_t i = begin; i < end;) {
            const std::int64_t row = m_found[i].row;
            const std::int64_t first = m_found[i].first;
            std::int64_t last = m_found[i].last;
            for (; i < end && m_found[i].row == row; ++i) {
                last = m_found[i].last;
            }
            addCorner(m_left, {row, first}, 1);
            addCorner(m_right, {row, last}, -1);
            looks.add(1);
        }
        Side left(m_left, 1);
        Side right(m_right, -1);
        for (std::int64_t row = m_left.front().row; row <= m_left.back().row; ++row) {
            const std::int64_t first = left.columnIn(row);
            const std::int64_t last = right.columnIn(row);
            if (first <= last) {
                std::fill_n(m_hulls + row * static_cast<std::int64_t>(m_columns) + first, last - first + 1,
                            m_found[begin].label);
                looks.add(static_cast<std::size_t>(last - first) / 64 + 1);
            }
        }
    }

    const T* m_labels;
    T* m_hulls;
    std::size_t m_columns;
    std::size_t m_rows;
    access::CountedVector<LabelRow<T>> m_found;
    access::CountedVector<Corner> m_left;
    access::CountedVector<Corner> m_right;
};

void process(ConvexHullOfObjects2d& filter, OptimLevelType /*level*/) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputLabelImage();
    ImageModel& output = *filter.getOutputLabelImage();
    const Extents n = helper::getExtents(input);
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const access::Steps steps(context, {0.1, 1.0, 0.1});
        const access::WholeInput<T> whole(context, input, sharingBeside(input, output));
        access::WholeOutput<T> result(output);
        const std::size_t voxels = n[COLUMNS] * n[ROWS];
        const access::Plan planes = access::cutBands(
            n,
            {.joined = access::JoinedAxes::Lines, .elements = n[ROWS], .group = n[ROWS], .nanosecondsPerVoxel = 1.0});
        access::run(context, planes, [&](const access::Block& block, access::BlockProgress& progress) {
            for (std::size_t row = block.rows().begin; row < block.rows().end; row += n[ROWS]) {
                const std::size_t first = row * n[COLUMNS];
                HullPlane<T>(whole.data() + first, result.data() + first, n[COLUMNS], n[ROWS]).fill();
                progress.add(voxels);
            }
        });
        result.commit(context);
    });
}

std::size_t memoryOf(const ConvexHullOfObjects2d& filter) {
    const ImageModel& input = *filter.getInputLabelImage();
    const ImageModel* const output = filter.getOutputLabelImage();
    const Extents n = helper::getExtents(input);
    const std::size_t threads = filter.getMaximumThreads();
    const std::size_t planes = std::min(threads, n[PLANS] * n[SEQUENCE] * n[SPECTRAL_SERIES]);
    std::size_t ofPlane = 0;
    access::dispatch(access::Reals{}, input.getVoxelType(),
                     [&](auto tag) { ofPlane = HullPlane<typename decltype(tag)::type>::bytes(n[COLUMNS], n[ROWS]); });
    return wholeInputBytes(input, output) + wholeOutputBytes(input, output, input.getVoxelType()) +
           std::max(convertedRowBytes(input, threads), planes * ofPlane);
}

constexpr algorithms::Definition<ConvexHullOfObjects2d> definition{
    .summary = "Fills the objects of each plane to their convex hulls.",
    .kind = AlgorithmKind::Labeling,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
    .memoryIsExact = false,
};

}  // namespace

RIX_DEFINE_ALGORITHM(ConvexHullOfObjects2d, definition)

}  // namespace rix::morphology
