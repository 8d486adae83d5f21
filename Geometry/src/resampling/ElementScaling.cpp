#include "resampling/ElementScaling.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include <rix/access/Buffer.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Plan.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/SampleCast.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>

namespace rix::geometry {

namespace {

using access::Block;
using access::Plan;
using access::Position;
using access::RowSegment;
using access::Scratch;

constexpr double nanosecondsPerElement = 0.5;
constexpr double nanosecondsPerShare = 4.0;
/// Elements that a block reads or writes, and between two looks at a request to cancel.
constexpr std::size_t elementsOfBlock = std::size_t{1} << 17;

double ratio(const LineScale& scale) {
    return std::max(static_cast<double>(scale.in) / static_cast<double>(scale.out), 1.0);
}

/// @param perElement what is read for an element of the output
Plan cutRows(const ImageModel& input, const ImageScales& scales, double perElement, double nanoseconds) {
    const auto extents = scaledExtents(input, scales);
    Plan plan(extents, access::JoinedAxes::None);
    const double perRow = static_cast<double>(extents[COLUMNS]) * perElement;
    const auto elements = static_cast<double>(access::scaledToBlocks(elementsOfBlock));
    plan.cut(ROWS, {1, std::min(extents[ROWS], static_cast<std::size_t>(std::clamp(elements / perRow, 1.0, 1e9)))});
    const double perPlane = perRow * static_cast<double>(extents[ROWS]);
    plan.cut(PLANS, {1, std::min(extents[PLANS], static_cast<std::size_t>(std::clamp(elements / perPlane, 1.0, 1e9)))});
    plan.cut(SEQUENCE, {1, 1});
    plan.cut(SPECTRAL_SERIES, {1, 1});
    plan.setSmall(static_cast<double>(plan.voxelCount()) * perElement * nanoseconds < access::smallWorkNanoseconds());
    return plan;
}

// The nearest element -------------------------------------------------------------------------------------------------

template <class Word>
void pick(ConstRawData from, const std::uint32_t* columns, std::size_t count, RawData to) {
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(to + i * sizeof(Word), from + std::size_t{columns[i]} * sizeof(Word), sizeof(Word));
    }
}

using Pick = void (*)(ConstRawData, const std::uint32_t*, std::size_t, RawData);

Pick pickOf(std::size_t elementSize) {
    switch (elementSize) {
        case 1: return &pick<std::uint8_t>;
        case 2: return &pick<std::uint16_t>;
        case 4: return &pick<std::uint32_t>;
        default: return &pick<std::uint64_t>;
    }
}

Plan nearestPlan(const ImageModel& input, const ImageScales& scales) {
    return cutRows(input, scales, ratio(scales[COLUMNS]), nanosecondsPerElement);
}

// The largest share ---------------------------------------------------------------------------------------------------

/// The elements of which an element of the output covers parts, of which each has `unit`.
struct Cover {
    std::size_t first;
    std::size_t count;
    std::size_t begin;
    std::size_t end;
    std::size_t unit;

    Cover(const LineScale& scale, std::size_t i) {
        const std::size_t common = std::gcd(scale.in, scale.out);
        const std::size_t in = scale.in / common;
        unit = scale.out / common;
        begin = i * in;
        end = begin + in;
        first = begin / unit;
        count = (end + unit - 1) / unit - first;
    }
    /// How many units of an element are covered.
    std::size_t share(std::size_t element) const {
        return std::min(end, (element + 1) * unit) - std::max(begin, element * unit);
    }
    /// The most elements that a cover has.
    static std::size_t most(const LineScale& scale) {
        return std::min((scale.in + scale.out - 1) / scale.out + 1, scale.in);
    }
};

/// A sample and how much of a box it has.
template <class T>
struct Share {
    T sample;
    std::uint64_t amount;
};

/// The shares of a box: few samples are looked for in their list, many are sorted and joined now and then.
template <class T>
class Shares {
public:
    explicit Shares(std::size_t most) : m_memory(bytes(most)), m_shares(m_memory.template as<Share<T>>()) {}
    static std::size_t bytes(std::size_t most) { return most * sizeof(Share<T>); }

