#include "bits/BitImage.h"

#include <algorithm>
#include <limits>

#include <rix/access/PackedRows.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>

namespace rix::morphology {

namespace {

constexpr double nanosecondsPerVoxel = 0.3;

std::size_t chunksOf(std::size_t columns) {
    return columns / BitImage::columnsPerChunk + (columns % BitImage::columnsPerChunk != 0 ? 1 : 0);
}

std::size_t rowsOf(const Extents& n) {
    return n[ROWS] * n[PLANS] * n[SEQUENCE] * n[SPECTRAL_SERIES];
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

void BitImage::pack(access::ExecutionContext& context, const ImageModel& image, OptimLevelType level) const {
    const access::Plan plan = planOf(m_extents);
    const access::PackRow<std::uint8_t> packRow = access::packRow<std::uint8_t>(level);
    const std::size_t packed = access::wordsOf(m_extents[COLUMNS]);
    const std::size_t columns = m_extents[COLUMNS];
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
            access::RowReader<T> reader(image, plan, access::BinarySamples::AsStored);
            const access::Scratch bytes(sizeof(T) == 1 ? 0 : columns);
            for (std::size_t line = block.rows().begin; line < block.rows().end; ++line) {
                const T* const samples = reader.read(plan.lineAt(line));
                if constexpr (sizeof(T) == 1) {
                    packRow(reinterpret_cast<const std::uint8_t*>(samples), columns, row(line));
                } else {
                    auto* const isSet = bytes.template as<std::uint8_t>();
                    for (std::size_t x = 0; x < columns; ++x) {
                        isSet[x] = samples[x] != T{0} ? 1 : 0;
                    }
                    packRow(isSet, columns, row(line));
                }
                std::fill(row(line) + packed, row(line) + words(), std::uint64_t{0});
                progress.add(columns);
            }
        });
    });
}

void BitImage::unpack(access::ExecutionContext& context, ImageModel& image, OptimLevelType level) const {
    const access::Plan plan = planOf(m_extents);
    const access::UnpackRow unpackRow = access::unpackRow(level);
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        access::RowWriter<std::uint8_t> writer(image, plan);
        for (std::size_t line = block.rows().begin; line < block.rows().end; ++line) {
            unpackRow(row(line), m_extents[COLUMNS], writer.open(plan.lineAt(line)));
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
