#pragma once

#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include <vessel/DataFrame.h>

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/description/Tables.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::cli {

/// What a run left in an output that is no image: a value or a table.
struct Result {
    std::string name;
    nlohmann::json value{};          ///< of a value, for --json
    description::TextTable lines{};  ///< for people: of a value, or of a table that says more than its columns
    std::shared_ptr<const vessel::DataFrame> table{};

    nlohmann::json toJson() const;
    /// @param mostRows of a table
    std::string toText(std::string_view indent = "",
                       std::size_t mostRows = std::numeric_limits<std::size_t>::max()) const;
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
