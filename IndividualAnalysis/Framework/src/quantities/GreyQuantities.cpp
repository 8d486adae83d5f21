#include "GreyQuantities.h"

#include <algorithm>

namespace rix::individual_analysis {

namespace {

/// Adds one of the sums of each run to the value of its object.
/// @param values of the objects in the present channel, `step` from one to the next
void addToObjects(const RunLine& line, const RunSums* sums, double RunSums::* part, double* values, std::size_t step) {
    for (const Run& run : line.runs()) {
        values[run.slot * step] += (sums++)->*part;
    }
}

}  // namespace

const QuantityInfo GreySumQuantity::info{.name = "GreySum",
                                         .create = &makeQuantity<GreySumQuantity>,
                                         .needsIntensity = true,
                                         .bytesOfObjectAndChannel = sizeof(double)};

GreySumQuantity::GreySumQuantity(QuantityTable& table)
    : ValuesOfObjects(table.image().channels),
      m_shape(table.use<ShapeQuantity>()),
      m_runs(table.use<GreyRunsQuantity>()) {
    m_runs.want(RUN_SUM);
}

void GreySumQuantity::add(const RunLine& line) {
    addToObjects(line, m_runs.sums(), &RunSums::sum, data() + line.channel(), channels());
}

void GreySumQuantity::finishBand() {
    for (std::size_t object = 0; object < objects(); ++object) {
        const auto count = static_cast<double>(m_shape.of(object).count);
        for (std::size_t channel = 0; count > 0.0 && channel < channels(); ++channel) {
            of(object, channel) += m_runs.shift(object, channel) * count;
        }
    }
}

void GreySumQuantity::join(const Quantity& band, std::span<const JoinedObject> objects) {
    const auto& other = static_cast<const GreySumQuantity&>(band);
    for (const JoinedObject& object : objects) {
        const bool isEmpty = other.m_shape.of(object.from).count == 0;  // met in rows before the band alone
        for (std::size_t channel = 0; !isEmpty && channel < channels(); ++channel) {
            double& sum = of(object.to, channel);
            const double right = other.of(object.from, channel);
            sum = m_shape.of(object.to).count == 0 ? right : sum + right;  // keeps the sign of a zero
        }
    }
}

const QuantityInfo GreySquaresQuantity::info{.name = "GreySquares",
                                             .create = &makeQuantity<GreySquaresQuantity>,
                                             .needsIntensity = true,
                                             .bytesOfObjectAndChannel = sizeof(double)};

GreySquaresQuantity::GreySquaresQuantity(QuantityTable& table)
    : ValuesOfObjects(table.image().channels),
      m_shape(table.use<ShapeQuantity>()),
      m_runs(table.use<GreyRunsQuantity>()),
      m_sums(table.use<GreySumQuantity>()) {
    m_runs.want(RUN_SUM | RUN_SQUARES);
}

void GreySquaresQuantity::add(const RunLine& line) {
    addToObjects(line, m_runs.sums(), &RunSums::squares, data() + line.channel(), channels());
}

void GreySquaresQuantity::finishBand() {
    for (std::size_t object = 0; object < objects(); ++object) {
        const auto count = static_cast<double>(m_shape.of(object).count);
        for (std::size_t channel = 0; count > 0.0 && channel < channels(); ++channel) {
            const double sum = m_sums.of(object, channel);
            const double about = of(object, channel) - sum * (sum / count);
            of(object, channel) = about < 0.0 ? 0.0 : about;  // NaN stays
        }
    }
}

/// Squares about the common mean of two parts (Chan, Golub and LeVeque 1979).
void GreySquaresQuantity::join(const Quantity& band, std::span<const JoinedObject> objects) {
    const auto& other = static_cast<const GreySquaresQuantity&>(band);
    for (const JoinedObject& object : objects) {
        const auto n = static_cast<double>(m_shape.of(object.to).count);
        const auto m = static_cast<double>(other.m_shape.of(object.from).count);
        for (std::size_t channel = 0; m > 0.0 && channel < channels(); ++channel) {
            double& squares = of(object.to, channel);
            const double right = other.of(object.from, channel);
            if (n == 0.0) {
                squares = right;
                continue;
            }
            const double difference = other.m_sums.of(object.from, channel) / m - m_sums.of(object.to, channel) / n;
            squares += right + difference * difference * (n * m / (n + m));
        }
    }
}

const QuantityInfo GreyExtremaQuantity::info{.name = "GreyExtrema",
                                             .create = &makeQuantity<GreyExtremaQuantity>,
                                             .needsIntensity = true,
                                             .bytesOfObjectAndChannel = sizeof(GreyExtrema)};

GreyExtremaQuantity::GreyExtremaQuantity(QuantityTable& table)
    : SumsOfObjects(table.image().channels), m_runs(table.use<GreyRunsQuantity>()) {
    m_runs.want(RUN_EXTREMA);
}

void GreyExtremaQuantity::add(const RunLine& line) {
    const RunSums* sums = m_runs.sums();
    GreyExtrema* const all = data() + line.channel();
    const std::size_t step = channels();
    for (const Run& run : line.runs()) {
        joinValues(all[run.slot * step], {sums->minimum, sums->maximum});
        ++sums;
    }
}

void GreyExtremaQuantity::joinValues(GreyExtrema& left, const GreyExtrema& right) {
    left.minimum = std::min(left.minimum, right.minimum);
    left.maximum = std::max(left.maximum, right.maximum);
}

}  // namespace rix::individual_analysis
