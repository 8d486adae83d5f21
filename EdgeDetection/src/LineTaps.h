#pragma once

#include <cstddef>
#include <vector>

namespace rix::edge_detection {

/// The weights of a sum along an axis, out(x) = sum over i of w(i) in(x + i): the half with the middle, w(i) = half[i]
/// for i >= 0. Where they are odd, w(-i) = -w(i) and the middle is 0, so that of a constant exactly 0 remains.
struct LineTaps {
    std::vector<double> half{1.0};
    bool isOdd = false;

    std::size_t reach() const { return half.size() - 1; }
    bool isIdentity() const { return half.size() == 1 && half[0] == 1.0 && !isOdd; }
    bool operator==(const LineTaps& other) const = default;
};

/// The widest Gaussian: its taps are summed one by one.
inline constexpr double largestDeviation = 100.0;

/// The derivative of order 0 to 3 of a Gaussian, sampled up to ceil(5 s) and corrected so that of x^k / k! it is
/// exactly 1 for k = order, and 0 for lower ones. For s = 0 (and, where weights would vanish, below 0.1) what it tends
/// to: the narrowest differences; of order 0 the voxel itself.
LineTaps gaussianTaps(double deviation, std::size_t order);

/// The weights of one after the other.
LineTaps convolved(const LineTaps& a, const LineTaps& b);
LineTaps scaled(LineTaps taps, double factor);

/// How far the widest of some taps reach.
std::size_t gaussianReach(double deviation, std::size_t order);

}  // namespace rix::edge_detection
