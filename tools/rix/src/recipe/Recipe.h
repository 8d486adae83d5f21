#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "../Assignments.h"
#include "../Each.h"

namespace rix::cli {

/// A chain of runs, as its file says it, with the parameters filled in.
///
///     {
///       "description": "Finds the bright objects of a photograph.",
///       "parameters": {"photograph": "coins.png", "folder": "."},
///       "steps": [
///         {"run": "ThresholdingByCriterion",
///          "with": {"inputGrayImage": "${photograph}", "comparisonValue": 100, "outputBinaryImage": "@bright"}},
///         {"render": [{"image": "@bright", "over": "${photograph}"}], "to": "${folder}/bright.png"},
///         {"write": "@bright", "to": "${folder}/bright.tif"},
///         {"run": "LabelAnalysis", "with": {"inputLabelImage": "@bright", "outputMeasurement": "@sizes"}},
///         {"write": "@sizes", "to": "${folder}/sizes.csv"}
///       ]
///     }
///
/// "@NAME" is an image or a table in memory, made by the step that gives it to an output; everything else that such a
/// property takes is the path of a file, from the working folder. "${NAME}" in a text stands for a parameter.
struct Recipe {
    /// A picture: an image, or the outlines of its labels over another one.
    struct View {
        std::string image;
        std::string over{};    ///< empty for none
        bool numbers = false;  ///< whether labels are written on their objects
    };

    struct Step {
        enum class Kind { Run, Render, Write };
        Kind kind = Kind::Run;
        std::string className;                ///< of a run
        std::vector<Assignment> assignments;  ///< of a run, in the order of the file
        Each each;                            ///< of a run
        std::vector<View> views;              ///< of a render, from left to right; of a write, one image or table
        std::filesystem::path target;         ///< of a render or a write
    };

    std::string description;
    std::map<std::string, std::string> parameters;
    std::vector<Step> steps;
};

/// Reads a recipe.
/// @param given values for its parameters
/// @throws Failure: unreadable input for a file that can't be read; wrong usage, naming the place in the file, for what
///         is no recipe, for parameters that it does not have, and for names that are never made.
Recipe readRecipe(const std::filesystem::path& path, const std::vector<Assignment>& given);

/// The name of an image in memory behind "@"; empty when the text is the path of a file.
std::string memoryName(const std::string& text);

}  // namespace rix::cli
