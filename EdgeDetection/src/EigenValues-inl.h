// Eigenvalues alone of symmetric matrices of 2 and 3 rows, a vector of matrices at a time, without a branch. Included
// once a pass by files of kernels.

#if defined(RIX_EDGE_EIGEN_VALUES) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_EDGE_EIGEN_VALUES
#undef RIX_EDGE_EIGEN_VALUES
#else
#define RIX_EDGE_EIGEN_VALUES
#endif

#include <cstddef>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::edge_detection::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Lets the first be before the second: by magnitude, of equal ones the lower one.
template <class V>
HWY_INLINE void orderByMagnitude(V& a, V& b) {
    const auto sizeA = hn::Abs(a);
    const auto sizeB = hn::Abs(b);
    const auto isAfter = hn::Or(hn::Lt(sizeB, sizeA), hn::And(hn::Eq(sizeA, sizeB), hn::Lt(b, a)));
    const V first = hn::IfThenElse(isAfter, b, a);
    b = hn::IfThenElse(isAfter, a, b);
    a = first;
}

/// @param m xx, xy, yy
template <class D, class V>
HWY_INLINE void eigenValues2(D d, const V* m, V* values) {
    const V half = hn::Set(d, 0.5);
    const V mean = hn::Mul(half, hn::Add(m[0], m[2]));
    // By the larger part, so that no square is too great or too small.
    const V x = hn::Abs(hn::Mul(half, hn::Sub(m[0], m[2])));
    const V y = hn::Abs(m[1]);
    const V large = hn::Max(x, y);
    const V isLarge = hn::IfThenElse(hn::Gt(large, hn::Zero(d)), large, hn::Set(d, 1.0));
    const V ratioX = hn::Div(x, isLarge);
    const V ratioY = hn::Div(y, isLarge);
    const V root = hn::Mul(isLarge, hn::Sqrt(hn::Add(hn::Mul(ratioX, ratioX), hn::Mul(ratioY, ratioY))));
    values[0] = hn::Add(mean, root);
    values[1] = hn::Sub(mean, root);
    orderByMagnitude(values[0], values[1]);
}

