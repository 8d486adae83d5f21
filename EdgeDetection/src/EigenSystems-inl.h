// Eigenvectors of symmetric matrices of 2 and 3 rows in closed form, of which the eigenvalues are known: so these are
// the same whether vectors are wanted or not. Included once a pass by files of kernels.

#if defined(RIX_EDGE_EIGEN_SYSTEMS) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_EDGE_EIGEN_SYSTEMS
#undef RIX_EDGE_EIGEN_SYSTEMS
#else
#define RIX_EDGE_EIGEN_SYSTEMS
#endif

#include <cstddef>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::edge_detection::HWY_NAMESPACE {

/// Of {{a, b}, {b, c}}: the vector of the greater value; the other one is a quarter turn from it.
HWY_INLINE void planeVector(double a, double b, double c, double& x, double& y) {
    const double difference = 0.5 * (a - c);
    const double sizeD = __builtin_fabs(difference);
    const double sizeB = __builtin_fabs(b);
    const double large = sizeD > sizeB ? sizeD : sizeB;
    if (!(large > 0.0)) {
        x = 1.0;
        y = 0.0;
        return;
    }
    // By the larger part, so that no square is too great or too small.
    const double d = difference / large;
    const double e = b / large;
    const double half = __builtin_sqrt(d * d + e * e);
    // The longer of both expressions for the vector: nothing cancels in it.
    x = d >= 0.0 ? half + d : e;
    y = d >= 0.0 ? e : half - d;
    const double length = __builtin_sqrt(x * x + y * y);
    x /= length;
    y /= length;
}

/// Writes a vector so that its first component that is not 0 is positive.
HWY_INLINE void writeTurned(const double* vector, std::size_t n, double* out) {
    double sign = 1.0;
    for (std::size_t i = n; i-- > 0;) {
        sign = vector[i] != 0.0 ? (vector[i] < 0.0 ? -1.0 : 1.0) : sign;
    }
    for (std::size_t i = 0; i < n; ++i) {
        out[i] = vector[i] == 0.0 ? 0.0 : vector[i] * sign;
    }
}

/// How many of the values are below this one, of equal ones those before it.
HWY_INLINE std::size_t rankOf(const double* values, std::size_t n, std::size_t i) {
    std::size_t rank = 0;
    for (std::size_t k = 0; k < n; ++k) {
        rank += values[k] < values[i] || (k < i && !(values[i] < values[k])) ? 1 : 0;
    }
    return rank;
}

/// @param m xx, xy, yy  @param values that ascend by magnitude  @param vectors of length 1, in their order
HWY_INLINE void eigenVectors2(const double* m, const double* values, double (*vectors)[3]) {
    double x = 0.0;
    double y = 0.0;
    planeVector(m[0], m[1], m[2], x, y);
    const double ascending[2][2] = {{-y, x}, {x, y}};
    for (std::size_t i = 0; i < 2; ++i) {
        writeTurned(ascending[rankOf(values, 2, i)], 2, vectors[i]);
    }
}

HWY_INLINE void crossed(const double* a, const double* b, double* out) {
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
}
HWY_INLINE double dotted(const double* a, const double* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The vector of the value farthest from the others is a cross product of rows, and what is left a matrix in the plane
/// across it (as D. Eberly, "A robust eigensolver for 3x3 symmetric matrices", 2014, divides the problem). So vectors
/// of values that are equal or nearly so are as exact as others.
/// @param m xx, xy, xz, yy, yz, zz  @param values that ascend by magnitude  @param vectors of length 1, in their order
HWY_INLINE void eigenVectors3(const double* m, const double* values, double (*vectors)[3]) {
    double ascending[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
    double largest = 0.0;
    for (std::size_t i = 0; i < 6; ++i) {
        const double size = __builtin_fabs(m[i]);
        largest = size > largest ? size : largest;
    }
    const double scale = largest > 0.0 ? largest : 1.0;
    std::size_t ranks[3];
    double known[3] = {};
    for (std::size_t i = 0; i < 3; ++i) {
        ranks[i] = rankOf(values, 3, i);
        known[ranks[i]] = values[i] / scale;
    }
    if (known[2] - known[0] > 2e-14) {
        const double a[3][3] = {{m[0] / scale, m[1] / scale, m[2] / scale},
                                {m[1] / scale, m[3] / scale, m[4] / scale},
                                {m[2] / scale, m[4] / scale, m[5] / scale}};
        const bool isHighest = known[2] - known[1] > known[1] - known[0];
        const double value = isHighest ? known[2] : known[0];
        const double rows[3][3] = {{a[0][0] - value, a[0][1], a[0][2]},
                                   {a[0][1], a[1][1] - value, a[1][2]},
                                   {a[0][2], a[1][2], a[2][2] - value}};
        double best[3] = {1.0, 0.0, 0.0};
        double longest = 0.0;
        for (std::size_t i = 0; i < 3; ++i) {
            double cross[3];
            crossed(rows[i], rows[(i + 1) % 3], cross);
            const double length = dotted(cross, cross);
            if (length > longest) {
                longest = length;
                for (std::size_t k = 0; k < 3; ++k) {
                    best[k] = cross[k];
                }
            }
        }
        const double length = __builtin_sqrt(dotted(best, best));
        double* const v = ascending[isHighest ? 2 : 0];
        for (std::size_t k = 0; k < 3; ++k) {
            v[k] = best[k] / length;
        }
        // Two directions across it, and the matrix in their plane.
        const bool isAlongX = __builtin_fabs(v[0]) > __builtin_fabs(v[1]);
        const double across =
            isAlongX ? __builtin_sqrt(v[0] * v[0] + v[2] * v[2]) : __builtin_sqrt(v[1] * v[1] + v[2] * v[2]);
        const double u[3] = {isAlongX ? -v[2] / across : 0.0, isAlongX ? 0.0 : v[2] / across,
                             isAlongX ? v[0] / across : -v[1] / across};
        double w[3];
        crossed(v, u, w);
        double au[3];
        double aw[3];
        for (std::size_t i = 0; i < 3; ++i) {
            au[i] = dotted(a[i], u);
            aw[i] = dotted(a[i], w);
        }
        double x = 0.0;
        double y = 0.0;
        planeVector(dotted(u, au), dotted(u, aw), dotted(w, aw), x, y);
        double* const higher = ascending[isHighest ? 1 : 2];
        double* const lower = ascending[isHighest ? 0 : 1];
        for (std::size_t k = 0; k < 3; ++k) {
            higher[k] = x * u[k] + y * w[k];
            lower[k] = x * w[k] - y * u[k];
        }
    }
    for (std::size_t i = 0; i < 3; ++i) {
        writeTurned(ascending[ranks[i]], 3, vectors[i]);
    }
}

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
