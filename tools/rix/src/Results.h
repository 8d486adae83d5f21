#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <rix/algorithms/BaseAlgorithm.h>

#include "Output.h"

namespace rix::cli {

/// What a run left in an output that is no image.
struct Result {
    std::string name;
    nlohmann::json value;  ///< for --json
    TextTable table;       ///< for people
};

/// The objects that a run fills with results, made for its unset properties and kept until they are read.
class ResultObjects {
public:
    void create(const BaseAlgorithm& algorithm);

private:
    std::vector<std::shared_ptr<void>> m_objects;
};

/// The results of a run in the order of the outputs. An output of a kind that has no reader is left out.
std::vector<Result> readResults(const BaseAlgorithm& algorithm);

}  // namespace rix::cli
