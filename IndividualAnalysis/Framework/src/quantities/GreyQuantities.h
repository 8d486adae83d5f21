#pragma once

#include <cstddef>
#include <limits>
#include <span>

#include <rix/individual_analysis/Quantity.h>
#include <rix/individual_analysis/ShapeQuantity.h>

#include "GreyRunsQuantity.h"

namespace rix::individual_analysis {

/// The sum of the grey values; within a band of v - shift.
class GreySumQuantity : public ValuesOfObjects<double> {
public:
    static const QuantityInfo info;

    explicit GreySumQuantity(QuantityTable& table);

    void add(const RunLine& line) override;
    void finishBand() override;
    void join(const Quantity& band, std::span<const JoinedObject> objects) override;

private:
    const ShapeQuantity& m_shape;
    GreyRunsQuantity& m_runs;
};

/// The sum of the squares of the distances from the mean; within a band of (v - shift)^2.
class GreySquaresQuantity : public ValuesOfObjects<double> {
public:
    static const QuantityInfo info;

    explicit GreySquaresQuantity(QuantityTable& table);

    void add(const RunLine& line) override;
    void finishBand() override;
    void join(const Quantity& band, std::span<const JoinedObject> objects) override;

private:
    const ShapeQuantity& m_shape;
    GreyRunsQuantity& m_runs;
    const GreySumQuantity& m_sums;
};

/// Empty where nothing but NaN is.
struct GreyExtrema {
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();
};

class GreyExtremaQuantity : public SumsOfObjects<GreyExtremaQuantity, GreyExtrema> {
public:
    static const QuantityInfo info;

    explicit GreyExtremaQuantity(QuantityTable& table);

    void add(const RunLine& line) override;
    static void joinValues(GreyExtrema& left, const GreyExtrema& right);

private:
    GreyRunsQuantity& m_runs;
};

}  // namespace rix::individual_analysis
