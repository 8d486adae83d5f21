#include "Wrapping.h"

#include <rix/access/PlainContext.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/description/Algorithms.h>
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

}  // namespace

std::uint64_t countWrapped(const BaseAlgorithm& algorithm) {
    CountingContext context(access::parallelScheduler(), algorithm.getMaximumThreads());
    return algorithm.getClassInfo().countWrapped(algorithm, context);
}

std::string wrappingNote(const BaseAlgorithm& algorithm, std::uint64_t wrapped) {
    for (const BaseProperty* property : description::listProperties(algorithm)) {
        const auto* const output = dynamic_cast<const Property<ImageModel*>*>(property);
        if (wrapped == 0 || output == nullptr || !property->isOutput() || output->get() == nullptr) {
            continue;
        }
        const ImageModel& image = *output->get();
        std::size_t voxels = 0;
        static_cast<void>(helper::getElementCount(image, voxels));  // it was made
        return "note: " + std::to_string(wrapped) + " of " + std::to_string(voxels) + " voxels of " +
               property->getName() + " wrapped: " + helper::voxelTypesToString(image.getVoxelType()) +
               " does not hold their values (see docs/result-types.md)\n";
    }
    return "";
}

}  // namespace rix::cli
