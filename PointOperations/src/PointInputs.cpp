#include "PointInputs.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <rix/devices/Cpu.h>

namespace rix::point_operations {

namespace {

/// No processor has more of its last-level cache for each of its cores. A virtual machine of few processors that is told
/// of a cache larger than that shares it with others.
constexpr std::size_t largestCachePerProcessor = std::size_t{32} << 20;

/// A few of these fit a first-level cache of 32 KiB beside each other.
constexpr std::size_t pieceBytes = std::size_t{6} << 10;

#if defined(__SSE2__)
void streamBytes(RawData to, ConstRawData from, std::size_t bytes) {
    constexpr std::size_t line = 64;
    // Whole lines only: a line that is written in parts goes to memory in parts.
    const std::size_t misfit = (line - reinterpret_cast<std::uintptr_t>(to) % line) % line;
    const std::size_t head = misfit < bytes ? misfit : bytes;
    std::memcpy(to, from, head);
    std::size_t i = head;
    for (; i + line <= bytes; i += line) {
        for (std::size_t part = 0; part < line; part += sizeof(__m128i)) {
            const __m128i data = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i + part));
            _mm_stream_si128(reinterpret_cast<__m128i*>(to + i + part), data);
        }
    }
    std::memcpy(to + i, from + i, bytes - i);
}

void finishStreaming() {
    _mm_sfence();
}
#else
void streamBytes(RawData to, ConstRawData from, std::size_t bytes) {
    std::memcpy(to, from, bytes);
}

void finishStreaming() {}
#endif

}  // namespace

RowConversion::RowConversion(const PointInput& input, OptimLevelType level)
    : m_sourceBytes(helper::getSizeOf(input.image.getVoxelType())), m_targetBytes(helper::getSizeOf(input.readAs)) {
    VoxelTypes type = input.image.getVoxelType();
    if (input.isBinary) {
        m_truth = access::truthRowOf(type, level);
        type = RIX_UINT8;
    }
    if (type != input.readAs) {
        m_cast = access::castRowOf(type, input.readAs, level);
    }
}

CastingAdapter::CastingAdapter(const PointInput& input, const RowConversion& conversion, const access::PointPlan& plan,
                               std::size_t pieceSamples)
    : m_rows(input.image, plan), m_conversion(conversion) {
    if (conversion.m_truth != nullptr) {
        m_truths = access::Scratch(pieceSamples);
    }
    if (conversion.m_cast != nullptr) {
        m_converted = access::Scratch(pieceSamples * conversion.m_targetBytes);
    }
}

ConstRawData CastingAdapter::piece(std::size_t first, std::size_t count) {
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

PieceWriter::PieceWriter(ImageModel& image, const access::PointPlan& plan, Stores stores, std::size_t pieceSamples)
    : m_rows(image, plan), m_stores(stores), m_sampleBytes(helper::getSizeOf(image.getVoxelType())) {
    if (stores == Stores::Streaming) {
        m_buffer = access::Scratch(pieceSamples * m_sampleBytes);
    }
}

PieceWriter::~PieceWriter() {
    if (m_stores == Stores::Streaming) {
        finishStreaming();  // before another thread is told that the block is done
    }
}

RawData PieceWriter::piece(std::size_t first, std::size_t count) {
    m_target = m_row + first * m_sampleBytes;
    m_pieceBytes = count * m_sampleBytes;
    return m_stores == Stores::Streaming ? m_buffer.data() : m_target;
}

void PieceWriter::pieceDone() {
    if (m_stores == Stores::Streaming) {
        streamBytes(m_target, m_buffer.data(), m_pieceBytes);
    }
}

std::size_t pieceSamples(std::size_t largestSampleBytes) {
    return pieceBytes / largestSampleBytes;
}

PieceWriter::Stores storesFor(std::size_t voxels, std::size_t inputBytes, std::size_t outputBytes) {
    const std::size_t cache = std::min(devices::Cpu::lastLevelCache(),
                                       devices::Cpu::logicalProcessors() * largestCachePerProcessor);
    std::size_t all = 0;
    std::size_t output = 0;
    const bool counts = helper::checkedMultiply(voxels, inputBytes + outputBytes, all) &&
                        helper::checkedMultiply(voxels, outputBytes, output);
    return counts && (all <= cache || output <= cache / 2) ? PieceWriter::Stores::Cached
                                                           : PieceWriter::Stores::Streaming;
}

}  // namespace rix::point_operations
