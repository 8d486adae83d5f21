#include "ValueCounts.h"

#include <algorithm>
#include <array>

#include <rix/access/Joins.h>
#include <rix/access/VoxelTypeLists.h>

#include "KeyCounter.h"

namespace rix::analysis {

namespace {

constexpr double nanosecondsPerVoxel = 0.3;
/// Below these a table of all pairs, or of all 16-bit values, costs more than it saves.
constexpr std::size_t fewBytes = std::size_t{3} << 17;
constexpr std::size_t fewWords = std::size_t{1} << 18;

using SmallTypes = access::TypeList<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t>;

bool isSmall(const ImageModel& image) {
    std::size_t voxels = 0;
    return helper::getElementCount(image, voxels) &&
           voxels < (helper::getSizeOf(image.getVoxelType()) == 1 ? fewBytes : fewWords);
}

/// Counts of the 256 bit patterns of a byte.
using ByteCounts = std::array<std::uint64_t, 256>;

/// Counts pairs of bytes; a row of odd length ends with a single one.
class PairPartial {
public:
    void addRow(const std::uint8_t* row, std::size_t count) {
        m_pairs.count(row, count / 2);
        if (count % 2 != 0) {
            ++m_single[row[count - 1]];
        }
    }
    void joinInto(std::uint64_t* counts) const {
        for (std::size_t high = 0; high < 256; ++high) {
            std::uint64_t ofHigh = 0;
            for (std::size_t low = 0; low < 256; ++low) {
                const std::uint64_t count = m_pairs[high * 256 + low];
                ofHigh += count;
                counts[low] += count;
            }
            counts[high] += ofHigh + m_single[high];
        }
    }

private:
    KeyCounter m_pairs;
    ByteCounts m_single{};
};

/// Counts bytes one by one. Used for few voxels only, so its counters can't overflow.
class BytePartial {
public:
    void addRow(const std::uint8_t* row, std::size_t count) { countBytes(row, count, m_tables.data()); }
    void joinInto(std::uint64_t* counts) const {
        for (std::size_t i = 0; i < 256; ++i) {
            std::uint64_t ofAll = 0;
            for (std::size_t table = 0; table < tables; ++table) {
                ofAll += m_tables[256 * table + i];
            }
            counts[i] += ofAll;
        }
    }

private:
    static constexpr std::size_t tables = 8;

    std::array<std::uint32_t, tables * 256> m_tables{};
};

class WordPartial {
public:
    void addRow(const std::uint8_t* row, std::size_t count) { m_words.count(row, count); }
    void joinInto(std::uint64_t* counts) const {
        for (std::size_t key = 0; key < KeyCounter::keys; ++key) {
            counts[key] += m_words[key];
        }
    }

private:
    KeyCounter m_words;
};

/// Adds the counts of all bit patterns of `T` to `counts`.
template <class T, class Partial>
void countPatterns(access::ExecutionContext& context, const ImageModel& image, std::uint64_t* counts) {
    access::accumulate<T, Partial>(
        context, image, nanosecondsPerVoxel, [] { return std::make_unique<Partial>(); },
        [](Partial& partial, const T* row, std::size_t count) {
            partial.addRow(reinterpret_cast<const std::uint8_t*>(row), count);
        },
        [&](const Partial& partial) { partial.joinInto(counts); });
}

}  // namespace

bool hasCountableRange(const ImageModel& image) {
    const std::size_t bytes = helper::getSizeOf(image.getVoxelType());
    return access::contains(SmallTypes{}, image.getVoxelType()) && (bytes == 1 || !isSmall(image));
}

ValueCounts countValues(access::ExecutionContext& context, const ImageModel& image) {
    ValueCounts values;
    access::dispatch(SmallTypes{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        constexpr std::size_t patterns = std::size_t{1} << (8 * sizeof(T));
        values.first = static_cast<double>(std::numeric_limits<T>::min());
        values.counts.assign(patterns, 0);
        if constexpr (sizeof(T) == 2) {
            countPatterns<T, WordPartial>(context, image, values.counts.data());
        } else if (isSmall(image)) {
            countPatterns<T, BytePartial>(context, image, values.counts.data());
        } else {
            countPatterns<T, PairPartial>(context, image, values.counts.data());
        }
        if constexpr (std::is_signed_v<T>) {
            // Patterns count from 0 to the greatest value and go on with the most negative one.
            std::rotate(values.counts.begin(), values.counts.begin() + patterns / 2, values.counts.end());
        }
    });
    return values;
}

void addExtrema(const ValueCounts& values, Extrema& extrema) {
    const auto occurs = [](std::uint64_t count) { return count > 0; };
    const auto first = std::find_if(values.counts.begin(), values.counts.end(), occurs);
    if (first == values.counts.end()) {
        return;
    }
    const auto last = std::find_if(values.counts.rbegin(), values.counts.rend(), occurs);
    const auto index = [](std::ptrdiff_t distance) { return static_cast<std::size_t>(distance); };
    extrema.minimum = std::min(extrema.minimum, values.valueAt(index(first - values.counts.begin())));
    extrema.maximum = std::max(extrema.maximum, values.valueAt(index(values.counts.rend() - last) - 1));
}

std::size_t tableBytes(const ImageModel& image) {
    return sizeof(std::uint64_t) << (8 * helper::getSizeOf(image.getVoxelType()));
}

std::size_t countingMemory(std::size_t threads) {
    constexpr std::size_t margin = access::Scratch::granularity;
    return threads * (KeyCounter::memory + sizeof(ByteCounts) + margin);
}

}  // namespace rix::analysis
