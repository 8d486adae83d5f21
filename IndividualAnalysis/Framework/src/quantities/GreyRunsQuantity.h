#pragma once

#include <cstddef>
#include <span>

#include <rix/access/Scratch.h>
#include <rix/individual_analysis/Quantity.h>

#include "gathering/IntensityKernels.h"

namespace rix::individual_analysis {

/// Reads the grey values of each run once for all quantities that use it, and only for what these want. Keeps nothing
/// of a band.
class GreyRunsQuantity : public Quantity {
public:
    static const QuantityInfo info;

    explicit GreyRunsQuantity(QuantityTable& table)
        : m_columns(table.image().columns), m_channels(table.image().channels) {}

    /// @param parts bits of `RunSumParts`
    void want(unsigned parts) { m_parts |= parts; }

    void grow(std::size_t objects) override;
    void add(const RunLine& line) override;
    void finishBand() override;
    void startJoin(std::size_t /*objects*/, std::span<const JoinedBand> /*bands*/) override {}
    void join(const Quantity& /*band*/, std::span<const JoinedObject> /*objects*/) override {}

    /// Of each run of the present line.
    const RunSums* sums() const { return m_sums.as<RunSums>(); }
    /// A value of the object itself, about which sums are taken: they lose no digits to a large mean then.
    double shift(std::size_t slot, std::size_t channel) const { return m_shifts[slot * m_channels + channel]; }

private:
    std::size_t m_columns;
    std::size_t m_channels;
    unsigned m_parts = 0;
    access::CountedVector<double> m_shifts;  ///< NaN before the first value
    access::Scratch m_sums;
    access::Scratch m_shiftsOfRuns;
};

}  // namespace rix::individual_analysis
