#include "RunNotes.h"

#include <nlohmann/json.hpp>

#include <rix/access/PlainContext.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/description/Algorithms.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>

#include "Interrupts.h"

namespace rix::cli {
namespace {

/// Ends when the user does not want to wait.
class CountingContext : public access::PlainContext {
public:
    using PlainContext::PlainContext;
    bool isCancelled() const override { return Interrupts::requested(); }
};

std::uint64_t countWrapped(const BaseAlgorithm& algorithm) {
    CountingContext context(access::parallelScheduler(), algorithm.getMaximumThreads());
    return algorithm.getClassInfo().countWrapped(algorithm, context);
}

/// The first image that the run made; null for none.
const Property<ImageModel*>* madeImage(const BaseAlgorithm& algorithm) {
    for (const BaseProperty* property : description::listProperties(algorithm)) {
        const auto* const output = dynamic_cast<const Property<ImageModel*>*>(property);
        if (output != nullptr && property->isOutput() && output->get() != nullptr) {
            return output;
        }
    }
    return nullptr;
}

}  // namespace

RunNotes::RunNotes(const BaseAlgorithm& algorithm)
    : m_wrapped(countWrapped(algorithm)), m_notes(algorithm.getClassInfo().notesOn(algorithm)) {}

std::vector<std::string> RunNotes::lines(const BaseAlgorithm& algorithm) const {
    std::vector<std::string> lines;
    if (const auto* const output = madeImage(algorithm); m_wrapped != 0 && output != nullptr) {
        const ImageModel& image = *output->get();
        std::size_t voxels = 0;
        static_cast<void>(helper::getElementCount(image, voxels));  // it was made
        lines.push_back("note: " + std::to_string(m_wrapped) + " of " + std::to_string(voxels) + " voxels of " +
                        output->getName() + " wrapped: " + helper::voxelTypesToString(image.getVoxelType()) +
                        " does not hold their values (see docs/result-types.md)\n");
    }
    for (const String& note : m_notes) {
        lines.push_back("note: " + note + '\n');
    }
    return lines;
}

void RunNotes::addTo(nlohmann::json& record) const {
    record["wrappedVoxels"] = m_wrapped;
    record["notes"] = m_notes;
}

}  // namespace rix::cli
