#include "MemoryBudget.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include <rix/description/Algorithms.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/settings/Settings.h>

#include "../Failure.h"
#include "../FileOptions.h"

namespace rix::cli {
namespace {

constexpr const char* cacheKey = "RIX_DISK_CACHE_SIZE";
constexpr std::uint64_t mebi = std::uint64_t{1} << 20;

/// Bytes that saturate: a sum of sizes beyond all measure is too large as well.
class Bytes {
public:
    Bytes() = default;
    explicit Bytes(std::uint64_t count) : m_count(count) {}
    void add(std::uint64_t bytes) {
        if (__builtin_add_overflow(m_count, bytes, &m_count)) {
            m_count = most;
        }
    }
    void addImage(VoxelTypes voxelType, std::size_t samples, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& n) {
        std::uint64_t bytes = helper::getSizeOf(voxelType) * samples;
        for (const std::size_t extent : n) {
            if (__builtin_mul_overflow(bytes, extent, &bytes)) {
                bytes = most;
            }
        }
        add(bytes);
    }
    std::uint64_t count() const { return m_count; }
    /// "12.5 MiB"
    std::string toText() const {
        constexpr const char* units[] = {" bytes", " KiB", " MiB", " GiB", " TiB", " PiB", " EiB"};
        auto value = static_cast<double>(m_count);
        std::size_t unit = 0;
        for (; value >= 1024.0; ++unit) {
            value /= 1024.0;
        }
        std::string text = std::to_string(value);
        text.resize(text.find('.') + (unit == 0 ? 0 : 2));
        return text + units[unit];
    }

private:
    static constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();

    std::uint64_t m_count = 0;
};

/// What a run holds, by what it is for.
struct Needs {
    Bytes inputs;
    Bytes results;
    Bytes others;
    Bytes work;
    bool workIsExact = true;
    Bytes cache;

    /// Without what is to work with.
    Bytes held() const {
        Bytes all = inputs;
        for (const Bytes& part : {results, others, cache}) {
            all.add(part.count());
        }
        return all;
    }
    Bytes sum() const {
        Bytes all = held();
        all.add(work.count());
        return all;
    }
};

/// Of those in memory.
Bytes bytesOf(const MemoryBudget::Images& images) {
    Bytes bytes;
    for (const ImageModel* const image : images) {
        if (!image->isOnDisk()) {
            bytes.addImage(image->getVoxelType(), helper::getElementNumber(image->getElementType()),
                           helper::getExtents(*image));
        }
    }
    return bytes;
}

Bytes cacheSize() {
    return Bytes(globalSettings().getValueAsSize_t(cacheKey, 0));
}

bool isAnyOnDisk(const MemoryBudget::Images& images) {
    return std::any_of(images.begin(), images.end(), [](const ImageModel* image) { return image->isOnDisk(); });
}

Bytes cacheFor(const MemoryBudget::Images& images) {
    return isAnyOnDisk(images) ? cacheSize() : Bytes();
}

/// @param held what is there beside the images of the run
Needs needsOf(const BaseAlgorithm& algorithm, MemoryBudget::Images held, bool temporariesOnDisk) {
    Needs needs;
    const auto inputs = inputsOf(algorithm);
    needs.inputs = bytesOf(inputs);
    bool usesCache = temporariesOnDisk || isAnyOnDisk(inputs) || isAnyOnDisk(held);
    const AlgorithmDescription description = algorithm.describe();
    for (const OutputDescription& output : description.outputs) {
        const auto* const property =
            dynamic_cast<const Property<ImageModel*>*>(&description::findProperty(algorithm, output.name));
        if (property == nullptr || property->get() == nullptr) {
            continue;
        }
        const ImageModel* const image = property->get();
        held.erase(image);
        usesCache = usesCache || image->isOnDisk();
        if (!image->isOnDisk() && !inputs.contains(image)) {
            needs.results.addImage(output.voxelType, 1, output.extents);
        }
    }
    std::erase_if(held, [&](const ImageModel* image) { return inputs.contains(image); });
    needs.others = bytesOf(held);
    needs.work = Bytes(description.extraMemory);
    needs.workIsExact = description.extraMemoryIsExact;
    needs.cache = usesCache ? cacheSize() : Bytes();
    return needs;
}

}  // namespace

MemoryBudget::Images inputsOf(const BaseAlgorithm& algorithm) {
    MemoryBudget::Images images;
    for (std::size_t i = 0; i < algorithm.getNumOfInputProperties(); ++i) {
        const auto* const input = dynamic_cast<const Property<const ImageModel*>*>(algorithm.getInputProperty(i));
        if (input != nullptr && input->get() != nullptr) {
            images.insert(input->get());
        }
    }
    return images;
}

void MemoryBudget::limitReading() const {
    const std::size_t share = m_bytes / 4;
    const std::size_t before = globalSettings().getValueAsSize_t(cacheKey, share);
    globalSettings().setValueAsSize_t(cacheKey, std::min(before, share));
    limitImageSize(m_bytes);
}

void MemoryBudget::limitFurther(const Images& images) const {
    const std::uint64_t read = bytesOf(images).count();
    limitImageSize(read < m_bytes ? m_bytes - read : 1);
}

bool MemoryBudget::fits(const BaseAlgorithm& algorithm, const Images& held) const {
    return needsOf(algorithm, held, false).sum().count() <= m_bytes;
}

void MemoryBudget::fit(BaseAlgorithm& algorithm, const Images& held) const {
    const bool temporariesOnDisk = !fits(algorithm, held);
    if (temporariesOnDisk) {
        algorithm.settings().setValueAsBool("RIX_TEMPORARY_IMAGE_ON_DISK", true);
    }
    const Needs needs = needsOf(algorithm, held, temporariesOnDisk);
    // What is only the most that a run may take is left to the limit.
    const std::uint64_t taken = needs.held().count();
    if ((needs.workIsExact ? needs.sum().count() : taken) > m_bytes) {
        throw Failure(RUN_FAILED,
                      "the run needs " + needs.sum().toText() + " of memory: " + needs.inputs.toText() +
                          " for its inputs, " + needs.results.toText() + " for results, " +
                          (needs.others.count() == 0 ? "" : needs.others.toText() + " for images beside, ") +
                          needs.work.toText() + " to work with, " + needs.cache.toText() +
                          " for chunks of images on disk; --memory allows " + Bytes(m_bytes).toText() +
                          " (images in chunks, .zarr, stay on disk)");
    }
    const std::uint64_t rest = (m_bytes - taken) / mebi;
    algorithm.setMaximumExtraMemoryUsage(
        static_cast<int>(std::clamp<std::uint64_t>(rest, 1, std::numeric_limits<int>::max())));
}

bool MemoryBudget::hasRoom(std::uint64_t bytes, const Images& held) const {
    Bytes all = bytesOf(held);
    all.add(cacheFor(held).count());
    all.add(bytes);
    return all.count() <= m_bytes;
}

void MemoryBudget::checkRoom(const std::string& what, std::uint64_t bytes, const Images& held) const {
    if (!hasRoom(bytes, held)) {
        throw Failure(RUN_FAILED, what + " needs " + Bytes(bytes).toText() + " of memory beside " +
                                      bytesOf(held).toText() + " for images and " + cacheFor(held).toText() +
                                      " for chunks of images on disk; --memory allows " + Bytes(m_bytes).toText());
    }
}

}  // namespace rix::cli
