#include "WeightedPositionQuantity.h"

#include "gathering/Lines.h"

namespace rix::individual_analysis {

const QuantityInfo WeightedPositionQuantity::info{.name = "WeightedPosition",
                                                  .create = &makeQuantity<WeightedPositionQuantity>,
                                                  .needsIntensity = true,
                                                  .bytesOfObjectAndChannel = sizeof(WeightedPosition)};

WeightedPositionQuantity::WeightedPositionQuantity(QuantityTable& table)
    : SumsOfObjects(table.image().channels), m_runs(table.use<GreyRunsQuantity>()), m_columns(table.image().columns) {
    m_runs.want(RUN_SUM);
}

void WeightedPositionQuantity::add(const RunLine& line) {
    const std::span<const Run> runs = line.runs();
    if (m_moments.data() == nullptr) {
        m_moments = access::Scratch(m_columns * sizeof(double));
    }
    auto* const moments = m_moments.as<double>();
    line.intensity().moments(runs.data(), runs.size(), moments);
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const Run& run = runs[i];
        const double weight =
            m_runs.sums()[i].sum + m_runs.shift(run.slot, line.channel()) * static_cast<double>(run.end - run.begin);
        WeightedPosition& sums = of(run.slot, line.channel());
        sums[0] += moments[i] + weight * run.begin;
        sums[1] += weight * line.row();
        sums[2] += weight * line.plane();
    }
}

void WeightedPositionQuantity::joinValues(WeightedPosition& left, const WeightedPosition& right) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        left[axis] += right[axis];
    }
}

}  // namespace rix::individual_analysis
