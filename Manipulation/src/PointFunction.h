#pragma once

#include <cstddef>

#include <rix/access/FunctionRef.h>
#include <rix/access/Pieces.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/image/ImageModel.h>

namespace rix::manipulation {

/// A function of one sample that is computed of rows of reals; `out` may be `in`. Of `float32` images it is computed in
/// single precision, unless the output has more digits than that; of all others in double precision.
struct PointFunction {
    access::FunctionRef<void(const float* in, float* out, std::size_t count)> ofFloats;
    access::FunctionRef<void(const double* in, double* out, std::size_t count)> ofDoubles;
    double nanosecondsPerVoxel;  ///< rough cost in double precision
};

/// Replaces all samples of an image by the function of them, in the type of the output: rounded to the nearest integer,
/// ties to even, and clamped; NaN becomes 0 in an integer type. Images of 8 bits, and large ones of 16 bits where the
/// function takes long, go through a table of the function of all values.
/// @param inputIsBinary whether the input counts as 0 and 1
void applyFunction(BaseAlgorithm& algorithm, const ImageModel& input, bool inputIsBinary, ImageModel& output,
                   OptimLevelType level, const PointFunction& function);

/// The same for `rows(in, out, count)`, which takes both precisions.
template <class Rows>
void applyFunction(BaseAlgorithm& algorithm, const ImageModel& input, bool inputIsBinary, ImageModel& output,
                   OptimLevelType level, double nanosecondsPerVoxel, const Rows& rows) {
    const auto floats = [&](const float* in, float* out, std::size_t count) { rows(in, out, count); };
    const auto doubles = [&](const double* in, double* out, std::size_t count) { rows(in, out, count); };
    applyFunction(algorithm, input, inputIsBinary, output, level, {floats, doubles, nanosecondsPerVoxel});
}

/// Peak bytes of working memory of a pass from one image to another.
std::size_t functionMemory(std::size_t threads);

using algorithms::isBinary;

template <class Algorithm>
std::size_t pointMemory(const Algorithm& algorithm) {
    return functionMemory(algorithm.getMaximumThreads());
}

}  // namespace rix::manipulation
