#include "GreyRunsQuantity.h"

#include <cmath>
#include <limits>

#include "gathering/Lines.h"

namespace rix::individual_analysis {

const QuantityInfo GreyRunsQuantity::info{.name = "GreyRuns",
                                          .create = &makeQuantity<GreyRunsQuantity>,
                                          .needsIntensity = true,
                                          .bytesOfObjectAndChannel = sizeof(double)};

void GreyRunsQuantity::grow(std::size_t objects) {
    const std::size_t known = m_shifts.size();
    if ((m_parts & RUN_SUM) != 0) {
        lengthen(m_shifts, objects * m_channels);
        std::fill(m_shifts.begin() + static_cast<std::ptrdiff_t>(known), m_shifts.end(),
                  std::numeric_limits<double>::quiet_NaN());
    }
}

void GreyRunsQuantity::add(const RunLine& line) {
    const std::span<const Run> runs = line.runs();
    if (m_sums.data() == nullptr) {
        m_sums = access::Scratch(m_columns * sizeof(RunSums));
        m_shiftsOfRuns = access::Scratch(m_columns * sizeof(double));
    }
    auto* const shifts = m_shiftsOfRuns.as<double>();
    if ((m_parts & RUN_SUM) != 0) {
        double* const all = m_shifts.data() + line.channel();
        const std::size_t step = m_channels;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            double& shift = all[runs[i].slot * step];
            if (std::isnan(shift)) {
                const double value = line.intensity().value(runs[i].begin);
                shift = std::isfinite(value) ? value : 0.0;
            }
            shifts[i] = shift;
        }
    }
    line.intensity().sum(m_parts, runs.data(), runs.size(), shifts, m_sums.as<RunSums>());
}

void GreyRunsQuantity::finishBand() {
    access::CountedVector<double>().swap(m_shifts);
    m_sums = access::Scratch();
    m_shiftsOfRuns = access::Scratch();
}

}  // namespace rix::individual_analysis
