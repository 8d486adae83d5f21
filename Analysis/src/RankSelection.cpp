#include "RankSelection.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <memory>
#include <type_traits>

#include <rix/access/Joins.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/OrderedKeys.h>
#include <rix/access/VoxelTypeLists.h>

#include "KeyCounter.h"
#include "ParticipatingRows.h"

namespace rix::analysis {

namespace {

constexpr double nanosecondsPerVoxel = 1.0;
constexpr std::size_t digits = 65536;
constexpr unsigned digitBits = 16;
/// Tables that a thread counts in at a time.
constexpr std::size_t mostSlots = 8;

using access::KeyOf;
using access::keyOf;

/// A rank whose value is known down to its leading digits.
struct Search {
    std::uint64_t prefix = 0;  ///< the digits found
    std::uint64_t rank = 0;    ///< among the values that have them
};

template <class T>
class Selection {
public:
    Selection(access::ExecutionContext& context, const ImageModel& image, const ImageModel* mask)
        : m_context(context), m_image(image), m_mask(mask) {}

    std::vector<double> values(std::span<const std::uint64_t> ranks) const {
        std::vector<Search> searches;
        for (const std::uint64_t rank : ranks) {
            searches.push_back({0, rank});
        }
        for (unsigned shift = 8 * sizeof(T); shift > 0; shift -= digitBits) {
            findDigit(searches, shift - digitBits);
        }
        std::vector<double> found;
        for (const Search& search : searches) {
            found.push_back(static_cast<double>(access::valueOfKey<T>(static_cast<KeyOf<T>>(search.prefix))) + 0.0);
        }
        return found;
    }

private:
    /// The next digit of all searches, which stands `shift` bits from the end.
    void findDigit(std::vector<Search>& searches, unsigned shift) const {
        std::vector<std::uint64_t> prefixes;
        for (const Search& search : searches) {
            if (prefixes.empty() || prefixes.back() != search.prefix) {
                prefixes.push_back(search.prefix);  // ranks ascend, and so do prefixes
            }
        }
        auto search = searches.begin();
        for (std::size_t first = 0; first < prefixes.size(); first += mostSlots) {
            const auto some =
                std::span<const std::uint64_t>(prefixes).subspan(first, std::min(mostSlots, prefixes.size() - first));
            const Counts counts = shift + digitBits == keyBits ? countFirstDigits() : countDigits(some, shift);
            for (std::size_t slot = 0; slot < some.size(); ++slot) {
                for (; search != searches.end() && search->prefix == some[slot]; ++search) {
                    descend(*search, counts.data() + slot * digits);
                }
            }
        }
    }

    /// Adds to a search the digit at which its rank lies, of the counts of those that follow.
    static void descend(Search& search, const std::uint64_t* table) {
        std::uint64_t digit = 0;
        while (search.rank >= table[digit]) {
            search.rank -= table[digit];
            ++digit;
        }
        search.prefix = search.prefix << digitBits | digit;
    }

    using Digits = std::array<std::uint16_t, ParticipatingRows<T>::pieceSamples>;

    static void setFirstDigits(std::span<const T> samples, Digits& first) {
        for (std::size_t i = 0; i < samples.size(); ++i) {
            first[i] = static_cast<std::uint16_t>(keyOf(samples[i]) >> (keyBits - digitBits));
        }
    }

    /// How often each digit is the first.
    Counts countFirstDigits() const {
        Counts joined(digits);
        const auto open = [&](const access::Plan& plan) {
            return [rows = ParticipatingRows<T>(m_image, m_mask, plan)](KeyCounter& counter,
                                                                        const access::RowSegment& segment) mutable {
                rows.open(segment);
                rows.forEachPiece([&](std::span<const T> samples) {
                    Digits first;
                    setFirstDigits(samples, first);
                    counter.count(reinterpret_cast<const std::uint8_t*>(first.data()), samples.size());
                });
            };
        };
        const auto join = [&](const KeyCounter& counter) {
            for (std::size_t digit = 0; digit < digits; ++digit) {
                joined[digit] += counter[digit];
            }
        };
        withMask(m_image, m_mask, [&](std::initializer_list<const ImageModel*> images) {
            access::accumulateRows<KeyCounter>(
                m_context, images, nanosecondsPerVoxel, [] { return std::make_unique<KeyCounter>(); }, open, join);
        });
        return joined;
    }

    /// How often each digit follows each of the prefixes.
    Counts countDigits(std::span<const std::uint64_t> prefixes, unsigned shift) const {
        // Most samples have none of the prefixes, which the first digits tell.
        access::CountedVector<std::uint8_t> mayMatch(digits);
        for (const std::uint64_t prefix : prefixes) {
            mayMatch[(prefix << (shift + digitBits)) >> (keyBits - digitBits)] = 1;
        }
        const auto add = [&](std::uint64_t* tables, std::span<const T> samples) {
            Digits first;
            setFirstDigits(samples, first);
            for (std::size_t i = 0; i < samples.size(); ++i) {
                if (mayMatch[first[i]] == 0) {
                    continue;
                }
                const std::uint64_t key = keyOf(samples[i]);
                for (std::size_t slot = 0; slot < prefixes.size(); ++slot) {
                    if (prefixes[slot] == key >> (shift + digitBits)) {
                        ++tables[slot * digits + (key >> shift) % digits];
                    }
                }
            }
        };
        return countSamples<T>(m_context, m_image, m_mask, nanosecondsPerVoxel, prefixes.size() * digits, add);
    }

    static constexpr unsigned keyBits = 8 * sizeof(T);
    access::ExecutionContext& m_context;
    const ImageModel& m_image;
    const ImageModel* m_mask;
};

/// Below this sorting is faster than making tables.
constexpr std::uint64_t fewValues = 65536;

std::vector<double> sortedRanks(access::ExecutionContext& context, const ImageModel& image, const ImageModel* mask,
                                std::span<const std::uint64_t> ranks) {
    using Values = access::CountedVector<double>;
    Values all;
    const auto open = [&](const access::Plan& plan) {
        return [rows = ParticipatingRows<double>(image, mask, plan)](Values& values,
                                                                     const access::RowSegment& segment) mutable {
            rows.open(segment);
            rows.forEachPiece(
                [&](std::span<const double> samples) { values.insert(values.end(), samples.begin(), samples.end()); });
        };
    };
    withMask(image, mask, [&](std::initializer_list<const ImageModel*> images) {
        access::accumulateRows<Values>(
            context, images, nanosecondsPerVoxel, [] { return std::make_unique<Values>(); }, open,
            [&](const Values& values) { all.insert(all.end(), values.begin(), values.end()); });
    });
    std::sort(all.begin(), all.end());
    std::vector<double> values;
    for (const std::uint64_t rank : ranks) {
        values.push_back(all[rank] + 0.0);
    }
    return values;
}

using WideTypes = access::TypeList<std::uint32_t, std::int32_t, float, double>;

}  // namespace

std::vector<double> selectRanks(access::ExecutionContext& context, const ImageModel& image, const ImageModel* mask,
                                std::uint64_t count, std::span<const std::uint64_t> ranks) {
    if (count <= fewValues) {
        return sortedRanks(context, image, mask, ranks);
    }
    std::vector<double> values;
    access::dispatch(WideTypes{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        values = Selection<T>(context, image, mask).values(ranks);
    });
    return values;
}

std::size_t selectionMemory(std::size_t threads, std::size_t ranks) {
    const std::size_t slots = ranks == 0 ? mostSlots : std::min(ranks, mostSlots);
    return (threads + 1) * slots * digits * sizeof(std::uint64_t) + digits;
}

}  // namespace rix::analysis
