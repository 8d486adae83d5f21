#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "../recipe/Recipe.h"
#include "BlockGrid.h"

namespace rix::cli {

/// How a recipe is carried out by many processes, which need not know of each other: a file that tells everything, and
/// a folder beside it for what they make.
///
/// A recipe is a list of rounds. Steps of points and windows are done for each block of the image by itself; then what
/// needs all of it is done, by one process, on images on disk. In a plan each object has a name of its own: what a step
/// makes anew under an old name is another one. "image-3" and "table-0" are made, "input-1" is the image of a file.
struct Plan {
    struct Round {
        std::vector<std::size_t> inBlocks;  ///< steps
        std::vector<std::size_t> whole;     ///< steps
        BlockGrid grid{};
        BorderInfluence grownBy{};        ///< what a block reads beyond its edges
        std::vector<std::string> read{};  ///< images that blocks read
        std::vector<std::string> kept{};  ///< images that blocks write: what is used elsewhere
        std::uint64_t bytesRead = 0;      ///< by all blocks, of images without compression
        std::uint64_t blockMemory = 0;    ///< of the images that the largest block holds
    };
    struct Output {
        enum class Kind { Image, Table, Picture };
        Kind kind = Kind::Image;
        std::string object{};     ///< of a picture none
        std::size_t picture = 0;  ///< the step
        std::filesystem::path target{};
    };
    struct Input {
        std::string name;  ///< with a selection behind it
        nlohmann::json identity;
    };

    std::filesystem::path file;    ///< absolute; where the plan was read
    std::filesystem::path folder;  ///< in which the recipe was planned: its paths begin there
    nlohmann::json recipe;         ///< its file, as the record tells of it
    std::filesystem::path record;
    std::string description;
    std::map<std::string, std::string> parameters;
    std::vector<Recipe::Step> steps;    ///< as in the recipe
    std::vector<Recipe::Step> renamed;  ///< with the names of objects
    std::map<std::string, Input> inputs;
    std::vector<Round> rounds;
    std::vector<Output> outputs;
    std::size_t wantedBlocks = 1;
    std::string sum;  ///< of all this, by which receipts know it

    std::filesystem::path workFolder() const;
    std::filesystem::path imageOf(const std::string& object) const;
    /// All that the runs make, and perhaps read: some of them twice.
    std::vector<std::string> madeImages() const;
    std::filesystem::path outputOf(std::size_t output) const;
    std::filesystem::path blockReceipt(std::size_t round, std::size_t block) const;
    std::filesystem::path joinReceipt(std::size_t round) const;
    std::filesystem::path stepReceipt(std::size_t step) const;
    /// What was checked before the first output takes its place.
    std::filesystem::path finishingReceipt() const;
    std::filesystem::path finishReceipt() const;
    /// By which the folder is known as that of this plan.
    std::filesystem::path claimFile() const;
    /// A line for each round, with its number and that of its blocks, for scripts.
    std::filesystem::path roundsFile() const;
};

/// Without its sum.
nlohmann::json toJson(const Plan& plan);

/// Reads a plan, goes to the folder that it was made in, and makes sure that its inputs are those that it was made for.
/// @throws Failure for a file that is no plan, was changed, or was made by another version; for other inputs
Plan openPlan(const std::filesystem::path& path);
/// Gives a plan that was made its sum.
void setSum(Plan& plan);
void savePlan(const Plan& plan);

/// Tells an input from another one that takes its place: size, time and a sum of the file's beginning, or of what the
/// files of a folder say that are no chunks. @throws Failure (unreadable input)
nlohmann::json identityOfInput(const std::string& name);

/// What a receipt or a plan says; null for a file that is missing or no JSON.
nlohmann::json readJsonFile(const std::filesystem::path& path);
/// The file appears whole.
void saveJsonFile(const std::filesystem::path& path, const nlohmann::json& content);

}  // namespace rix::cli
