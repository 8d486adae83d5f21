#include "HistogramFilling.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <type_traits>

#include <rix/access/Joins.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/VoxelTypeLists.h>

#include "ClassKernels.h"
#include "KeyCounter.h"

namespace rix::analysis {

namespace {

constexpr double nanosecondsPerVoxel = 1.0;

/// One key more than there are classes stands for the voxels that lie in none.
class LargePartial {
public:
    explicit LargePartial(std::size_t /*classes*/) {}
    void add(const std::uint16_t* classes, std::size_t count) {
        m_keys.count(reinterpret_cast<const std::uint8_t*>(classes), count);
    }
    void joinInto(math::Histogram& histogram) const {
        for (std::size_t i = 0; i < histogram.getNbClasses(); ++i) {
            histogram.addToClass(i, m_keys[i]);
        }
    }

private:
    KeyCounter m_keys;
};

/// A table of the classes at hand alone, for images with fewer voxels than a `KeyCounter` has counters: 32 bits hold
/// any count.
class SmallPartial {
public:
    explicit SmallPartial(std::size_t classes) : m_counts(classes + 1) {}
    void add(const std::uint16_t* classes, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            ++m_counts[classes[i]];
        }
    }
    void joinInto(math::Histogram& histogram) const {
        for (std::size_t i = 0; i < histogram.getNbClasses(); ++i) {
            histogram.addToClass(i, m_counts[i]);
        }
    }

private:
    access::CountedVector<std::uint32_t> m_counts;
};

/// The classes as integers when samples of type `T` fall into them without a division.
template <class T>
std::optional<UnitClasses> unitClasses(const math::Histogram& histogram) {
    const double first = histogram.getMinimum();
    if (!std::is_integral_v<T> || histogram.getBinSize() != 1.0 || std::floor(first) != first ||
        first < static_cast<double>(std::numeric_limits<T>::min()) ||
        first > static_cast<double>(std::numeric_limits<T>::max())) {
        return std::nullopt;
    }
    return UnitClasses{static_cast<std::uint32_t>(static_cast<std::int64_t>(first)),
                       static_cast<std::uint32_t>(histogram.getNbClasses())};
}

template <class T, class Partial>
void fill(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
          math::Histogram& histogram) {
    const ClassRows<T> rows = classRows<T>(level);
    const std::optional<UnitClasses> unit = unitClasses<T>(histogram);
    access::accumulate<T, Partial>(
        context, image, nanosecondsPerVoxel, [&] { return std::make_unique<Partial>(histogram.getNbClasses()); },
        [&](Partial& partial, const T* row, std::size_t samples) {
            constexpr std::size_t piece = 4096;
            std::uint16_t classes[piece];
            for (std::size_t i = 0; i < samples; i += piece) {
                const std::size_t count = std::min(piece, samples - i);
                if (unit) {
                    rows.unitClasses(row + i, classes, count, *unit);
                } else {
                    rows.classes(row + i, classes, count, histogram.getClasses());
                }
                partial.add(classes, count);
            }
        },
        [&](const Partial& partial) { partial.joinInto(histogram); });
}

bool hasFewVoxels(const ImageModel& image) {
    std::size_t voxels = 0;
    return helper::getElementCount(image, voxels) && voxels < KeyCounter::keys;
}

}  // namespace

void fillHistogram(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
                   math::Histogram& histogram) {
    const bool few = hasFewVoxels(image);
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        if (few) {
            fill<T, SmallPartial>(context, level, image, histogram);
        } else {
            fill<T, LargePartial>(context, level, image, histogram);
        }
    });
}

std::size_t fillingMemory(const ImageModel& image, std::size_t classes, std::size_t threads) {
    const std::size_t ofThread = hasFewVoxels(image) ? (classes + 1) * sizeof(std::uint32_t) : KeyCounter::memory;
    return threads * (ofThread + access::Scratch::granularity);
}

void fillHistogram(const ValueCounts& values, math::Histogram& histogram) {
    const double offset = values.first - histogram.getMinimum();
    if (histogram.getBinSize() == 1.0 && std::floor(offset) == offset && std::abs(offset) < 0x1p31) {
        // A class is a value; the end of the range belongs to the last one.
        const auto classes = static_cast<std::int64_t>(histogram.getNbClasses());
        const auto patterns = static_cast<std::int64_t>(values.counts.size());
        const auto first = -static_cast<std::int64_t>(offset);  // the pattern of the first class
        const std::int64_t begin = std::clamp<std::int64_t>(first, 0, patterns);
        const std::int64_t end = std::clamp<std::int64_t>(first + classes, begin, patterns);
        histogram.addToClasses(
            static_cast<std::size_t>(begin - first),
            std::span(values.counts).subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin)));
        if (end == first + classes && end < patterns) {
            histogram.addToClass(histogram.getNbClasses() - 1, values.counts[static_cast<std::size_t>(end)]);
        }
        return;
    }
    for (std::size_t i = 0; i < values.counts.size(); ++i) {
        if (values.counts[i] > 0) {
            histogram.addIntensity(values.valueAt(i), values.counts[i]);
        }
    }
}

}  // namespace rix::analysis
