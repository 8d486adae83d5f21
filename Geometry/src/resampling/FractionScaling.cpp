#include "resampling/FractionScaling.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <numeric>

#include <rix/access/BlockSize.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Plan.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageHeader.h>

#include "resampling/FractionKernels.h"

namespace rix::geometry {

namespace {

using access::Plan;
using access::Scratch;

constexpr std::size_t elementsOfBlock = std::size_t{1} << 18;
constexpr double nanosecondsPerElement = 0.2;
/// Whole vectors of words.
constexpr std::size_t wordGroup = 64;
constexpr std::size_t largestDivisor = 256;

/// An axis in lowest terms: `in` elements become `out`.
struct Fraction {
    std::int64_t in;
    std::int64_t out;

    explicit Fraction(const LineScale& scale) {
        const std::size_t common = std::gcd(scale.in, scale.out);
        in = static_cast<std::int64_t>(scale.in / common);
        out = static_cast<std::int64_t>(scale.out / common);
    }

    /// Places are ((2 i + 1) in - out) / (2 out); of two odd numbers the numerator is even.
    bool isOdd() const { return in % 2 != 0 && out % 2 != 0; }
    std::int64_t denominator() const { return isOdd() ? out : 2 * out; }

    struct Place {
        std::int64_t element;
        std::uint16_t second;  ///< parts of the denominator behind it
    };
    Place placeOf(std::int64_t i) const {
        const std::int64_t numerator = (2 * i + 1) * in - out;
        const std::int64_t element = numerator < 0 ? -1 : numerator / (2 * out);
        const std::int64_t rest = numerator - 2 * out * element;
        return {element, static_cast<std::uint16_t>(isOdd() ? rest / 2 : rest)};
    }
};

bool isLinear(const LineScale& scale) {
    return scale.rule == LineRule::Linear && !(scale.smooth && scale.in > scale.out) &&
           scale.border != access::BorderPolicy::FIXED;
}

/// The tables of the columns.
class ColumnTables {
public:
    explicit ColumnTables(const LineScale& scale) : m_fraction(scale) {
        const auto period = static_cast<std::size_t>(m_fraction.out);
        const std::size_t groups = period + fractionGroupsBehind;
        m_offsets.resize(period);
        m_seconds.resize(period);
        m_begins.resize(groups);
        m_shuffles.resize(2 * groups * fractionReach);
        m_weights.resize(2 * groups * fractionGroup);
        for (std::size_t r = 0; r < period; ++r) {
            const auto place = m_fraction.placeOf(static_cast<std::int64_t>(r));
            m_offsets[r] = static_cast<std::int32_t>(place.element);
            m_seconds[r] = place.second;
        }
        for (std::size_t group = 0; group < groups; ++group) {
            fillGroup(group, groups);
        }
    }

    static std::size_t bytes(const LineScale& scale) {
        const auto period = static_cast<std::size_t>(Fraction(scale).out);
        return period * (sizeof(std::int32_t) + sizeof(std::uint16_t)) +
               (period + fractionGroupsBehind) *
                   (sizeof(std::int32_t) + 2 * fractionReach + 2 * fractionGroup * sizeof(std::uint16_t));
    }

    std::uint16_t denominator() const { return static_cast<std::uint16_t>(m_fraction.denominator()); }
    FractionTaps taps() const {
        return {m_offsets.size(),  static_cast<std::size_t>(m_fraction.in),
                denominator(),     m_offsets.data(),
                m_seconds.data(),  m_begins.data(),
                m_shuffles.data(), m_shuffles.data() + m_shuffles.size() / 2,
                m_weights.data(),  m_weights.data() + m_weights.size() / 2};
    }

private:
    void fillGroup(std::size_t group, std::size_t groups) {
        constexpr std::uint8_t nothing = 0x80;
        const auto first = static_cast<std::int64_t>(group * fractionGroup);
        const std::int64_t begin = m_fraction.placeOf(first).element;
        m_begins[group] = static_cast<std::int32_t>(begin);
        for (std::size_t i = 0; i < fractionGroup; ++i) {
            const auto place = m_fraction.placeOf(first + static_cast<std::int64_t>(i));
            for (std::size_t k = 0; k < 2; ++k) {
                std::uint8_t* const bytes = m_shuffles.data() + (k * groups + group) * fractionReach + 2 * i;
                bytes[0] = static_cast<std::uint8_t>(place.element - begin + static_cast<std::int64_t>(k));
                bytes[1] = nothing;
                m_weights[(k * groups + group) * fractionGroup + i] =
                    static_cast<std::uint16_t>(k == 0 ? denominator() - place.second : place.second);
            }
        }
    }

