#include "bits/BitImage.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>

namespace rix::morphology {

namespace {

constexpr std::uint64_t ones = 0x0101010101010101U;
constexpr std::uint64_t sevens = 0x7f7f7f7f7f7f7f7fU;
constexpr double nanosecondsPerVoxel = 0.3;

std::size_t chunksOf(std::size_t columns) {
    return columns / BitImage::columnsPerChunk + (columns % BitImage::columnsPerChunk != 0 ? 1 : 0);
}

std::size_t rowsOf(const Extents& n) {
    return n[ROWS] * n[PLANS] * n[SEQUENCE] * n[SPECTRAL_SERIES];
}

/// The lowest bit of each byte, where the byte is not 0.
std::uint64_t lowBits(std::uint64_t bytes) {
    return (((bytes & sevens) + sevens) | bytes) >> 7 & ones;
}

/// Packs a row of bytes, of which those that are not 0 are set. Bytes are taken as little-endian words.
void packRow(const std::uint8_t* bytes, std::size_t count, std::uint64_t* words, std::size_t wordCount) {
    constexpr std::uint64_t gather = 0x0102040810204080U;  // brings bit 8 i to bit 56 + i
    std::size_t word = 0;
    for (; (word + 1) * BitImage::bitsPerWord <= count; ++word) {
        std::uint64_t bits = 0;
        for (unsigned part = 0; part < 8; ++part) {
            std::uint64_t eight = 0;
            std::memcpy(&eight, bytes + word * BitImage::bitsPerWord + part * 8UL, sizeof eight);
            bits |= (lowBits(eight) * gather >> 56) << (part * 8);
        }
        words[word] = bits;
    }
    std::fill(words + word, words + wordCount, std::uint64_t{0});
    for (std::size_t x = word * BitImage::bitsPerWord; x < count; ++x) {
        words[word] |= std::uint64_t{bytes[x] != 0 ? 1U : 0U} << (x % BitImage::bitsPerWord);
    }
}

void unpackRow(const std::uint64_t* words, std::uint8_t* bytes, std::size_t count) {
    constexpr std::uint64_t bitOfByte = 0x8040201008040201U;
    std::size_t x = 0;
    for (; x + 8 <= count; x += 8) {
        const std::uint64_t eight = words[x / BitImage::bitsPerWord] >> (x % BitImage::bitsPerWord) & 0xffU;
        const std::uint64_t spread = lowBits(eight * ones & bitOfByte);
        std::memcpy(bytes + x, &spread, sizeof spread);
    }
    for (; x < count; ++x) {
        bytes[x] = static_cast<std::uint8_t>(words[x / BitImage::bitsPerWord] >> (x % BitImage::bitsPerWord) & 1U);
    }
}

access::Plan planOf(const Extents& extents) {
    return access::cutBands(extents, {.joined = access::JoinedAxes::Lines, .nanosecondsPerVoxel = nanosecondsPerVoxel});
}

}  // namespace

std::size_t BitImage::bytes(const Extents& extents) {
    std::size_t bytes = 0;
    const bool fits =
        helper::checkedMultiply(rowsOf(extents) + 1, chunksOf(extents[COLUMNS]) * wordsPerChunk + 1, bytes) &&
        helper::checkedMultiply(bytes + 1, sizeof(std::uint64_t), bytes);
    return fits ? access::Scratch::held(bytes) : std::numeric_limits<std::size_t>::max();
}

BitImage::BitImage(const Extents& extents)
    : m_extents(extents), m_rows(rowsOf(extents)), m_chunks(chunksOf(extents[COLUMNS])) {
    if (bytes(extents) == std::numeric_limits<std::size_t>::max()) {
        throw MemoryError("The bits of an image do not fit 64 bits.");
    }
    m_bits = access::Scratch(((m_rows + 1) * (words() + 1) + 1) * sizeof(std::uint64_t));
    for (std::size_t row = 0; row <= m_rows; ++row) {
        *(this->row(row) - 1) = 0;
    }
    std::fill_n(row(m_rows), words() + 1, std::uint64_t{0});
}

void BitImage::pack(access::ExecutionContext& context, const ImageModel& image) const {
    const access::Plan plan = planOf(m_extents);
    const std::size_t columns = m_extents[COLUMNS];
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
            access::RowReader<T> reader(image, plan, access::BinarySamples::AsStored);
            const access::Scratch bytes(sizeof(T) == 1 ? 0 : columns);
            for (std::size_t line = block.rows().begin; line < block.rows().end; ++line) {
                const T* const samples = reader.read(plan.lineAt(line));
                if constexpr (sizeof(T) == 1) {
                    packRow(reinterpret_cast<const std::uint8_t*>(samples), columns, row(line), words());
                } else {
                    auto* const isSet = bytes.template as<std::uint8_t>();
                    for (std::size_t x = 0; x < columns; ++x) {
                        isSet[x] = samples[x] != T{0} ? 1 : 0;
                    }
                    packRow(isSet, columns, row(line), words());
                }
                progress.add(columns);
            }
        });
    });
}

void BitImage::unpack(access::ExecutionContext& context, ImageModel& image) const {
    const access::Plan plan = planOf(m_extents);
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        access::RowWriter<std::uint8_t> writer(image, plan);
        for (std::size_t line = block.rows().begin; line < block.rows().end; ++line) {
            unpackRow(row(line), writer.open(plan.lineAt(line)), m_extents[COLUMNS]);
            writer.flush();
            progress.add(m_extents[COLUMNS]);
        }
    });
}

std::size_t BitImage::rowBytes(const ImageModel& image, std::size_t threads) {
    const std::size_t sampleBytes = helper::getSizeOf(image.getVoxelType());
    return threads * access::Scratch::held(image.getNumOf(COLUMNS) * (sampleBytes + 1));
}

}  // namespace rix::morphology
