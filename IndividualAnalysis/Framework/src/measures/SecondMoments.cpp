#include "Measures.h"

#include <array>

#include "quantities/SecondMomentsQuantity.h"

namespace rix::individual_analysis {

namespace {

/// The centred sums come from exact integer sums about a whole number near the mean, so that no digits are lost for
/// objects far from the origin; only the fraction that is left is subtracted in floating point.
double covariance(const ShapeSums& shape, Int128 products, std::size_t i, std::size_t j) {
    const Int128 count = shape.count;
    const Int128 sumI = shape.position[i];
    const Int128 sumJ = shape.position[j];
    const Int128 nearI = (2 * sumI + count) / (2 * count);
    const Int128 nearJ = (2 * sumJ + count) / (2 * count);
    const auto n = static_cast<double>(shape.count);
    const auto about = static_cast<double>(products - nearI * sumJ - nearJ * sumI + count * nearI * nearJ);
    const double restI = static_cast<double>(sumI - count * nearI) / n;
    const double restJ = static_cast<double>(sumJ - count * nearJ) / n;
    return about / n - restI * restJ;
}

void compute(const ObjectView& object, std::span<double> values) {
    struct Pair {
        std::size_t i;
        std::size_t j;
        Int128 products;
    };
    const SecondMoments& sums = object.gathered<SecondMomentsQuantity>();
    const std::array<Pair, 6> pairs{
        {{0, 0, sums.xx}, {1, 1, sums.yy}, {2, 2, sums.zz}, {0, 1, sums.xy}, {0, 2, sums.xz}, {1, 2, sums.yz}}};
    std::size_t next = 0;
    for (const Pair& pair : pairs) {
        if (pair.j < object.axes()) {
            const double ownMoment = pair.i == pair.j ? 1.0 / 12.0 : 0.0;  // of the pixel about its centre
            values[next++] = (covariance(object.shape(), pair.products, pair.i, pair.j) + ownMoment) *
                             object.spacing(pair.i) * object.spacing(pair.j);
        }
    }
}

constexpr vessel::ColumnType real = vessel::ColumnType::REAL;

}  // namespace

// Of the union of the pixels, not of their centres: exact for upright boxes (side^2 / 12), and one pixel has the
// moments of its own rectangle. Unequal spacing: exact. Discs of radius 5 pixels and more: r^2 / 4 within 12 %, mean
// within 1.2 %, from 15 on within 3.5 %.
const MeasureDefinition secondMomentsDefinition{
    .name = "SecondMoments",
    .description =
        "Central second moments of the object divided by its size: the mean product of two distances from the "
        "centre.",
    .quantities = {&SecondMomentsQuantity::info},
    .values = {{"XX", "Columns.", {.length = 2}},
               {"YY", "Rows.", {.length = 2}},
               {"ZZ", "Planes.", {.length = 2}, real, Existence::Only3d},
               {"XY", "Columns and rows.", {.length = 2}},
               {"XZ", "Columns and planes.", {.length = 2}, real, Existence::Only3d},
               {"YZ", "Rows and planes.", {.length = 2}, real, Existence::Only3d}},
    .compute = &compute,
};

}  // namespace rix::individual_analysis
