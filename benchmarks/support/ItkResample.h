#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

namespace rix::bench {

/// Where the elements of an image lie in the world; directions are unit vectors, one an axis. An image of one plane is
/// one of two axes, whose world has x and y.
struct WorldGrid {
    std::array<std::size_t, 3> extents;
    std::array<double, 3> spacing;
    std::array<double, 3> origin;
    std::array<std::array<double, 3>, 3> directions;

    std::size_t count() const { return extents[0] * extents[1] * extents[2]; }
    std::size_t axes() const { return extents[2] > 1 ? 3 : 2; }
};

/// What is resampled: onto another grid, of what lies where the rows of an affine map, shift last, lead from its world.
struct Resampling {
    const float* samples;
    WorldGrid input;
    WorldGrid output;
    std::array<double, 12> matrix;
    int degree;  ///< 0 the nearest element, 1 linear, else that of a B-spline
};

struct ItkResampled {
    std::vector<float> samples;
    /// How many elements the place of each is away from the outermost elements of the input; negative outside.
    std::vector<double> depths;
    /// How far it is away from the next middle between two elements.
    std::vector<double> ties;
};

/// What itk::ResampleImageFilter makes.
ItkResampled itkResampled(const Resampling& resampling);

/// A run of it, coefficients of splines included.
std::function<void()> itkResampling(const Resampling& resampling, int threads);

}  // namespace rix::bench
