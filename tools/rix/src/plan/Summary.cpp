#include <rix/description/Text.h>

#include "Planning.h"

namespace rix::cli {
namespace {

std::string countOf(std::size_t number, const std::string& what) {
    return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

std::string mebibytes(std::uint64_t bytes) {
    std::string text = std::to_string(static_cast<double>(bytes) / (1 << 20));
    return text.substr(0, text.find('.') + 2) + " MiB";
}

std::string stepsOf(const Plan& plan, const std::vector<std::size_t>& steps) {
    std::vector<std::string> names;
    for (const std::size_t step : steps) {
        names.push_back(plan.steps[step].className);
    }
    return description::join(names);
}

std::string triple(const std::array<std::size_t, 3>& numbers) {
    return std::to_string(numbers[0]) + ' ' + std::to_string(numbers[1]) + ' ' + std::to_string(numbers[2]);
}

}  // namespace

std::string describePlan(const Plan& plan) {
    std::string text = countOf(plan.rounds.size(), "round") + ", " + countOf(plan.outputs.size(), "output") + '\n';
    for (std::size_t i = 0; i < plan.rounds.size(); ++i) {
        const Plan::Round& round = plan.rounds[i];
        const std::string name = "round " + std::to_string(i);
        const std::size_t blocks = round.grid.blocks();
        if (blocks > 0) {
            const Extents largest = round.grid.longestParts();
            text += name + "  " + countOf(blocks, "block") + " for " + stepsOf(plan, round.inBlocks) +
                    "\n         up to " + triple({largest[0], largest[1], largest[2]}) + " voxels each, grown by " +
                    triple(round.grownBy.lower) + " below and " + triple(round.grownBy.upper) + " above; they read " +
                    mebibytes(round.bytesRead) + " in all and hold up to " + mebibytes(round.blockMemory) +
                    " of images\n";
            if (blocks < plan.wantedBlocks) {
                text += "         " + std::to_string(plan.wantedBlocks) +
                        " blocks were wanted: more would not have made the largest smaller\n";
            }
        }
        if (!round.whole.empty()) {
            text += name + "  joined for " + stepsOf(plan, round.whole) + '\n';
        }
    }
    return text;
}

}  // namespace rix::cli
