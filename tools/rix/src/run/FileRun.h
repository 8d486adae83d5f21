#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/description/Algorithms.h>
#include <rix/image/MemoryImage.h>

#include "../Assignments.h"
#include "../Each.h"
#include "../ImageFiles.h"
#include "../Results.h"
#include "../RunNotes.h"
#include "../Targets.h"
#include "MemoryBudget.h"

namespace rix::cli {

/// What a command line asks of one run of an algorithm.
struct FileRunRequest {
    std::string className;
    std::vector<Assignment> assignments;  ///< images as paths
    Each each;
    std::optional<int> threads;
    std::optional<std::uint64_t> memory;  ///< bytes
    std::string maxLevel;                 ///< empty for no limit
    std::filesystem::path table;          ///< where the table goes that the run makes; empty for nowhere
};

/// One run of an algorithm on files, in steps, so that all that can go wrong early does.
class FileRun {
public:
    /// An image that the run makes or changes, and the file that it goes to.
    struct Output {
        std::string property;
        std::filesystem::path path;
        std::unique_ptr<ImageModel> image;
        ImageHeader header{};  ///< of what was written
    };

    /// Sets all values and looks at the places of outputs; no image is read.
    /// @throws Failure: wrong usage, unwritable output.
    explicit FileRun(const FileRunRequest& request);

    void announce(Targets& targets) const;
    /// True when an image or the table goes to standard output, which then takes nothing else.
    bool usesStandardOutput() const;
    /// Reads the images and runs. @throws Failure (unreadable input); what the run throws.
    void run(InteractionInterface& interaction);
    /// Every file is whole or not there. When one can't be written, those before it stay, and were told of.
    /// @param tell is given a line for each file
    void writeImages(const std::function<void(const std::string&)>& tell);
    const std::vector<Output>& outputs() const { return m_outputs; }
    /// What the run found; before it, what it will tell of.
    std::vector<Result> results() const { return m_results ? *m_results : readResults(*m_algorithm); }
    /// Lines about what may not be expected; see `RunNotes`.
    std::vector<std::string> notes() const { return m_notes.lines(*m_algorithm); }
    /// Class, level, seconds, images, results and notes.
    nlohmann::json toJson() const;

private:
    struct Image {
        BaseProperty* property;
        description::ImageRole role;
        std::string path;
    };

    void setValues(const std::vector<Assignment>& assignments);
    void applyLimits(const FileRunRequest& request);
    void makeOutputs();
    void readInputs();

    std::unique_ptr<BaseAlgorithm> m_algorithm;
    ResultObjects m_resultObjects;
    std::filesystem::path m_table;
    std::vector<Image> m_images;
    ImageInputs m_inputs;
    std::vector<Output> m_outputs;
    double m_seconds = 0;
    std::optional<MemoryBudget> m_memory;
    std::optional<std::vector<Result>> m_results;  ///< read while images on disk are open
    RunNotes m_notes;
};

/// The table among results; null when there is none.
std::shared_ptr<const vessel::DataFrame> tableOf(const std::vector<Result>& results);

}  // namespace rix::cli
