#pragma once

#include <cstddef>
#include <cstdint>

namespace rix::filtering::smoothing {

/// From this deviation on lines are smoothed recursively: in planes a kernel of 5 s taps a side costs as much there, in
/// volumes more than twice as much.
inline constexpr double smallestRecursiveDeviation = 3.0;
/// Up to this deviation the recursion is computed in `float32`, where images are; beyond in `float64`.
inline constexpr double largestFloatDeviation = 30.0;

/// A Gaussian as the sum of three damped oscillations on either side,
///
///     h(n) = sum over j of (a_j cos(w_j |n| / s) + b_j sin(w_j |n| / s)) exp(-l_j |n| / s),
///
/// divided by its sum: off from the sampled Gaussian by 8e-6 of the peak, and by 8e-6 as the sum of all magnitudes,
/// for every s from 3 on. (Constants fitted for this library; the form is that of R. Deriche, "Recursively implementing
/// the Gaussian and its derivatives", INRIA report 1893, 1993, with three pairs for two.)
///
/// Each oscillation is the real part of a power of a complex pole, kept as u and v = imaginary part times `turn`:
///
///     u' = decay u - v + x,   v' = turn^2 u + decay v.
template <class T>
class GaussianRecursion {
public:
    static constexpr std::size_t pairs = 3;

    /// @param deviation in voxels, at least `smallestRecursiveDeviation`
    explicit GaussianRecursion(double deviation);

    struct Pair {
        T decay{};    ///< exp(-l / s) cos(w / s)
        T turn2{};    ///< (exp(-l / s) sin(w / s))^2
        T steadyU{};  ///< the state after endlessly many ones
        T steadyV{};  ///< of v
        T upwardU{};  ///< weights of the state in the sum over what is before an element, itself included
        T upwardV{};
        T downwardU{};  ///< weights in the sum over what follows it
        T downwardV{};
    };
    const Pair* data() const { return m_pairs; }

    /// Elements that a state takes in before its first result; it begins as if the first of them went on for ever.
    std::size_t warmUp() const { return m_warmUp; }
    /// A line is smoothed in stretches of so many elements, which begin at its multiples, each with states of its own.
    /// A result so depends on where it is in its line and on what is near, and on no other cut.
    std::size_t stretch() const { return m_stretch; }

    /// Magnitudes from here on, and what is no number, can't go through states: they are as good as infinite.
    static T wildFrom();

private:
    Pair m_pairs[pairs];
    std::size_t m_warmUp;
    std::size_t m_stretch;
};

}  // namespace rix::filtering::smoothing