/// The values of E = (A - mean) / width add up to 0 and their squares to 6, so that they are the roots of
/// t^3 - 3 t = 2 r. The one that lies by itself, for |r|, is a polynomial off by less than 3e-8, which one of Newton's
/// steps makes exact; the others are as far apart as the part of E^2 that is across 1 and E tells, whose rounding stays
/// in proportion also where they are equal (r alone would tell half of the digits).
/// @param m xx, xy, xz, yy, yz, zz
template <class D, class V>
HWY_INLINE void eigenValues3(D d, const V* m, V* values) {
    constexpr double coefficients[] = {0x1.bb67aef1ce91fp+0,  0x1.55547b6abd793p-2,  -0x1.89d982ecf7430p-4,
                                       0x1.8fa512b3ecf00p-5,  -0x1.d43d8ec992000p-6, 0x1.f649a55e5e000p-7,
                                       -0x1.7f19ead7d0000p-8, 0x1.1c7b931500000p-10};
    const V one = hn::Set(d, 1.0);
    const V two = hn::Set(d, 2.0);
    const V three = hn::Set(d, 3.0);
    V largest = hn::Abs(m[0]);
    for (std::size_t i = 1; i < 6; ++i) {
        largest = hn::Max(largest, hn::Abs(m[i]));
    }
    const V scale = hn::IfThenElse(hn::Gt(largest, hn::Zero(d)), largest, one);
    const V toScale = hn::Div(one, hn::Max(scale, hn::Set(d, 0x1p-1000)));
    const V xx = hn::Mul(m[0], toScale);
    const V xy = hn::Mul(m[1], toScale);
    const V xz = hn::Mul(m[2], toScale);
    const V yy = hn::Mul(m[3], toScale);
    const V yz = hn::Mul(m[4], toScale);
    const V zz = hn::Mul(m[5], toScale);
    const V mean = hn::Mul(hn::Add(hn::Add(xx, yy), zz), hn::Set(d, 1.0 / 3.0));
    const V dx = hn::Sub(xx, mean);
    const V dy = hn::Sub(yy, mean);
    const V dz = hn::Sub(zz, mean);
    const V outside = hn::Add(hn::Add(hn::Mul(xy, xy), hn::Mul(xz, xz)), hn::Mul(yz, yz));
    const V inside = hn::Add(hn::Add(hn::Mul(dx, dx), hn::Mul(dy, dy)), hn::Mul(dz, dz));
    const V width = hn::Sqrt(hn::Mul(hn::Add(inside, hn::Mul(two, outside)), hn::Set(d, 1.0 / 6.0)));
    const V toWidth = hn::IfThenElseZero(hn::Gt(width, hn::Set(d, 1e-100)), hn::Div(one, width));
    const V a = hn::Mul(dx, toWidth);
    const V b = hn::Mul(dy, toWidth);
    const V c = hn::Mul(dz, toWidth);
    const V e = hn::Mul(xy, toWidth);
    const V f = hn::Mul(xz, toWidth);
    const V g = hn::Mul(yz, toWidth);
    const V ee = hn::Mul(e, e);
    const V ff = hn::Mul(f, f);
    const V gg = hn::Mul(g, g);
    const V first = hn::Mul(a, hn::Sub(hn::Mul(b, c), gg));
    const V second = hn::Mul(e, hn::Sub(hn::Mul(f, g), hn::Mul(e, c)));
    const V third = hn::Mul(f, hn::Sub(hn::Mul(e, g), hn::Mul(b, f)));
    const V r = hn::Mul(hn::Set(d, 0.5), hn::Add(hn::Add(first, second), third));
    const V size = hn::Min(hn::Abs(r), one);
    V t = hn::Set(d, coefficients[7]);
    for (std::size_t i = 7; i-- > 0;) {
        t = hn::Add(hn::Mul(t, size), hn::Set(d, coefficients[i]));
    }
    const V slope = hn::Mul(three, hn::Sub(hn::Mul(t, t), one));
    const V value = hn::Sub(hn::Mul(t, hn::Sub(hn::Mul(t, t), three)), hn::Mul(two, size));
    t = hn::Sub(t, hn::Div(value, slope));
    // E^2 - 2 - r E.
    const V qa = hn::Sub(hn::Sub(hn::Add(hn::Add(hn::Mul(a, a), ee), ff), two), hn::Mul(r, a));
    const V qb = hn::Sub(hn::Sub(hn::Add(hn::Add(hn::Mul(b, b), ee), gg), two), hn::Mul(r, b));
    const V qc = hn::Sub(hn::Sub(hn::Add(hn::Add(hn::Mul(c, c), ff), gg), two), hn::Mul(r, c));
    const V qe = hn::Sub(hn::Add(hn::Mul(e, hn::Add(a, b)), hn::Mul(f, g)), hn::Mul(r, e));
    const V qf = hn::Sub(hn::Add(hn::Mul(f, hn::Add(a, c)), hn::Mul(e, g)), hn::Mul(r, f));
    const V qg = hn::Sub(hn::Add(hn::Mul(g, hn::Add(b, c)), hn::Mul(e, f)), hn::Mul(r, g));
    const V ofInside = hn::Add(hn::Add(hn::Mul(qa, qa), hn::Mul(qb, qb)), hn::Mul(qc, qc));
    const V ofOutside = hn::Add(hn::Add(hn::Mul(qe, qe), hn::Mul(qf, qf)), hn::Mul(qg, qg));
    const V across = hn::Sqrt(hn::Add(ofInside, hn::Mul(two, ofOutside)));
    const V apart = hn::Div(hn::Mul(hn::Set(d, 0.70710678118654752), across), hn::Sub(hn::Mul(t, t), one));
    const V alone = hn::CopySign(t, r);
    const V middle = hn::Mul(hn::Set(d, -0.5), alone);
    const V stretch = hn::Mul(width, scale);
    const V center = hn::Mul(mean, scale);
    values[0] = hn::Add(center, hn::Mul(stretch, alone));
    values[1] = hn::Add(center, hn::Mul(stretch, hn::Add(middle, apart)));
    values[2] = hn::Add(center, hn::Mul(stretch, hn::Sub(middle, apart)));
    orderByMagnitude(values[0], values[1]);
    orderByMagnitude(values[1], values[2]);
    orderByMagnitude(values[0], values[1]);
}

}  // namespace rix::edge_detection::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
