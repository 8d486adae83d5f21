#include <rix/access/Pieces.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace rix::access {

namespace {

/// A few of these fit a first-level cache of 32 KiB beside each other.
constexpr std::size_t pieceBytes = std::size_t{6} << 10;
/// Shorter where the output is streamed: reading and writing take turns, and memory is to be busy with both at once.
constexpr std::size_t streamedPieceBytes = std::size_t{2} << 10;

}  // namespace

RowConversion::RowConversion(const PieceInput& input, OptimLevelType level)
    : m_sourceBytes(helper::getSizeOf(input.image.getVoxelType())), m_targetBytes(helper::getSizeOf(input.readAs)) {
    VoxelTypes type = input.image.getVoxelType();
    if (input.isBinary) {
        m_truth = truthRowOf(type, level);
        type = RIX_UINT8;
    }
    if (type != input.readAs) {
        m_cast = castRowOf(type, input.readAs, level);
    }
}

PieceReader::PieceReader(const PieceInput& input, const RowConversion& conversion, const Plan& plan,
                         std::size_t pieceSamples)
    : m_rows(input.image, plan), m_conversion(conversion) {
    if (conversion.m_truth != nullptr) {
        m_truths = Scratch(pieceSamples);
    }
    if (conversion.m_cast != nullptr) {
        m_converted = Scratch(pieceSamples * conversion.m_targetBytes);
    }
}

ConstRawData PieceReader::piece(std::size_t first, std::size_t count) {
    ConstRawData samples = m_row + first * m_conversion.m_sourceBytes;
    if (m_conversion.m_truth != nullptr) {
        m_conversion.m_truth(samples, m_truths.data(), count);
        samples = m_truths.data();
    }
    if (m_conversion.m_cast != nullptr) {
        m_conversion.m_cast(samples, m_converted.data(), count);
        samples = m_converted.data();
    }
    return samples;
}

PieceWriter::PieceWriter(ImageModel& image, const Plan& plan, StreamRow stream, std::size_t pieceSamples)
    : m_rows(image, plan), m_stream(stream), m_sampleBytes(helper::getSizeOf(image.getVoxelType())) {
    if (stream != nullptr) {
        m_buffer = Scratch(pieceSamples * m_sampleBytes);
    }
}

PieceWriter::~PieceWriter() {
    if (m_stream != nullptr) {
        finishStreaming();  // before another thread is told that the block is done
    }
}

std::size_t PieceWriter::samplesBeforeLine() const {
    return (lineBytes - reinterpret_cast<std::uintptr_t>(m_row) % lineBytes) % lineBytes / m_sampleBytes;
}

RawData PieceWriter::piece(std::size_t first, std::size_t count) {
    m_target = m_row + first * m_sampleBytes;
    m_pieceBytes = count * m_sampleBytes;
    return m_stream != nullptr ? m_buffer.data() : m_target;
}

void PieceWriter::pieceDone() {
    if (m_stream != nullptr) {
        m_stream(m_target, m_buffer.data(), m_pieceBytes);
    }
}

std::size_t pieceSamples(std::size_t largestSampleBytes, StreamRow stream) {
    return (stream != nullptr ? streamedPieceBytes : pieceBytes) / largestSampleBytes;
}

StreamRow streamRowFor(Stores stores, OptimLevelType level) {
    return stores == Stores::Streaming ? streamRow(level) : nullptr;
}

std::size_t pieceMemory(std::size_t threads) {
    constexpr std::size_t margin = Scratch::granularity;
    return threads * 5 * (pieceBytes + margin);
}

}  // namespace rix::access
