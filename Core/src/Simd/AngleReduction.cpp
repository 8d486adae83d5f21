#include <rix/simd/AngleReduction.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace rix::simd {

namespace {

/// The binary digits of 2/pi behind the point, after one word of zeros.
constexpr std::uint64_t twoOverPi[] = {
    0,
    0xa2f9836e4e441529,
    0xfc2757d1f534ddc0,
    0xdb6295993c439041,
    0xfe5163abdebbc561,
    0xb7246e3a424dd2e0,
    0x06492eea09d1921c,
    0xfe1deb1cb129a73e,
    0xe88235f52ebb4484,
    0xe99c7026b45f7e41,
    0x3991d639835339f4,
    0x9c845f8bbdf9283b,
    0x1ff897ffde05980f,
    0xef2f118b5a0a6d1f,
    0x6d367ecf27cb09b7,
    0x4f463f669e5fea2d,
    0x7527bac7ebe5f17b,
    0x3d0739f78a5292ea,
    0x6bfb5fb11f8d5d08,
    0x56033046fc7b6bab,
    0xf0cfbc209af4361d,
    0xa9e391615ee61b08,
};

/// 64 digits from a place on, which is counted from the zeros on.
std::uint64_t digitsFrom(std::size_t place) {
    const std::size_t word = place / 64;
    const std::size_t shift = place % 64;
    return shift == 0 ? twoOverPi[word] : (twoOverPi[word] << shift) | (twoOverPi[word + 1] >> (64 - shift));
}

/// A number of 192 bits, the highest first.
struct Wide {
    std::uint64_t words[3];

    bool isNegative() const { return (words[0] >> 63) != 0; }
    Wide negated() const {
        Wide result{{~words[0], ~words[1], ~words[2] + 1}};
        result.words[1] += result.words[2] == 0 ? 1 : 0;
        result.words[0] += result.words[2] == 0 && result.words[1] == 0 ? 1 : 0;
        return result;
    }
    Wide shifted(std::size_t bits) const {  // below 192
        Wide result{};
        const std::size_t whole = bits / 64;
        const std::size_t part = bits % 64;
        for (std::size_t i = 0; i + whole < 3; ++i) {
            result.words[i] = words[i + whole] << part;
            if (part != 0 && i + whole + 1 < 3) {
                result.words[i] |= words[i + whole + 1] >> (64 - part);
            }
        }
        return result;
    }
    std::size_t leadingZeros() const {
        std::size_t zeros = 0;
        for (const std::uint64_t word : words) {
            zeros += static_cast<std::size_t>(std::countl_zero(word));
            if (word != 0) {
                break;
            }
        }
        return zeros;
    }
};

/// The product of 64 bits and 192, its lowest 192.
Wide product(std::uint64_t factor, const Wide& wide) {
    Wide result{};
    std::uint64_t carry = 0;
    for (std::size_t i = 3; i-- > 0;) {
        const std::uint64_t low = (factor & 0xffffffff) * (wide.words[i] & 0xffffffff);
        const std::uint64_t middleA = (factor >> 32) * (wide.words[i] & 0xffffffff) + (low >> 32);
        const std::uint64_t middleB = (factor & 0xffffffff) * (wide.words[i] >> 32) + (middleA & 0xffffffff);
        const std::uint64_t lowWord = (middleB << 32) | (low & 0xffffffff);
        const std::uint64_t highWord = (factor >> 32) * (wide.words[i] >> 32) + (middleA >> 32) + (middleB >> 32);
        result.words[i] = lowWord + carry;
        carry = highWord + (result.words[i] < lowWord ? 1 : 0);
    }
    return result;
}

}  // namespace

ReducedAngle reduceLargeAngle(double angle) {
    if (!std::isfinite(angle)) {
        constexpr double none = std::numeric_limits<double>::quiet_NaN();
        return {none, none, 0.0};
    }
    const auto bits = std::bit_cast<std::uint64_t>(angle);
    const auto exponent = static_cast<std::ptrdiff_t>((bits >> 52) & 0x7ff) - 1075;  // of the lowest digit
    const std::uint64_t mantissa = (bits & ((std::uint64_t{1} << 52) - 1)) | (std::uint64_t{1} << 52);
    // Digits of 2/pi whose products are multiples of 4 have no part. 192 of those behind them give the quarter turns
    // modulo 4 in two bits, and what is left over to 137 binary places.
    const auto place = static_cast<std::size_t>(exponent + 62);
    const Wide turns = product(mantissa, {{digitsFrom(place), digitsFrom(place + 64), digitsFrom(place + 128)}});
    double quarters = static_cast<double>(turns.words[0] >> 62);
    Wide rest = turns.shifted(2);
    const bool isAboveHalf = rest.isNegative();
    if (isAboveHalf) {  // the next quarter turn is nearer
        rest = rest.negated();
        quarters += 1.0;
    }
    const std::size_t zeros = rest.leadingZeros();
    if (zeros >= 192) {
        return {0.0, 0.0, quarters};
    }
    const Wide leading = rest.shifted(zeros);
    const int scale = -static_cast<int>(zeros);
    // In parts of 28 bits, whose products with the parts of pi/2 below are exact where it matters.
    constexpr std::uint64_t lowest28 = (std::uint64_t{1} << 28) - 1;
    const auto part = [&](std::uint64_t digits, int below) {
        return std::ldexp(static_cast<double>(digits & lowest28), scale - below);
    };
    const double parts[] = {part(leading.words[0] >> 36, 28), part(leading.words[0] >> 8, 56),
                            part((leading.words[0] << 20) | (leading.words[1] >> 44), 84)};
    constexpr double halfPi[] = {0x1.921fb4p+0, 0x1.4442d0p-24, 0x1.8469898cc517p-48};
    const double high = parts[0] * halfPi[0];
    const double middle = parts[0] * halfPi[1];
    const double middle2 = parts[1] * halfPi[0];
    const double low = parts[0] * halfPi[2] + parts[1] * halfPi[1] + parts[2] * halfPi[0];
    const double sum = middle + middle2;
    const double sumRest = (middle - sum) + middle2;  // wrong in the last places only, which `low` has, too
    const double first = high + sum;
    const double second = ((high - first) + sum) + (sumRest + low);
    const double value = first + second;
    const double valueRest = (first - value) + second;
    const bool isNegative = isAboveHalf != (angle < 0.0);
    const double turned = angle < 0.0 ? 4.0 - quarters : quarters;
    return {isNegative ? -value : value, isNegative ? -valueRest : valueRest, turned};
}

}  // namespace rix::simd
