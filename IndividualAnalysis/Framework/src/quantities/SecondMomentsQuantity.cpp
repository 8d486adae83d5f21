#include "SecondMomentsQuantity.h"

#include <rix/individual_analysis/ShapeQuantity.h>

namespace rix::individual_analysis {

namespace {

Int128 sumOfSquaresBelow(std::uint64_t n) {
    return n == 0 ? 0 : Int128{n} * (n - 1) / 2 * (2 * Int128{n} - 1) / 3;
}

}  // namespace

const QuantityInfo SecondMomentsQuantity::info{
    .name = "SecondMoments", .create = &makeQuantity<SecondMomentsQuantity>, .bytesOfObject = sizeof(SecondMoments)};

void SecondMomentsQuantity::add(const RunLine& line) {
    const Int128 y = line.row();
    const Int128 z = line.plane();
    SecondMoments* const all = data();
    for (const Run& run : line.runs()) {
        SecondMoments& sums = all[run.slot];
        const Int128 length = run.end - run.begin;
        const Int128 x = Int128{run.begin} * length + sumBelow(run.end - run.begin);
        sums.xx += sumOfSquaresBelow(run.end) - sumOfSquaresBelow(run.begin);
        sums.xy += x * y;
        sums.yy += length * y * y;
        if (line.plane() > 0) {
            sums.xz += x * z;
            sums.yz += length * y * z;
            sums.zz += length * z * z;
        }
    }
}

void SecondMomentsQuantity::joinValues(SecondMoments& left, const SecondMoments& right) {
    left.xx += right.xx;
    left.yy += right.yy;
    left.zz += right.zz;
    left.xy += right.xy;
    left.xz += right.xz;
    left.yz += right.yz;
}

}  // namespace rix::individual_analysis