    void clear() {
        m_count = 0;
        m_limit = leastLimit;
    }
    void add(T sample, std::uint64_t amount) {
        constexpr std::size_t looked = 8;
        for (std::size_t i = m_count > looked ? m_count - looked : 0; i < m_count; ++i) {
            if (m_shares[i].sample == sample) {
                m_shares[i].amount += amount;
                return;
            }
        }
        m_shares[m_count++] = {sample, amount};
        if (m_count >= m_limit) {
            join();
            m_limit = std::max(leastLimit, 2 * m_count);
        }
    }
    /// Of equal ones the smallest.
    T largest() {
        join();
        return std::max_element(m_shares, m_shares + m_count,
                                [](const Share<T>& a, const Share<T>& b) { return a.amount < b.amount; })
            ->sample;
    }

private:
    static constexpr std::size_t leastLimit = std::size_t{1} << 16;  // milliseconds to sort

    /// Orders the samples, each once.
    void join() {
        std::sort(m_shares, m_shares + m_count,
                  [](const Share<T>& a, const Share<T>& b) { return a.sample < b.sample; });
        std::size_t kept = 0;
        for (std::size_t i = 1; i < m_count; ++i) {
            if (m_shares[i].sample == m_shares[kept].sample) {
                m_shares[kept].amount += m_shares[i].amount;
            } else {
                m_shares[++kept] = m_shares[i];
            }
        }
        m_count = std::min(m_count, kept + 1);
    }

    Scratch m_memory;
    Share<T>* m_shares;
    std::size_t m_count = 0;
    std::size_t m_limit = leastLimit;
};

double boxElements(const ImageScales& scales) {
    return ratio(scales[COLUMNS]) * ratio(scales[ROWS]) * ratio(scales[PLANS]);
}

std::size_t mostRows(const ImageScales& scales) {
    return Cover::most(scales[ROWS]) * Cover::most(scales[PLANS]);
}

Plan majorityPlan(const ImageModel& input, const ImageScales& scales) {
    return cutRows(input, scales, boxElements(scales), nanosecondsPerShare);
}

template <class T>
class MajorityRow {
public:
    MajorityRow(const ImageModel& input, const ImageScales& scales, const Plan& plan)
        : m_scales(scales),
          m_length(input.getNumOf(COLUMNS)),
          m_reader(input, plan),
          m_rows(mostRows(scales) * m_length * sizeof(T)),
          m_amounts(mostRows(scales) * sizeof(std::uint64_t)),
          m_shares(mostRows(scales) * Cover::most(scales[COLUMNS])) {}

    void make(const Position& at, T* to, std::size_t count, access::BlockProgress& progress) {
        const std::size_t rows = readRows(at, progress);
        const T* const samples = m_rows.as<T>();
        const auto* const amounts = m_amounts.as<std::uint64_t>();
        for (std::size_t i = 0; i < count; ++i) {
            const Cover columns(m_scales[COLUMNS], i);
            m_shares.clear();
            for (std::size_t row = 0; row < rows; ++row) {
                for (std::size_t x = columns.first; x < columns.first + columns.count; ++x) {
                    m_shares.add(samples[row * m_length + x], amounts[row] * columns.share(x));
                }
                m_done += columns.count;
                if (m_done > elementsOfBlock) {
                    m_done = 0;
                    progress.tell();
                }
            }
            to[i] = m_shares.largest();
        }
    }

private:
    /// Copies the rows that the boxes of a row cover. @return how many
    std::size_t readRows(const Position& at, access::BlockProgress& progress) {
        const Cover rows(m_scales[ROWS], at.row);
        const Cover planes(m_scales[PLANS], at.plane);
        std::size_t count = 0;
        for (std::size_t z = planes.first; z < planes.first + planes.count; ++z) {
            for (std::size_t y = rows.first; y < rows.first + rows.count; ++y, ++count) {
                RowSegment segment{at, m_length};
                segment.column = 0;
                segment.row = y;
                segment.plane = z;
                std::copy_n(m_reader.read(segment), m_length, m_rows.as<T>() + count * m_length);
                m_amounts.as<std::uint64_t>()[count] = std::uint64_t{rows.share(y)} * planes.share(z);
                m_done += m_length;
                if (m_done > elementsOfBlock) {
                    m_done = 0;
                    progress.tell();
                }
            }
        }
        return count;
    }

