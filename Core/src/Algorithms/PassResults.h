#pragma once

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

#include <rix/String.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix {

class MeasurementSlot;

namespace algorithms {

/// Every pass of an iterated run fills the result objects anew. This keeps what each pass left, and gives it back to
/// the objects when the last one is over, pass after pass.
class PassResults {
public:
    /// The result objects of these properties know of no passes from now on. With neither axis iterated it keeps
    /// nothing.
    PassResults(const std::vector<const MeasurementSlot*>& slots, bool onSequence, bool onSpectral);

    /// Keeps what the pass of these indices left.
    void take(std::size_t sequence, std::size_t spectral);
    /// @throws ProcessingException when the passes left different arrays
    void join();

private:
    using Values = std::variant<std::vector<double>, std::vector<std::int64_t>, std::vector<String>>;
    struct Table {
        measurement::MeasurementObject* object;
        std::vector<Values> arrays;
        std::vector<measurement::MeasurementObject::Pass> passes;
    };

    std::vector<Table> m_tables;
    bool m_onSequence;
    bool m_onSpectral;
};

}  // namespace algorithms
}  // namespace rix
