#pragma once

#include <filesystem>
#include <string>

#include <nlohmann/json.hpp>

#include "Recipe.h"

namespace rix::cli {

/// What was run, so that it can be repeated and results can be traced to it: versions, parameters, every step with the
/// values of its properties and its results, and the sizes and hashes of the files that were read and written.
class Record {
public:
    Record(const std::filesystem::path& recipePath, const Recipe& recipe);
    /// @param file what `describeFile` told of the file of the recipe
    Record(nlohmann::json file, const Recipe& recipe);

    void addStep(nlohmann::json step) { m_json["steps"].push_back(std::move(step)); }
    /// A folder of chunks is named alone.
    /// @param name with the selection of an image behind it, which is noted
    void addInput(const std::filesystem::path& name);
    void addOutput(const std::filesystem::path& path) { m_json["outputs"].push_back(describeOutput(path)); }
    const nlohmann::json& json() const { return m_json; }

    /// {"path": ..., "bytes": ..., "sha256": ...} @throws Failure (unreadable input).
    static nlohmann::json describeFile(const std::filesystem::path& path);
    /// The same of what was written; what went to a pipe or a device is named alone.
    static nlohmann::json describeOutput(const std::filesystem::path& path);

private:
    nlohmann::json m_json;
};

}  // namespace rix::cli
