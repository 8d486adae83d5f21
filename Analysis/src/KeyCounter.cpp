#include "KeyCounter.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include <emmintrin.h>

namespace rix::analysis {

namespace {

/// Keys after which the texture is looked at again.
constexpr std::size_t guessPeriod = std::size_t{1} << 17;
/// Keys that are compared at once.
constexpr std::size_t group = 16;

std::uint16_t keyAt(const std::uint8_t* data, std::size_t index) {
    std::uint16_t key = 0;
    std::memcpy(&key, data + index * sizeof key, sizeof key);
    return key;
}

/// Which keys of a group equal `key`: bit i for key i. Every processor that the library runs on has these instructions.
unsigned int equalKeys(const std::uint8_t* data, std::uint16_t key) {
    const __m128i wanted = _mm_set1_epi16(static_cast<std::int16_t>(key));
    const auto* const keys = reinterpret_cast<const __m128i*>(data);
    const __m128i low = _mm_cmpeq_epi16(_mm_loadu_si128(keys), wanted);
    const __m128i high = _mm_cmpeq_epi16(_mm_loadu_si128(keys + 1), wanted);
    return static_cast<unsigned int>(_mm_movemask_epi8(_mm_packs_epi16(low, high)));
}

constexpr unsigned int allEqual = 0xFFFF;

}  // namespace

KeyCounter::KeyCounter()
    : m_memory(memory),
      m_tables{m_memory.data(), reinterpret_cast<std::uint32_t*>(m_memory.data() + 4 * keys)},
      m_sinceGuess(guessPeriod) {
    std::memset(m_memory.data(), 0, memory);
}

void KeyCounter::count(const std::uint8_t* data, std::size_t count) {
    if (m_sinceGuess >= guessPeriod && count >= 2 * group) {
        m_guess = guess(data, count);
        m_sinceGuess = 0;
    }
    m_sinceGuess += count;
    std::size_t done = 0;
    switch (m_guess.texture) {
        case Texture::Varied: done = countStreams<1>(data, count); break;
        case Texture::FewValues: done = countStreams<4>(data, count); break;
        case Texture::Flat: done = countFlat(data, count); break;
    }
    for (std::size_t i = done; i < count; ++i) {
        m_tables.add(0, keyAt(data, i));
    }
}

/// Four places are read in turn: a count that meets an unfinished one of the same key waits for it, and the processor
/// starts over when it did not expect that. Keys from places apart meet less often than neighbours.
template <std::size_t tables>
std::size_t KeyCounter::countStreams(const std::uint8_t* data, std::size_t count) {
    const std::size_t length = count / 4;
    const std::uint8_t* const second = data + 2 * length;
    const std::uint8_t* const third = data + 4 * length;
    const std::uint8_t* const fourth = data + 6 * length;
    const Tables counts = m_tables;
    for (std::size_t i = 0; i < length; ++i) {
        counts.add(0, keyAt(data, i));
        counts.add(1 % tables, keyAt(second, i));
        counts.add(2 % tables, keyAt(third, i));
        counts.add(3 % tables, keyAt(fourth, i));
    }
    return 4 * length;
}

std::size_t KeyCounter::countFlat(const std::uint8_t* data, std::size_t count) {
    const Tables counts = m_tables;
    const std::uint16_t prevailing = m_guess.prevailing;
    std::size_t prevailingCount = 0;
    std::size_t i = 0;
    for (; i + group <= count; i += group) {
        const std::uint8_t* const keysOfGroup = data + i * sizeof(std::uint16_t);
        const unsigned int equal = equalKeys(keysOfGroup, prevailing);
        if (equal == allEqual) {
            prevailingCount += group;
            continue;
        }
        const std::uint16_t first = keyAt(keysOfGroup, 0);
        if (equalKeys(keysOfGroup, first) == allEqual) {
            addMany(first, group);
            continue;
        }
        prevailingCount += group;
        for (unsigned int rest = ~equal & allEqual; rest != 0; rest &= rest - 1) {
            const auto position = static_cast<std::size_t>(std::countr_zero(rest));
            counts.add(position % 4, keyAt(keysOfGroup, position));
            --prevailingCount;
        }
    }
    addMany(prevailing, prevailingCount);
    return i;
}

void KeyCounter::addMany(std::uint16_t key, std::size_t count) {
    const std::size_t sum = m_tables.counters[key] + count;
    m_tables.counters[key] = static_cast<std::uint8_t>(sum);
    if (sum > 255) [[unlikely]] {
        m_tables.carries[key] += static_cast<std::uint32_t>(sum / 256);
    }
}

KeyCounter::Guess KeyCounter::guess(const std::uint8_t* data, std::size_t count) {
    constexpr std::size_t stretchKeys = 2 * group;
    const std::size_t stretches = std::min<std::size_t>(16, count / stretchKeys);
    const auto stretchAt = [&](std::size_t stretch) {
        return data + sizeof(std::uint16_t) * (stretch * ((count - stretchKeys) / stretches));
    };
    // The majority vote of Boyer and Moore, beside the keys that come again in their stretch.
    std::uint16_t candidate = 0;
    std::size_t votes = 0;
    std::size_t repeated = 0;
    for (std::size_t stretch = 0; stretch < stretches; ++stretch) {
        std::uint64_t seen[16] = {};  // one bit for each of 1024 hashes of keys
        for (std::size_t i = 0; i < stretchKeys; ++i) {
            const std::uint16_t key = keyAt(stretchAt(stretch), i);
            const std::uint32_t hash = (key * 0x9E3779B1U) >> 22;
            const std::uint64_t bit = std::uint64_t{1} << (hash % 64);
            repeated += (seen[hash / 64] & bit) != 0 ? 1U : 0U;
            seen[hash / 64] |= bit;
            candidate = votes == 0 ? key : candidate;
            votes = candidate == key ? votes + 1 : votes - 1;
        }
    }
    std::size_t prevailing = 0;
    std::size_t runs = 0;
    for (std::size_t stretch = 0; stretch < stretches; ++stretch) {
        for (const std::size_t half : {std::size_t{0}, group}) {
            const std::uint8_t* const keysOfGroup = stretchAt(stretch) + half * sizeof(std::uint16_t);
            prevailing += static_cast<std::size_t>(std::popcount(equalKeys(keysOfGroup, candidate)));
            runs += equalKeys(keysOfGroup, keyAt(keysOfGroup, 0)) == allEqual ? 1U : 0U;
        }
    }
    const std::size_t all = stretches * stretchKeys;
    const Texture texture = prevailing > all / 10 * 7 || runs > stretches ? Texture::Flat
                            : repeated > all / 8 * 3                      ? Texture::FewValues
                                                                          : Texture::Varied;
    return {texture, candidate};
}

void countBytes(const std::uint8_t* data, std::size_t count, std::uint32_t* tables) {
    constexpr std::size_t word = sizeof(std::uint64_t);
    std::size_t i = 0;
    for (; i + word <= count; i += word) {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, data + i, word);
        for (std::size_t table = 0; table < word; ++table) {
            ++tables[256 * table + ((bytes >> (8 * table)) & 255)];
        }
    }
    for (; i < count; ++i) {
        ++tables[data[i]];
    }
}

}  // namespace rix::analysis