    const ImageScales& m_scales;
    std::size_t m_length;
    access::RowReader<T> m_reader;
    Scratch m_rows;
    Scratch m_amounts;
    Shares<T> m_shares;
    std::size_t m_done = 0;
};

}  // namespace

void scaleNearest(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                  const ImageScales& scales) {
    const Plan plan = nearestPlan(input, scales);
    const std::size_t size = helper::getElementSize(input);
    const bool isBinary = input.getInterpretation() == RIX_BINARY;
    const Pick pickElements = pickOf(size);
    access::CountedVector<std::uint32_t> columns(scales[COLUMNS].out);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        columns[i] = static_cast<std::uint32_t>(nearestOf(scales[COLUMNS], i));
    }
    const bool isKept = scales[COLUMNS].in == scales[COLUMNS].out;
    access::run(context, plan, [&](const Block& block, access::BlockProgress& progress) {
        access::RawRowReader reader(input, plan);
        access::RawRowWriter writer(output, plan);
        const Scratch row(columns.size() * size);
        Position made;
        bool isMade = false;
        block.forEachRow([&](const Position& at) {
            RowSegment from{at, scales[COLUMNS].in};
            from.row = nearestOf(scales[ROWS], at.row);
            from.plane = nearestOf(scales[PLANS], at.plane);
            if (!isMade || from.row != made.row || from.plane != made.plane) {
                const ConstRawData samples = reader.read(from);
                if (isKept) {
                    std::memcpy(row.data(), samples, columns.size() * size);
                } else {
                    pickElements(samples, columns.data(), columns.size(), row.data());
                }
                if (isBinary) {
                    access::makeZeroOrOne(input.getVoxelType(), row.data(), columns.size());
                }
                made = from;
                isMade = true;
            }
            std::memcpy(writer.open({at, columns.size()}), row.data(), columns.size() * size);
            writer.flush();
            progress.add(columns.size());
        });
    });
}

std::size_t nearestMemory(const ImageModel& input, const ImageScales& scales, std::size_t threads) {
    const Plan plan = nearestPlan(input, scales);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    return scales[COLUMNS].out * sizeof(std::uint32_t) +
           atOnce * Scratch::held(scales[COLUMNS].out * helper::getElementSize(input));
}

void scaleByMajority(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                     const ImageScales& scales) {
    const Plan plan = majorityPlan(input, scales);
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        access::run(context, plan, [&](const Block& block, access::BlockProgress& progress) {
            MajorityRow<T> row(input, scales, plan);
            access::RowWriter<T> writer(output, plan);
            const std::size_t count = block.columns().length();
            block.forEachRow([&](const Position& at) {
                row.make(at, writer.open({at, count}), count, progress);
                writer.flush();
                progress.add(count);
            });
        });
    });
}

std::size_t majorityMemory(const ImageModel& input, const ImageScales& scales, std::size_t threads) {
    const Plan plan = majorityPlan(input, scales);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    const std::size_t size = helper::getElementSize(input);
    const std::size_t rows = mostRows(scales);
    const std::size_t share = size > 4 ? sizeof(Share<double>) : sizeof(Share<float>);
    return atOnce * (Scratch::held(rows * scales[COLUMNS].in * size) + Scratch::held(rows * sizeof(std::uint64_t)) +
                     Scratch::held(rows * Cover::most(scales[COLUMNS]) * share) +
                     (input.getInterpretation() == RIX_BINARY ? Scratch::held(scales[COLUMNS].in * size) : 0));
}

}  // namespace rix::geometry
