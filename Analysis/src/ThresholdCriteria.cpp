#include <rix/analysis/ThresholdCriteria.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <rix/access/MemoryAccount.h>
#include <rix/exceptions/Exception.h>

#include "Int128.h"

namespace rix::analysis::details {

namespace {

/// A class with a count. Empty classes change neither side, and so no score: the first class of a maximum is never one.
struct Occupied {
    std::size_t index;
    std::uint64_t count;
};

access::CountedVector<Occupied> occupiedClasses(const math::Histogram& histogram) {
    access::CountedVector<Occupied> occupied;
    const auto counts = histogram.getCounts();
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] > 0) {
            occupied.push_back({i, counts[i]});
        }
    }
    return occupied;
}

long double real(Int128 integer) {
    return static_cast<long double>(integer);
}

/// The class that the dark side ends with where the variance between both sides is largest.
/// @tparam Integer holds the square of all counts times the greatest index
template <class Integer>
std::size_t lastDarkClass(const access::CountedVector<Occupied>& occupied) {
    // The score does not depend on where x starts, and only in scale on its unit, so the index of a class serves as x:
    // N1 N2 (m1 - m2)^2 = (N S1 - N1 S)^2 / (N1 N2), S1 and S being sums of x over the dark side and over all.
    Integer all = 0;
    Integer sum = 0;
    for (const Occupied& x : occupied) {
        all += static_cast<Integer>(x.count);
        sum += static_cast<Integer>(x.count) * static_cast<Integer>(x.index);
    }
    const auto scoreIn = [all](auto difference, auto dark) {
        using Real = decltype(difference);
        return difference / dark * (difference / (static_cast<Real>(all) - dark));
    };
    const auto forEachSide = [&](const auto& side) {
        Integer dark = 0;
        Integer darkSum = 0;
        for (std::size_t i = 0; i + 1 < occupied.size(); ++i) {
            dark += static_cast<Integer>(occupied[i].count);
            darkSum += static_cast<Integer>(occupied[i].count) * static_cast<Integer>(occupied[i].index);
            const Integer difference = all * darkSum - dark * sum;
            side(i, difference, dark, scoreIn(static_cast<double>(difference), static_cast<double>(dark)));
        }
    };
    // Most classes are far from the largest score, and need no more than doubles to be seen so. To leave them out
    // changes nothing: by what a score has to exceed another, times all classes, is far below what they are short of.
    double largest = 0.0;
    forEachSide([&](std::size_t, Integer, Integer, double rough) { largest = std::max(largest, rough); });
    const double close = largest * (1.0 - 1e-12);
    constexpr long double tie = 1.0L + 0x1p-60L;
    std::size_t best = 0;
    long double bestScore = 0.0L;
    forEachSide([&](std::size_t i, Integer difference, Integer dark, double rough) {
        if (rough >= close) {
            const long double score = scoreIn(static_cast<long double>(difference), static_cast<long double>(dark));
            if (score > bestScore * tie) {
                bestScore = score;
                best = occupied[i].index;
            }
        }
    });
    return best;
}

/// A sum that keeps the rounding error of each addition.
class CompensatedSum {
public:
    void add(long double term) {
        const long double sum = m_sum + term;
        m_error += std::abs(m_sum) >= std::abs(term) ? (m_sum - sum) + term : (term - sum) + m_sum;
        m_sum = sum;
    }
    long double value() const { return m_sum + m_error; }

private:
    long double m_sum = 0.0L;
    long double m_error = 0.0L;
};

/// h ln h
long double entropyTerm(std::uint64_t count) {
    const auto h = static_cast<long double>(count);
    return h * std::log(h);
}

}  // namespace

double computeThresholdEntropy(const math::Histogram& histogram) {
    const access::CountedVector<Occupied> occupied = occupiedClasses(histogram);
    if (occupied.empty()) {
        return histogram.getClassStart(0);
    }
    // The sums of the bright sides are taken from the far end: differences from the total would lose what distinguishes
    // the last classes.
    access::CountedVector<long double> brightTerms(occupied.size());
    CompensatedSum bright;
    for (std::size_t i = occupied.size(); i-- > 0;) {
        brightTerms[i] = bright.value();
        bright.add(entropyTerm(occupied[i].count));
    }
    // Scores are below 100 and right to about 1e-17; what differs by less is a tie.
    constexpr long double tie = 1e-16L;
    const std::uint64_t all = histogram.getNbElements();
    std::size_t best = 0;
    long double bestScore = 0.0L;
    bool found = false;
    std::uint64_t dark = 0;
    CompensatedSum darkTerms;
    for (std::size_t i = 0; i + 1 < occupied.size(); ++i) {
        dark += occupied[i].count;
        darkTerms.add(entropyTerm(occupied[i].count));
        const auto n1 = static_cast<long double>(dark);
        const auto n2 = static_cast<long double>(all - dark);
        const long double score = std::log(n1 * n2) - darkTerms.value() / n1 - brightTerms[i] / n2;
        if (!found || score > bestScore + tie) {
            found = true;
            bestScore = score;
            best = occupied[i].index;
        }
    }
    return histogram.getClassStart(best + 1);
}

