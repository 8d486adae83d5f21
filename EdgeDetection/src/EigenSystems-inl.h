// Eigenvalues and -vectors of symmetric matrices of 2 and 3 rows in closed form. Included once a pass by files of
// kernels.

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

/// Eigenvalues that ascend by magnitude, with their vectors of length 1.
struct EigenSystem {
    double values[3];
    double vectors[3][3];
};

/// Of {{a, b}, {b, c}}: the mean of both values, and half their difference; the vector of the greater one.
struct PlaneSystem {
    double mean;
    double half;
    double x;
    double y;
};
HWY_INLINE PlaneSystem planeSystem(double a, double b, double c) {
    const double d = 0.5 * (a - c);
    const double half = __builtin_sqrt(d * d + b * b);
    // The longer of both expressions for the vector: nothing cancels in it.
    const double x = d >= 0.0 ? half + d : b;
    const double y = d >= 0.0 ? b : half - d;
    const double length = __builtin_sqrt(x * x + y * y);
    const bool isRound = !(length > 0.0);
    return {0.5 * (a + c), half, isRound ? 1.0 : x / length, isRound ? 0.0 : y / length};
}

/// Lets the first component that is not 0 be positive.
HWY_INLINE void turn(double* vector, std::size_t n) {
    double sign = 1.0;
    for (std::size_t i = n; i-- > 0;) {
        sign = vector[i] != 0.0 ? (vector[i] < 0.0 ? -1.0 : 1.0) : sign;
    }
    for (std::size_t i = 0; i < n; ++i) {
        vector[i] = vector[i] == 0.0 ? 0.0 : vector[i] * sign;
    }
}

HWY_INLINE bool isBefore(double a, double b) {
    const double sizeA = __builtin_fabs(a);
    const double sizeB = __builtin_fabs(b);
    return sizeA < sizeB || (sizeA == sizeB && a < b);
}

HWY_INLINE void exchange(EigenSystem& system, std::size_t i, std::size_t k) {
    if (isBefore(system.values[k], system.values[i])) {
        const double value = system.values[i];
        system.values[i] = system.values[k];
        system.values[k] = value;
        for (std::size_t a = 0; a < 3; ++a) {
            const double part = system.vectors[i][a];
            system.vectors[i][a] = system.vectors[k][a];
            system.vectors[k][a] = part;
        }
    }
}

HWY_INLINE EigenSystem eigenSystem2(double xx, double xy, double yy) {
    const PlaneSystem plane = planeSystem(xx, xy, yy);
    EigenSystem system{{plane.mean + plane.half, plane.mean - plane.half, 0.0},
                       {{plane.x, plane.y, 0.0}, {-plane.y, plane.x, 0.0}, {0.0, 0.0, 0.0}}};
    exchange(system, 0, 1);
    turn(system.vectors[0], 2);
    turn(system.vectors[1], 2);
    return system;
}

HWY_INLINE void crossed(const double* a, const double* b, double* out) {
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
}
HWY_INLINE double dotted(const double* a, const double* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// The value farthest from the others is the root of t^3 - 3 t = 2 r that lies by itself, found by Newton's steps from
/// above, which approach it from one side; its vector is a cross product of rows, and what is left a plane's system (as
/// D. Eberly, "A robust eigensolver for 3x3 symmetric matrices", 2014, divides the problem). So values that are equal
/// or nearly so are as exact as others.
/// @param m xx, xy, xz, yy, yz, zz
HWY_INLINE EigenSystem eigenSystem3(const double* m) {
    double largest = 0.0;
    for (std::size_t i = 0; i < 6; ++i) {
        const double size = __builtin_fabs(m[i]);
        largest = size > largest || size != size ? size : largest;
    }
    const double scale = largest > 0.0 ? largest : 1.0;
    const double a[3][3] = {{m[0] / scale, m[1] / scale, m[2] / scale},
                            {m[1] / scale, m[3] / scale, m[4] / scale},
                            {m[2] / scale, m[4] / scale, m[5] / scale}};
    const double mean = (a[0][0] + a[1][1] + a[2][2]) / 3.0;
    const double d[3] = {a[0][0] - mean, a[1][1] - mean, a[2][2] - mean};
    const double outside = a[0][1] * a[0][1] + a[0][2] * a[0][2] + a[1][2] * a[1][2];
    const double width = __builtin_sqrt((d[0] * d[0] + d[1] * d[1] + d[2] * d[2] + 2.0 * outside) / 6.0);
    const double known = width == width ? mean : width;  // NaN anywhere makes all values NaN
    EigenSystem system{{known, known, known}, {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}};
    if (width > 1e-14) {
        const double determinant = d[0] * (d[1] * d[2] - a[1][2] * a[1][2]) -
                                   a[0][1] * (a[0][1] * d[2] - a[1][2] * a[0][2]) +
                                   a[0][2] * (a[0][1] * a[1][2] - d[1] * a[0][2]);
        const double r = 0.5 * determinant / (width * width * width);
        const double size = __builtin_fabs(r);
        const double right = 2.0 * (size < 1.0 ? size : 1.0);
        double t = 2.0;
        for (int i = 0; i < 6; ++i) {
            t -= (t * (t * t - 3.0) - right) / (3.0 * (t * t - 1.0));
        }
        const double value = mean + (r < 0.0 ? -width : width) * t;
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
        double* const v = system.vectors[0];
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
        double av[3];
        for (std::size_t i = 0; i < 3; ++i) {
            au[i] = dotted(a[i], u);
            aw[i] = dotted(a[i], w);
            av[i] = dotted(a[i], v);
        }
        const PlaneSystem plane = planeSystem(dotted(u, au), dotted(u, aw), dotted(w, aw));
        system.values[0] = dotted(v, av);
        system.values[1] = plane.mean + plane.half;
        system.values[2] = plane.mean - plane.half;
        for (std::size_t k = 0; k < 3; ++k) {
            system.vectors[1][k] = plane.x * u[k] + plane.y * w[k];
            system.vectors[2][k] = plane.x * w[k] - plane.y * u[k];
        }
    }
    for (double& value : system.values) {
        value *= scale;
    }
    exchange(system, 0, 1);
    exchange(system, 1, 2);
    exchange(system, 0, 1);
    for (auto& vector : system.vectors) {
        turn(vector, 3);
    }
    return system;
}

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
