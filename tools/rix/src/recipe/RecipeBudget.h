#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

#include "../run/MemoryBudget.h"
#include "PreparedRun.h"
#include "Recipe.h"
#include "Workspace.h"

namespace rix::cli {

/// What `--memory` means for a recipe: large inputs stay on disk, what is made of images there or does not fit is
/// temporary data there, and a step that does not fit all the same is refused. Without it all images are in memory.
class RecipeBudget {
public:
    /// @param memory bytes for all images of the recipe together; nothing for no limit
    explicit RecipeBudget(std::optional<std::uint64_t> memory);

    Workspace::Images images() const {
        return m_budget ? Workspace::Images::WithinBudget : Workspace::Images::InMemory;
    }
    /// The image of a file. @throws Failure (unreadable input), also when it does not fit
    std::unique_ptr<ImageModel> load(const std::filesystem::path& path, const Workspace& workspace) const;
    /// Puts the images that a run makes where they belong, and limits the run.
    /// @throws Failure with the numbers when it does not fit
    void fit(PreparedRun& run, const Recipe::Step& step, Workspace& workspace) const;
    /// Makes room for the picture that a step draws. @throws Failure with the numbers when there is none
    void fitPicture(const Recipe::Step& step, Workspace& workspace) const;

private:
    std::optional<MemoryBudget> m_budget;
};

}  // namespace rix::cli
