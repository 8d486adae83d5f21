#include <rix/access/Pieces.h>

#include <algorithm>

namespace rix::access {

namespace {

/// A few of these fit a first-level cache of 32 KiB beside each other.
constexpr std::size_t pieceBytes = std::size_t{6} << 10;

}  // namespace

RowConversion::RowConversion(const PieceInput& input, OptimLevelType level)
    : m_sourceBytes(helper::getSizeOf(input.image.getVoxelType())), m_targetBytes(helper::getSizeOf(input.readAs)) {
    VoxelTypes type = input.image.getVoxelType();
    if (input.isBinary) {
        m_truth = truthRowOf(type, Stores::Cached, level);
        type = RIX_UINT8;
    }
    if (type != input.readAs) {
        m_cast = castRowOf(type, input.readAs, Stores::Cached, level);
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

Stores storesFor(const ImageModel& output) {
    std::size_t voxels = 0;
    return helper::getElementCount(output, voxels) ? chooseStores(voxels, helper::getElementSize(output))
                                                   : Stores::Streaming;
}

PieceWriter::PieceWriter(ImageModel& image, const Plan& plan, Stores stores)
    : m_rows(image, plan), m_stores(stores), m_sampleBytes(helper::getSizeOf(image.getVoxelType())) {}

PieceWriter::~PieceWriter() {
    if (m_stores == Stores::Streaming) {
        finishStreaming();  // before another thread is told that the block is done
    }
}

std::size_t pieceSamples(std::size_t largestSampleBytes, Stores stores) {
    return (stores == Stores::Streaming ? streamedPieceBytes : pieceBytes) / largestSampleBytes;
}

std::size_t pieceMemory(std::size_t threads) {
    constexpr std::size_t margin = Scratch::granularity;
    return threads * 4 * (pieceBytes + margin);
}

}  // namespace rix::access
