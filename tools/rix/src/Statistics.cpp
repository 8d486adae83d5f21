#include "Statistics.h"

#include <algorithm>
#include <cmath>

#include <rix/rendering/Rows.h>

#include "Interrupts.h"

namespace rix::cli {

void SampleStatistics::add(const std::vector<double>& row) {
    double sum = 0;
    for (const double value : row) {
        if (std::isnan(value)) {
            ++m_notANumber;
            continue;
        }
        ++m_numbers;
        m_minimum = std::min(m_minimum, value);
        m_maximum = std::max(m_maximum, value);
        sum += value;
    }
    // Neumaier's compensated addition of the rows' sums: the error doesn't grow with the number of rows.
    const double total = m_sum + sum;
    if (std::isfinite(total)) {
        m_lost += std::abs(m_sum) >= std::abs(sum) ? (m_sum - total) + sum : (sum - total) + m_sum;
    }
    m_sum = total;
}

double SampleStatistics::mean() const {
    return (m_sum + m_lost) / static_cast<double>(m_numbers);
}

SampleStatistics computeStatistics(const ImageModel& image) {
    SampleStatistics statistics;
    rendering::RowReader reader(image);
    rendering::forEachRow(image, [&](const rendering::RowPosition& at) {
        Interrupts::throwIfRequested();
        statistics.add(reader.readReals(at));
    });
    return statistics;
}

}  // namespace rix::cli
