#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/measurement/MeasurementObject.h>

#include "Output.h"

namespace rix::cli {

/// What a run left in an output that is no image.
struct Result {
    std::string name;
    nlohmann::json value;  ///< for --json
    TextTable table;       ///< for people
    std::string csv;       ///< for --csv; empty for what is no table
};

/// The objects that a run fills with results, made for its unset properties and kept until they are read.
class ResultObjects {
public:
    void create(const BaseAlgorithm& algorithm);

private:
    std::vector<std::shared_ptr<measurement::MeasurementObject>> m_objects;
};

/// The results of a run in the order of the outputs: values, tables, and the number of objects of a label image. An
/// output of a kind that has no reader is left out.
std::vector<Result> readResults(const BaseAlgorithm& algorithm);

}  // namespace rix::cli
