#include <chrono>
#include <cstring>
#include <set>
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
                      [] { return std::make_unique<io::MemoryImage>(); },
                      [](const ImageModel& image) {
                          return std::make_unique<io::MemoryImage>(dynamic_cast<const io::MemoryImage&>(image));
                      }) {}

    /// @return its record, of the block alone
    nlohmann::json run(std::size_t step, InteractionInterface& interaction, const CarryOptions& options) {
        const PreparedRun run = prepareRun(m_plan.renamed[step], m_workspace);
        if (options.threads) {
            run.algorithm->settings().setMaximumNumberOfThreads(*options.threads);
        }
        const RunNotes notes = notesOn(*run.algorithm);
        const auto start = std::chrono::steady_clock::now();
        run.algorithm->run(&interaction);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        return describeRun(run, m_plan.steps[step], seconds.count(), notes);
    }

    /// Writes the chunks of an image that lie in the block. @return their files
    std::vector<fs::path> write(const std::string& object) {
        const ImageModel& image = m_workspace.input(object);
        io::ChunkFolder folder(m_plan.imageOf(object));
        if (folder.header().voxelType != image.getVoxelType() ||
            folder.header().extents[SPECTRAL_SERIES] != image.getNumOf(SPECTRAL_SERIES)) {
            throw Failure(RUN_FAILED, "a block makes another type of " + object + " than the plan expects");
        }
        std::vector<fs::path> files;
        const Extents& chunk = folder.chunkExtents();
        Extents first{};
        Extents last{};
        for (std::size_t axis = 0; axis < first.size(); ++axis) {
            const bool isCut = axis != SPECTRAL_SERIES;
            first[axis] = isCut ? m_inner.first[axis] / chunk[axis] : 0;
            const std::size_t end = isCut ? m_inner.first[axis] + m_inner.count[axis] : image.getNumOf(SPECTRAL_SERIES);
            last[axis] = (end + chunk[axis] - 1) / chunk[axis];
        }
        Extents place = first;
        for (;;) {
            Interrupts::throwIfRequested();
            files.push_back(writeChunk(folder, place, image));
            std::size_t axis = 0;
            while (axis < place.size() && ++place[axis] == last[axis]) {
                place[axis] = first[axis];
                ++axis;
            }
            if (axis == place.size()) {
                return files;
            }
        }
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

    fs::path writeChunk(io::ChunkFolder& folder, const Extents& place, const ImageModel& image) const {
        const Extents& chunk = folder.chunkExtents();
        const std::size_t sampleBytes = helper::getElementSize(image);
        Extents first{};
        Extents count{};
        std::size_t elements = 1;
        for (std::size_t axis = 0; axis < first.size(); ++axis) {
            first[axis] = place[axis] * chunk[axis];
            count[axis] = std::min(chunk[axis], folder.header().extents[axis] - first[axis]);
            elements *= chunk[axis];
        }
        std::vector<std::uint8_t> samples(elements * sampleBytes);
        for (std::size_t c = 0; c < count[SPECTRAL_SERIES]; ++c) {
            for (std::size_t t = 0; t < count[SEQUENCE]; ++t) {
                for (std::size_t z = 0; z < count[PLANS]; ++z) {
                    for (std::size_t y = 0; y < count[ROWS]; ++y) {
                        const std::size_t row =
                            (((c * chunk[SEQUENCE] + t) * chunk[PLANS] + z) * chunk[ROWS] + y) * chunk[COLUMNS];
                        if (!image.readRowAt(
                                count[COLUMNS], samples.data() + row * sampleBytes,
                                first[COLUMNS] - m_source.first[COLUMNS], first[ROWS] + y - m_source.first[ROWS],
                                first[PLANS] + z - m_source.first[PLANS],
                                first[SEQUENCE] + t - m_source.first[SEQUENCE], first[SPECTRAL_SERIES] + c)) {
                            throw Failure(RUN_FAILED, "a block does not hold what it makes");
                        }
                    }
                }
            }
        }
        const std::size_t number = folder.numberOf(place);
        try {
            folder.write(number, samples.data());
        } catch (const Exception& exception) {
            throw Failure(UNWRITABLE_OUTPUT, exception);
        }
        return folder.fileOf(number);
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
