#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include <rix/description/Algorithms.h>
#include <rix/exceptions/Exception.h>
#include <rix/io/ChunkFolder.h>
#include <rix/properties/Property.h>
#include <rix/settings/Settings.h>

#include "../Failure.h"
#include "../Interrupts.h"
#include "../recipe/RunRecipe.h"
#include "Carry.h"
#include "PlanImages.h"
#include "Receipts.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

class Block {
public:
    Block(const Plan& plan, std::size_t round, std::size_t block)
        : m_plan(plan),
          m_round(plan.rounds[round]),
          m_inner(m_round.grid.boxOf(block)),
          m_source(m_round.grid.sourceOf(block, m_round.grownBy)),
          m_workspace([&](const fs::path& object) { return copyOf(*openObject(plan, object.string()), m_source); },
                      Workspace::Images::InMemory) {}

    /// @return its record, of the block alone
    nlohmann::json run(std::size_t step, InteractionInterface& interaction, const CarryOptions& options) {
        const PreparedRun run = prepareRun(m_plan.renamed[step], m_workspace);
        if (options.threads) {
            run.algorithm->settings().setMaximumNumberOfThreads(*options.threads);
        }
        const RunNotes notes = notesOn(*run.algorithm);
        return runAndDescribe(run, m_plan.steps[step], interaction, notes);
    }

    /// Writes the chunks of an image that lie in the block. @return their files
    std::vector<fs::path> write(const std::string& object) {
        const ImageModel& image = m_workspace.input(object);
        io::ChunkFolder folder(m_plan.imageOf(object));
        if (folder.header().voxelType != image.getVoxelType() ||
            folder.header().extents[SPECTRAL_SERIES] != image.getNumOf(SPECTRAL_SERIES)) {
            throw Failure(RUN_FAILED, "a block makes another type of " + object + " than the plan expects");
        }
        Extents count = m_inner.count;
        count[SPECTRAL_SERIES] = image.getNumOf(SPECTRAL_SERIES);
        std::vector<fs::path> files;
        for (const std::size_t chunk : folder.chunksIn(m_inner.first, count)) {
            Interrupts::throwIfRequested();
            try {
                folder.write(chunk, image, m_source.first);
            } catch (const Exception& exception) {
                throw Failure(UNWRITABLE_OUTPUT, exception);
            }
            files.push_back(folder.fileOf(chunk));
        }
        return files;
    }

private:
    /// Of what the block makes, without what it reads around it.
    RunNotes notesOn(BaseAlgorithm& algorithm) {
        if (m_inner == m_source || algorithm.describe().kind != AlgorithmKind::Point) {
            return RunNotes(algorithm);
        }
        Box box = m_inner;
        for (std::size_t axis = 0; axis < box.first.size(); ++axis) {
            box.first[axis] -= m_source.first[axis];
        }
        std::vector<std::pair<Property<const ImageModel*>*, const ImageModel*>> inputs;
        std::vector<std::unique_ptr<ImageModel>> parts;
        for (BaseProperty* const property : description::listProperties(algorithm)) {
            auto* const input = dynamic_cast<Property<const ImageModel*>*>(property);
            if (input != nullptr && input->get() != nullptr) {
                inputs.emplace_back(input, input->get());
                parts.push_back(copyOf(*input->get(), box));
                input->set(parts.back().get());
            }
        }
        RunNotes notes(algorithm);
        for (const auto& [input, image] : inputs) {
            input->set(image);
        }
        return notes;
    }

    const Plan& m_plan;
    const Plan::Round& m_round;
    Box m_inner;
    Box m_source;
    Workspace m_workspace;
};

}  // namespace

bool carryOutBlock(const Plan& plan, std::size_t round, std::size_t block, InteractionInterface& interaction,
                   const CarryOptions& options) {
    if (round > 0 && !isJoined(plan, round - 1)) {
        readBlockReceipts(plan, round - 1);  // says which blocks are missing
        throw Failure(RUN_FAILED, "round " + std::to_string(round - 1) + " is not joined yet: run rix join");
    }
    if (readReceipt(plan, plan.blockReceipt(round, block))) {
        return false;
    }
    Block work(plan, round, block);
    nlohmann::json records = nlohmann::json::array();
    for (const std::size_t step : plan.rounds[round].inBlocks) {
        Interrupts::throwIfRequested();
        try {
            records.push_back(work.run(step, interaction, options));
        } catch (...) {
            throw failureOfCurrentException().within("step " + std::to_string(step + 1) + " of the recipe");
        }
    }
    std::vector<fs::path> files;
    for (const std::string& object : plan.rounds[round].kept) {
        const std::vector<fs::path> written = work.write(object);
        files.insert(files.end(), written.begin(), written.end());
    }
    saveReceipt(plan, plan.blockReceipt(round, block),
                {{"round", round}, {"block", block}, {"steps", std::move(records)}}, files);
    return true;
}

}  // namespace rix::cli
