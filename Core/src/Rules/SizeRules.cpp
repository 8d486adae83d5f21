#include <rix/rules/SizeRules.h>

#include <limits>
#include <string>

#include <rix/devices/Cpu.h>
#include <rix/rules/RuleSupport.h>
#include <rix/settings/Settings.h>

namespace rix::rules {

namespace {

/// The most bytes that an image may have.
struct Limit {
    std::size_t bytes;
    const char* what;
};

Limit limitOf(const ImageModel* output) {
    constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
    if (const std::size_t set = globalSettings().getValueAsSize_t("RIX_MAXIMUM_IMAGE_SIZE", 0); set != 0) {
        return {set, "bytes are allowed (RIX_MAXIMUM_IMAGE_SIZE)."};
    }
    if (output != nullptr && output->isOnDisk()) {
        return {none, "bytes can be counted."};
    }
    const std::size_t memory = devices::Cpu::memory();
    return {memory != 0 ? memory : none, "bytes are the memory of this machine."};
}

}  // namespace

void assertImageFits(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, VoxelTypes voxelType,
                     const ImageModel* output, const String& names) {
    std::size_t bytes = 0;
    const bool counts =
        helper::multiplyExtents(extents, bytes) && helper::checkedMultiply(bytes, helper::getSizeOf(voxelType), bytes);
    const Limit limit = limitOf(output);
    if (!counts || bytes > limit.bytes) {
        String text;
        for (const std::size_t extent : extents) {
            text += (text.empty() ? "" : " x ") + std::to_string(extent);
        }
        refuse("The image (" + names + ") is too large: " + text + " voxels take " +
                   (counts ? std::to_string(bytes) : String("more than 2^64")) + " bytes.",
               std::to_string(limit.bytes) + ' ' + limit.what);
    }
}

}  // namespace rix::rules