double computeThresholdFactorization(const math::Histogram& histogram) {
    const access::CountedVector<Occupied> occupied = occupiedClasses(histogram);
    if (occupied.empty()) {
        return histogram.getClassStart(0);
    }
    std::uint64_t all = 0;
    bool isNarrow = true;
    for (const Occupied& x : occupied) {
        isNarrow = isNarrow && !__builtin_add_overflow(all, x.count, &all);
    }
    // The greatest product, N S, is at most N^2 times the greatest index: 128 bits take the time several times.
    constexpr double narrow = 0x1p62;
    const double most =
        static_cast<double>(all) * static_cast<double>(all) * static_cast<double>(occupied.back().index);
    const std::size_t best =
        isNarrow && most < narrow ? lastDarkClass<std::int64_t>(occupied) : lastDarkClass<Int128>(occupied);
    return histogram.getClassStart(best + 1);
}

double computeThresholdMoments(const math::Histogram& histogram) {
    const access::CountedVector<Occupied> occupied = occupiedClasses(histogram);
    // One occupied class: the variance is 0, and exactly so here, as is the second condition of that case.
    if (occupied.size() <= 1) {
        return histogram.getClassStart(0);
    }
    // The dark fraction depends neither on where x starts nor on its unit: x counts classes from one near the mean, so
    // that the central moments follow without cancellation.
    Int128 all = 0;
    Int128 sum = 0;
    for (const Occupied& x : occupied) {
        all += x.count;
        sum += Int128(x.count) * static_cast<Int128>(x.index);
    }
    const Int128 centre = sum / all;
    Int128 sums[3] = {0, 0, 0};
    for (const Occupied& occupiedClass : occupied) {
        const Int128 x = static_cast<Int128>(occupiedClass.index) - centre;
        Int128 term = occupiedClass.count;
        for (Int128& momentSum : sums) {
            term *= x;
            momentSum += term;
        }
    }
    const long double n = real(all);
    const long double m1 = real(sums[0]) / n;
    const long double m2 = real(sums[1]) / n;
    const long double m3 = real(sums[2]) / n;
    const long double variance = m2 - m1 * m1;
    const long double third = m3 - 3.0L * m1 * m2 + 2.0L * m1 * m1 * m1;
    // With moments about the mean the formulas reduce to these; the discriminant is then never negative.
    const long double half = third / (2.0L * variance);
    const long double discriminant = half * half + variance;
    const long double exact = n * (0.5L + half / (2.0L * std::sqrt(discriminant)));
    // Images of two values, and symmetric ones, have a whole number here, which rounding must not truncate away.
    const long double nearest = std::round(exact);
    const long double rounding = n * 0x1p-56L;
    const long double target = std::abs(exact - nearest) <= rounding ? nearest : std::trunc(exact);

    std::uint64_t running = 0;
    for (const Occupied& x : occupied) {
        // A target of 0 is reached by the first class of all, occupied or not.
        const std::size_t reached = target <= 0.0L ? 0 : x.index;
        running += x.count;
        if (static_cast<long double>(running) >= target) {
            return histogram.getClassStart(reached + 1);
        }
    }
    return histogram.getClassStart(histogram.getNbClasses() - 1);
}

double computeThreshold(ThresholdChoices::ThresholdCriterionType criterion, const math::Histogram& histogram) {
    switch (criterion) {
        case ThresholdChoices::ENTROPY: return computeThresholdEntropy(histogram);
        case ThresholdChoices::FACTORISATION: return computeThresholdFactorization(histogram);
        case ThresholdChoices::MOMENTS: return computeThresholdMoments(histogram);
        case ThresholdChoices::ISODATA: break;
    }
    throw InvalidCall("Counts alone give no threshold by this criterion.");
}

double computeThreshold(ThresholdChoices::ThresholdCriterionType criterion, const math::Histogram& histogram,
                        const ImageModel& image, access::ExecutionContext& context, OptimLevelType level) {
    switch (criterion) {
        case ThresholdChoices::ENTROPY:
        case ThresholdChoices::FACTORISATION:
        case ThresholdChoices::MOMENTS: return computeThreshold(criterion, histogram);
        case ThresholdChoices::ISODATA: return computeThresholdIsodata(histogram, image, context, level);
    }
    return 0.0;
}

}  // namespace rix::analysis::details
