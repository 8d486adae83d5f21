#include "TiffBlocks.h"

#include <utility>

#include "../SampleRows.h"

namespace rix::io {
namespace {

/// Unpacks samples of `bits` bits, most significant bit first.
template <class Sample>
void unpackBits(const std::uint8_t* bytes, unsigned bits, Sample* samples, std::size_t count) {
    std::uint32_t kept = 0;  // bits read and not yet given out, in the lowest places
    unsigned available = 0;
    for (std::size_t i = 0; i < count; ++i) {
        while (available < bits) {
            kept = (kept << 8U) | *bytes++;
            available += 8;
        }
        available -= bits;
        samples[i] = static_cast<Sample>((kept >> available) & ((1U << bits) - 1U));
    }
}

template <class Sample>
void subtractFrom(std::uint32_t largest, std::uint8_t* row, std::size_t count) {
    auto* samples = reinterpret_cast<Sample*>(row);
    for (std::size_t i = 0; i < count; ++i) {
        samples[i] = static_cast<Sample>(largest - samples[i]);
    }
}

}  // namespace

PageBox keptOf(const PartialImage& image, const TiffPage& page) {
    const auto stored = [](Indices kept, std::size_t extent, bool mirrored) {
        return Indices{mirrored ? extent - kept.end() : kept.first, kept.count};
    };
    return {stored(image.kept(COLUMNS), page.columns, page.isMirroredInColumns()),
            stored(image.kept(ROWS), page.rows, page.isMirroredInRows())};
}

TiffRowPlacer::TiffRowPlacer(PartialImage& image, const TiffPage& page, const PagePosition& position,
                             std::size_t firstChannel, std::vector<std::uint8_t> palette)
    : m_image(image),
      m_page(page),
      m_position(position),
      m_firstChannel(firstChannel),
      m_sampleBytes(helper::getSizeOf(page.voxelType)),
      m_palette(std::move(palette)) {}

Place TiffRowPlacer::placeOf(std::size_t column, std::size_t row, std::size_t channel) const {
    return {column, row, m_position.slice, m_position.frame, m_firstChannel + channel};
}

bool TiffRowPlacer::keepsGroup(std::size_t group) const {
    return m_image.kept(SPECTRAL_SERIES)
        .meets(m_firstChannel + group, m_page.isPalette() ? m_page.channels : m_page.adjacentSamples());
}

void TiffRowPlacer::unpack(const std::uint8_t* bytes, std::size_t samples) {
    if (m_page.bits < 8) {
        m_unpacked.resize(samples);
        unpackBits(bytes, m_page.bits, m_unpacked.data(), samples);
    } else {
        m_unpacked.resize(samples * sizeof(std::uint16_t));
        unpackBits(bytes, m_page.bits, reinterpret_cast<std::uint16_t*>(m_unpacked.data()), samples);
    }
}

void TiffRowPlacer::place(const std::uint8_t* bytes, std::size_t count, std::size_t column, std::size_t row,
                          std::size_t group) {
    column = m_page.isMirroredInColumns() ? m_page.columns - column - count : column;
    row = m_page.isMirroredInRows() ? m_page.rows - 1 - row : row;
    if (!m_image.kept(ROWS).holds(row)) {
        return;
    }
    const std::size_t step = m_page.adjacentSamples();
    if (isConverted(m_page.stored)) {
        m_unpacked.resize(count * step * m_sampleBytes);
        convertSamples(m_page.stored, bytes, m_unpacked.data(), count * step);
        bytes = m_unpacked.data();
    } else if (m_page.isPacked()) {
        unpack(bytes, count * step);
        bytes = m_unpacked.data();
    }
    if (m_page.isPalette()) {
        lookUp(bytes, count, column, row);
        return;
    }
    for (std::size_t sample = 0; sample < step; ++sample) {
        const Place place = placeOf(column, row, group + sample);
        if (!m_image.kept(SPECTRAL_SERIES).holds(place.channel)) {
            continue;
        }
        std::uint8_t* target = m_image.open(place, count);
        copySamples(bytes + sample * m_sampleBytes, step, target, 1, count, m_sampleBytes);
        finish(target, count);
        m_image.close();
    }
}

void TiffRowPlacer::lookUp(const std::uint8_t* indices, std::size_t count, std::size_t column, std::size_t row) {
    const std::size_t entries = std::size_t{1} << m_page.bits;
    const auto indexAt = [&](std::size_t i) {
        std::uint16_t index = 0;
        std::memcpy(&index, indices + i * 2, sizeof(index));
        return std::size_t{index};
    };
    for (std::size_t channel = 0; channel < 3; ++channel) {
        std::uint8_t* target = m_image.open(placeOf(column, row, channel), count);
        const std::uint8_t* colors = m_palette.data() + channel * entries * m_sampleBytes;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t index = m_page.bits <= 8 ? indices[i] : indexAt(i);
            std::memcpy(target + i * m_sampleBytes, colors + index * m_sampleBytes, m_sampleBytes);
        }
        finish(target, count);
        m_image.close();
    }
}

void TiffRowPlacer::finish(std::uint8_t* row, std::size_t count) {
    if (m_page.isInverted()) {
        const auto largest = static_cast<std::uint32_t>((std::uint64_t{1} << m_page.bits) - 1);
        switch (m_sampleBytes) {
            case 1: subtractFrom<std::uint8_t>(largest, row, count); break;
            case 2: subtractFrom<std::uint16_t>(largest, row, count); break;
            default: subtractFrom<std::uint32_t>(largest, row, count); break;
        }
    }
    if (m_page.isMirroredInColumns()) {
        reverseSamples(row, count, m_sampleBytes);
    }
}

}  // namespace rix::io
