#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/LevelCasts.h>
#include <rix/access/Plan.h>
#include <rix/access/Rows.h>
#include <rix/access/Scratch.h>
#include <rix/access/StreamKernels.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// An input of a point operation and how its samples are to be read.
struct PieceInput {
    const ImageModel& image;
    VoxelTypes readAs;
    bool isBinary = false;  ///< whatever differs from 0 reads as 1
};

/// What is done with the rows of an input before an operator sees them.
class RowConversion {
public:
    RowConversion(const PieceInput& input, OptimLevelType level);

    bool isNone() const { return m_truth == nullptr && m_cast == nullptr; }
    std::size_t sourceBytes() const { return m_sourceBytes; }
    std::size_t targetBytes() const { return m_targetBytes; }

private:
    friend class PieceReader;
    CastRow m_truth = nullptr;  ///< to bytes of 0 and 1, before the cast
    CastRow m_cast = nullptr;
    std::size_t m_sourceBytes;  ///< of a sample
    std::size_t m_targetBytes;
};

/// Shows an image as samples of another type: piece by piece, converted into a buffer that stays in the first-level
/// cache; or in place where nothing has to be converted. Made by the thread that uses it, once a block.
class PieceReader {
public:
    /// @param pieceSamples the longest piece that will be asked for; without a conversion it does not matter
    PieceReader(const PieceInput& input, const RowConversion& conversion, const Plan& plan, std::size_t pieceSamples);

    /// Goes to a segment of the image.
    void read(const RowSegment& segment) { m_row = m_rows.read(segment); }
    /// `count` samples of the segment from `first` on; valid until the next call.
    ConstRawData piece(std::size_t first, std::size_t count);

private:
    RawRowReader m_rows;
    const RowConversion& m_conversion;
    ConstRawData m_row = nullptr;
    Scratch m_truths;
    Scratch m_converted;
};

/// How an output is written; see `chooseStores`.
Stores storesFor(const ImageModel& output);

/// Shows where an image is to be written, piece by piece.
class PieceWriter {
public:
    /// @param stores how the operator stores
    PieceWriter(ImageModel& image, const Plan& plan, Stores stores);

    void open(const RowSegment& segment) { m_row = m_rows.open(segment); }
    /// How many samples of a segment lie before its first whole line of the cache.
    std::size_t samplesBeforeLine(std::size_t segmentSamples) const {
        return access::samplesBeforeLine(m_row, m_sampleBytes, segmentSamples);
    }
    /// Where the samples of the segment from `first` on are to be stored.
    RawData piece(std::size_t first) const { return m_row + first * m_sampleBytes; }
    void flush() { m_rows.flush(); }
    ~PieceWriter();
    PieceWriter(const PieceWriter&) = delete;
    PieceWriter& operator=(const PieceWriter&) = delete;

private:
    RawRowWriter m_rows;
    Stores m_stores;
    std::size_t m_sampleBytes;
    RawData m_row = nullptr;
};

/// Calls `piece(first, count)` for the pieces of a segment. In a long segment all but the first begin on a line of the
/// output, because stores across lines take twice as long, and only whole lines can be streamed.
template <class F>
void forEachPiece(std::size_t segmentSamples, std::size_t pieceSamples, const PieceWriter& writer, F&& piece) {
    constexpr std::size_t longSegment = 1024;
    const std::size_t head = segmentSamples >= longSegment ? writer.samplesBeforeLine(segmentSamples) : 0;
    std::size_t count = head != 0 && head < pieceSamples ? head : pieceSamples;
    for (std::size_t first = 0; first < segmentSamples; first += count, count = pieceSamples) {
        piece(first, std::min(count, segmentSamples - first));
    }
}

/// The longest piece where the output is streamed. It is short, since reading and writing take turns and memory is to
/// be busy with both at once.
inline constexpr std::size_t streamedPieceBytes = std::size_t{2} << 10;

/// How many samples a piece has whose buffers are to stay in the first-level cache.
std::size_t pieceSamples(std::size_t largestSampleBytes, Stores stores);

/// Peak bytes of working memory of a run on images in memory: pieces of two inputs, before and after each conversion.
std::size_t pieceMemory(std::size_t threads);

}  // namespace rix::access
