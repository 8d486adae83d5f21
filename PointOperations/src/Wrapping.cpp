#include "Wrapping.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>

#include <rix/access/Joins.h>
#include <rix/access/Rows.h>
#include <rix/access/SampleCast.h>
#include <rix/access/VoxelTypeLists.h>

namespace rix::point_operations {

namespace {

using Operators = ArithmeticOperators;
using Operator = ArithmeticOperators::ArithmeticOperatorType;
using access::ExecutionContext;

/// What the samples of an image can be.
struct Range {
    std::int64_t least;
    std::int64_t most;
};

/// None for real and complex types.
std::optional<Range> rangeOf(VoxelTypes type) {
    std::optional<Range> range;
    if (access::contains(access::Integers{}, type)) {
        access::dispatch(access::Integers{}, type, [&](auto tag) {
            using Limits = std::numeric_limits<typename decltype(tag)::type>;
            range = Range{Limits::min(), Limits::max()};
        });
    }
    return range;
}

std::optional<Range> rangeOf(const ImageModel& image) {
    return image.getInterpretation() == RIX_BINARY ? Range{0, 1} : rangeOf(image.getVoxelType());
}

bool isWithin(const Range& inner, const Range& outer) {
    return inner.least >= outer.least && inner.most <= outer.most;
}

/// What an operator makes of two whole numbers, if that fits 64 bits.
bool combineExactly(Operator op, std::int64_t a, std::int64_t b, std::int64_t& result) {
    switch (op) {
        case Operators::ADD: return !__builtin_add_overflow(a, b, &result);
        case Operators::SUBTRACT: return !__builtin_sub_overflow(a, b, &result);
        case Operators::MULTIPLY: return !__builtin_mul_overflow(a, b, &result);
        case Operators::DIVIDE: result = b == 0 ? 0 : a / b; return true;
        case Operators::MINIMUM: result = std::min(a, b); return true;
        default: result = std::max(a, b); return true;
    }
}

/// Whether the result in an integer type T of at most 32 bits differs from the exact one.
/// @param operand the second number as the operation has it
template <class T>
bool wraps(Operator op, std::int64_t a, std::int64_t b, T operand) {
    std::int64_t exact = 0;
    std::int64_t inType = 0;
    return !combineExactly(op, a, b, exact) || !combineExactly(op, static_cast<T>(a), operand, inType) ||
           static_cast<T>(inType) != exact;
}

/// Whether operands of these ranges can wrap: results are extreme where operands are, as long as these fit the type.
template <class T>
bool canWrap(Operator op, const Range& a, const Range& b) {
    const Range type{std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
    if (!isWithin(a, type) || !isWithin(b, type)) {
        return true;
    }
    for (const std::int64_t x : {a.least, a.most}) {
        for (const std::int64_t y : {b.least, b.most, std::clamp<std::int64_t>(-1, b.least, b.most)}) {
            if (wraps(op, x, y, static_cast<T>(y))) {
                return true;
            }
        }
    }
    return false;
}

/// For how many voxels `wraps(a, b)` holds. Double precision has every integer of 32 bits.
/// @param second of the same extents; null for a second operand that does not matter
template <class Wraps>
std::uint64_t countVoxels(ExecutionContext& context, const ImageModel& first, const ImageModel* second,
                          const Wraps& wraps) {
    constexpr double nanosecondsPerVoxel = 1.0;
    using Reader = access::RowReader<double>;
    std::uint64_t count = 0;
    const auto open = [&](const access::Plan& plan) {
        return [a = Reader(first, plan),
                b = second != nullptr ? std::optional<Reader>(std::in_place, *second, plan) : std::nullopt,
                &wraps](std::uint64_t& partial, const access::RowSegment& segment) mutable {
            const double* const x = a.read(segment);
            const double* const y = b ? b->read(segment) : x;
            for (std::size_t i = 0; i < segment.count; ++i) {
                partial += wraps(x[i], y[i]) ? 1U : 0U;
            }
        };
    };
    const auto countIn = [&](std::initializer_list<const ImageModel*> images) {
        access::accumulateRows<std::uint64_t>(
            context, images, nanosecondsPerVoxel, [] { return std::make_unique<std::uint64_t>(0); }, open,
            [&](std::uint64_t partial) { count += partial; });
    };
    second != nullptr ? countIn({&first, second}) : countIn({&first});
    return count;
}

/// Operands beside an integer type are whole.
template <class Count>
std::uint64_t countIfPossible(Operator op, const std::optional<Range>& a, const Range& b, VoxelTypes type,
                              const Count& count) {
    std::uint64_t wrapped = 0;
    if (a && rangeOf(type)) {
        access::dispatch(access::Integers{}, type, [&](auto tag) {
            using T = typename decltype(tag)::type;
            if (canWrap<T>(op, *a, b)) {
                wrapped = count(tag);
            }
        });
    }
    return wrapped;
}

}  // namespace

std::uint64_t countWrapped(ExecutionContext& context, const ImageModel& first, const ImageModel& second, Operator op,
                           VoxelTypes type) {
    const auto range = rangeOf(second);
    return !range ? 0 : countIfPossible(op, rangeOf(first), *range, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        return countVoxels(context, first, &second, [op](double a, double b) {
            const auto operand = static_cast<std::int64_t>(b);
            return wraps(op, static_cast<std::int64_t>(a), operand, static_cast<T>(operand));
        });
    });
}

std::uint64_t countWrapped(ExecutionContext& context, const ImageModel& image, double value, Operator op,
                           VoxelTypes type) {
    if (!rangeOf(type)) {
        return 0;  // the value may be anything then
    }
    const auto whole = static_cast<std::int64_t>(value);
    return countIfPossible(op, rangeOf(image), {whole, whole}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T operand = access::castSample<T>(value);
        return countVoxels(context, image, nullptr, [op, whole, operand](double a, double) {
            return wraps(op, static_cast<std::int64_t>(a), whole, operand);
        });
    });
}

std::uint64_t countWrappedCasts(ExecutionContext& context, const ImageModel& image, VoxelTypes type) {
    const auto to = rangeOf(type);
    const auto from = rangeOf(image);
    if (!to || (from && isWithin(*from, *to))) {
        return 0;
    }
    const auto below = static_cast<double>(to->least) - 1.0;
    const auto above = static_cast<double>(to->most) + 1.0;
    return countVoxels(context, image, nullptr,
                       [=](double value, double) { return !(value > below && value < above); });
}

}  // namespace rix::point_operations
