#pragma once

#include <rix/individual_analysis/Quantity.h>

#include "Int128.h"

namespace rix::individual_analysis {

/// Sums of products of two coordinates, exact.
struct SecondMoments {
    Int128 xx = 0, yy = 0, zz = 0, xy = 0, xz = 0, yz = 0;
};

class SecondMomentsQuantity : public SumsOfObjects<SecondMomentsQuantity, SecondMoments> {
public:
    static const QuantityInfo info;

    explicit SecondMomentsQuantity(QuantityTable& /*table*/) {}

    void add(const RunLine& line) override;
    static void joinValues(SecondMoments& left, const SecondMoments& right);
};

}  // namespace rix::individual_analysis
