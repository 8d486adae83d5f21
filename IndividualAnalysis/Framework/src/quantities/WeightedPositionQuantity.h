#pragma once

#include <array>

#include <rix/access/Scratch.h>
#include <rix/individual_analysis/Quantity.h>

#include "GreyRunsQuantity.h"

namespace rix::individual_analysis {

/// Sums of v times column, row and plane.
using WeightedPosition = std::array<double, 3>;

class WeightedPositionQuantity : public SumsOfObjects<WeightedPositionQuantity, WeightedPosition> {
public:
    static const QuantityInfo info;

    explicit WeightedPositionQuantity(QuantityTable& table);

    void add(const RunLine& line) override;
    void finishBand() override { m_moments = access::Scratch(); }
    static void joinValues(WeightedPosition& left, const WeightedPosition& right);

private:
    GreyRunsQuantity& m_runs;
    std::size_t m_columns;
    access::Scratch m_moments;
};

}  // namespace rix::individual_analysis
