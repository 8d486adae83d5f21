#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <rix/algorithms/BaseAlgorithm.h>

namespace rix::cli {

/// What users may not expect of one run: voxels that wrap, and what the class of the algorithm says of its inputs.
class RunNotes {
public:
    RunNotes() = default;
    /// Looks at the present inputs, which the run may change. @throws what a cancelled run throws
    explicit RunNotes(const BaseAlgorithm& algorithm);

    /// A line each for after the run, for people: "note: ...\n".
    std::vector<std::string> lines(const BaseAlgorithm& algorithm) const;
    /// Adds "wrappedVoxels" and "notes" to the record of the run.
    void addTo(nlohmann::json& record) const;

private:
    std::uint64_t m_wrapped = 0;
    std::vector<String> m_notes;
};

}  // namespace rix::cli