    Fraction m_fraction;
    access::CountedVector<std::int32_t> m_offsets;
    access::CountedVector<std::uint16_t> m_seconds;
    access::CountedVector<std::int32_t> m_begins;
    access::CountedVector<std::uint8_t> m_shuffles;
    access::CountedVector<std::uint16_t> m_weights;
};

Plan cutRows(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents) {
    Plan plan(extents, access::JoinedAxes::None);
    const std::size_t rows = access::scaledToBlocks(elementsOfBlock) / extents[COLUMNS];
    plan.cut(ROWS, {1, std::clamp<std::size_t>(rows, 1, extents[ROWS])});
    for (const Components axis : {PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        plan.cut(axis, {1, 1});
    }
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanosecondsPerElement < access::smallWorkNanoseconds());
    return plan;
}

std::size_t wordsOf(std::size_t columns) {
    return (columns + wordGroup - 1) / wordGroup * wordGroup;
}

std::size_t ringBytes(std::size_t columns) {
    return 2 * wordsOf(columns) * sizeof(std::uint16_t);
}

}  // namespace

bool FractionQuotient::exists(std::size_t divisor) {
    if (divisor < 2 || divisor > largestDivisor) {
        return false;
    }
    const FractionQuotient made(divisor);
    const std::size_t power = std::size_t{1} << (16 + made.shift);
    const std::size_t error = made.reciprocal * divisor - power;
    return error * (255 * divisor + made.half) < power;
}

FractionQuotient::FractionQuotient(std::size_t by)
    : divisor(static_cast<std::uint16_t>(by)),
      half(static_cast<std::uint16_t>(by / 2)),
      even(by % 2 == 0 ? 1 : 0),
      shift(static_cast<int>(std::bit_width(by - 1)) - 1) {
    reciprocal = static_cast<std::uint16_t>(((std::size_t{1} << (16 + shift)) + by - 1) / by);
}

bool hasSmallFractions(const ImageModel& input, const ImageScales& scales) {
    if (input.getVoxelType() != RIX_UINT8 || input.getInterpretation() == RIX_BINARY ||
        scales[PLANS].rule != LineRule::Keep || !isLinear(scales[COLUMNS]) || !isLinear(scales[ROWS])) {
        return false;
    }
    const Fraction columns(scales[COLUMNS]);
    const Fraction rows(scales[ROWS]);
    // The elements of a group are read at once.
    const bool isNear = columns.in <= 2 * columns.out;
    return isNear && columns.denominator() <= static_cast<std::int64_t>(largestDivisor) &&
           rows.denominator() <= static_cast<std::int64_t>(largestDivisor) &&
           FractionQuotient::exists(static_cast<std::size_t>(columns.denominator() * rows.denominator()));
}

void scaleByFractions(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                      const ImageScales& scales, OptimLevelType level) {
    const ColumnTables columns(scales[COLUMNS]);
    const Fraction rows(scales[ROWS]);
    const auto rowDenominator = static_cast<std::uint16_t>(rows.denominator());
    const FractionTaps taps = columns.taps();
    const FractionQuotient quotient(std::size_t{columns.denominator()} * rowDenominator);
    const FractionKernels kernels = fractionKernels(level);
    const std::size_t length = scales[COLUMNS].in;
    const std::size_t count = scales[COLUMNS].out;
    const auto lastRow = static_cast<std::int64_t>(scales[ROWS].in) - 1;
    const Plan plan = cutRows(scaledExtents(input, scales));
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        access::RowReader<std::uint8_t> reader(input);
        access::RowWriter<std::uint8_t> writer(output, plan);
        const Scratch ring(ringBytes(count));
        // A row and the next have places of their own.
        std::array<std::int64_t, 2> kept{-1, -1};
        const auto madeAlong = [&](const access::Position& at, std::int64_t row) {
            const std::int64_t source = std::clamp<std::int64_t>(row, 0, lastRow);
            const auto slot = static_cast<std::size_t>(source % 2);
            std::uint16_t* const made = ring.as<std::uint16_t>() + slot * wordsOf(count);
            if (kept[slot] != source) {
                kept[slot] = source;
                access::RowSegment segment{at, length};
                segment.row = static_cast<std::size_t>(source);
                kernels.along(reader.read(segment), length, taps, count, made);
            }
            return made;
        };
        block.forEachRow([&](const access::Position& at) {
            const auto place = rows.placeOf(static_cast<std::int64_t>(at.row));
            const std::uint16_t* const first = madeAlong(at, place.element);
            const std::uint16_t* const second = madeAlong(at, place.element + 1);
            kernels.across(first, second, static_cast<std::uint16_t>(rowDenominator - place.second), place.second,
                           quotient, writer.open({at, count}), count);
            writer.flush();
            progress.add(count);
        });
    });
}

std::size_t fractionsMemory(const ImageModel& input, const ImageScales& scales, std::size_t threads) {
    const Plan plan = cutRows(scaledExtents(input, scales));
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    return ColumnTables::bytes(scales[COLUMNS]) + atOnce * Scratch::held(ringBytes(scales[COLUMNS].out));
}

}  // namespace rix::geometry
