#include "KeyCounter.h"

#include <cstring>

namespace rix::analysis {

namespace {

using Word = std::uint64_t;  ///< four keys

Word loadWord(const std::uint8_t* data) {
    Word word = 0;
    std::memcpy(&word, data, sizeof word);
    return word;
}

std::uint16_t keyAt(Word word, unsigned int position) {
    return static_cast<std::uint16_t>(word >> (16 * position));
}

bool keysAreEqual(Word word) {
    return ((word << 16) | (word >> 48)) == word;
}

/// How the keys of a stretch of memory are best counted.
enum class Texture {
    Scattered,   ///< keys seldom come again soon
    Repetitive,  ///< keys come again while their last count is still on its way: alternate between two tables
    Flat         ///< many neighbours are equal: count four at once
};

void add(std::uint8_t& counter, std::uint32_t& carries) {
    if (++counter == 0) [[unlikely]] {
        ++carries;
    }
}

template <Texture texture>
void countWords(const std::uint8_t* data, std::size_t words, std::uint8_t* first, std::uint32_t* carries) {
    std::uint8_t* const second = texture == Texture::Scattered ? first : first + KeyCounter::keys;
    for (std::size_t i = 0; i < words; ++i) {
        const Word word = loadWord(data + i * sizeof(Word));
        const std::uint16_t a = keyAt(word, 0);
        if constexpr (texture == Texture::Flat) {
            if (keysAreEqual(word)) {
                const unsigned int sum = first[a] + 4U;
                first[a] = static_cast<std::uint8_t>(sum);
                if (sum > 255) [[unlikely]] {
                    ++carries[a];
                }
                continue;
            }
        }
        const std::uint16_t b = keyAt(word, 1);
        const std::uint16_t c = keyAt(word, 2);
        const std::uint16_t d = keyAt(word, 3);
        add(first[a], carries[a]);
        add(second[b], carries[b]);
        add(first[c], carries[c]);
        add(second[d], carries[d]);
    }
}

/// Looks at a few short stretches. A wrong guess costs time, never a count.
Texture guessTexture(const std::uint8_t* data, std::size_t words) {
    constexpr std::size_t stretches = 16;
    constexpr std::size_t wordsOfStretch = 8;
    std::size_t flat = 0;
    std::size_t repeated = 0;
    for (std::size_t stretch = 0; stretch < stretches; ++stretch) {
        const std::uint8_t* const begin = data + stretch * ((words - wordsOfStretch) / stretches) * sizeof(Word);
        std::uint64_t seen[16] = {};  // one bit for each of 1024 hashes of keys
        for (std::size_t i = 0; i < wordsOfStretch; ++i) {
            const Word word = loadWord(begin + i * sizeof(Word));
            flat += keysAreEqual(word) ? 1U : 0U;
            for (unsigned int position = 0; position < 4; ++position) {
                const std::uint32_t hash = (keyAt(word, position) * 0x9E3779B1U) >> 22;
                const std::uint64_t bit = std::uint64_t{1} << (hash % 64);
                repeated += (seen[hash / 64] & bit) != 0 ? 1U : 0U;
                seen[hash / 64] |= bit;
            }
        }
    }
    // Of 32 keys of a stretch, about half a one repeats by chance of the hash alone.
    return flat > stretches * wordsOfStretch / 4 ? Texture::Flat
           : repeated > 2 * stretches           ? Texture::Repetitive
                                                 : Texture::Scattered;
}

}  // namespace

KeyCounter::KeyCounter()
    : m_memory(memory),
      m_counters(m_memory.data()),
      m_carries(reinterpret_cast<std::uint32_t*>(m_memory.data() + 2 * keys)) {
    std::memset(m_memory.data(), 0, memory);
}

void KeyCounter::count(const std::uint8_t* data, std::size_t count) {
    constexpr std::size_t shortestGuess = 4096;  // words
    const std::size_t words = count / 4;
    const Texture texture = words < shortestGuess ? Texture::Repetitive : guessTexture(data, words);
    switch (texture) {
        case Texture::Scattered:
            countWords<Texture::Scattered>(data, words, m_counters, m_carries);
            break;
        case Texture::Repetitive:
            countWords<Texture::Repetitive>(data, words, m_counters, m_carries);
            break;
        case Texture::Flat:
            countWords<Texture::Flat>(data, words, m_counters, m_carries);
            break;
    }
    for (std::size_t i = words * 4; i < count; ++i) {
        std::uint16_t key = 0;
        std::memcpy(&key, data + i * sizeof key, sizeof key);
        add(m_counters[key], m_carries[key]);
    }
}

void countBytes(const std::uint8_t* data, std::size_t count, std::uint32_t* tables) {
    std::size_t i = 0;
    for (; i + sizeof(Word) <= count; i += sizeof(Word)) {
        const Word word = loadWord(data + i);
        for (unsigned int table = 0; table < 8; ++table) {
            ++tables[256 * table + ((word >> (8 * table)) & 255)];
        }
    }
    for (; i < count; ++i) {
        ++tables[data[i]];
    }
}

}  // namespace rix::analysis
