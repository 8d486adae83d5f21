#include "ByteStreams.h"

#include <algorithm>
#include <limits>
#include <new>

#include <zlib.h>

#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

constexpr std::size_t BufferBytes = std::size_t{128} << 10U;

[[noreturn]] void failEnd(const InputFile& file) {
    throw LoadingError(file.failure().empty() ? String("The samples end early (truncated?).")
                                              : "Reading failed: " + file.failure() + '.');
}

class PlainSource : public ByteSource {
public:
    PlainSource(InputFile& file, std::uint64_t position) : m_file(file), m_position(position) {}

    void read(std::uint8_t* buffer, std::size_t bytes) override {
        const std::size_t known = std::min(bytes, m_block.size() - m_used);
        std::copy_n(m_block.begin() + static_cast<std::ptrdiff_t>(m_used), known, buffer);
        m_used += known;
        bytes -= known;
        if (bytes == 0) {
            return;
        }
        // Few bytes come with their neighbours: parts of an image may be many runs of a few samples.
        m_used = bytes < BlockBytes ? bytes : 0;
        m_block.resize(bytes < BlockBytes ? BlockBytes : 0);
        const std::size_t wanted = std::max(bytes, m_block.size());
        const std::size_t count = m_file.readAt(m_position, m_block.empty() ? buffer + known : m_block.data(), wanted);
        if (count < bytes) {
            failEnd(m_file);
        }
        m_position += count;
        if (!m_block.empty()) {
            m_block.resize(count);
            std::copy_n(m_block.begin(), bytes, buffer + known);
        }
    }

    void skip(std::uint64_t bytes) override {
        const std::uint64_t known = std::min<std::uint64_t>(bytes, m_block.size() - m_used);
        m_used += static_cast<std::size_t>(known);
        m_position += bytes - known;
    }

private:
    static constexpr std::size_t BlockBytes = 4096;

    InputFile& m_file;
    std::uint64_t m_position;
    std::vector<std::uint8_t> m_block;  ///< read and not all given out
    std::size_t m_used = 0;             ///< of it
};

class InflatedSource : public ByteSource {
public:
    InflatedSource(InputFile& file, std::uint64_t position)
        : m_file(file), m_position(position), m_buffer(BufferBytes) {
        constexpr int anyHeader = 15 + 32;  // the largest window; gzip or zlib, as the first bytes tell
        if (inflateInit2(&m_stream, anyHeader) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~InflatedSource() override { inflateEnd(&m_stream); }

    void read(std::uint8_t* buffer, std::size_t bytes) override {
        while (bytes > 0) {
            const std::size_t part = std::min<std::size_t>(bytes, std::numeric_limits<uInt>::max());
            m_stream.next_out = buffer;
            m_stream.avail_out = static_cast<uInt>(part);
            while (m_stream.avail_out > 0) {
                inflateSome();
            }
            buffer += part;
            bytes -= part;
        }
    }

    // The checksum lies behind the last byte.
    void finish() override {
        std::uint8_t more = 0;
        m_stream.next_out = &more;
        m_stream.avail_out = 1;
        while (!m_ended && m_stream.avail_out > 0) {
            inflateSome();
        }
    }

private:
    void inflateSome() {
        if (m_ended) {  // several streams may follow each other
            inflateReset(&m_stream);
            m_ended = false;
        }
        if (m_stream.avail_in == 0) {
            const std::size_t count = m_file.readAt(m_position, m_buffer.data(), m_buffer.size());
            if (count == 0) {
                failEnd(m_file);
            }
            m_position += count;
            m_stream.next_in = m_buffer.data();
            m_stream.avail_in = static_cast<uInt>(count);
        }
        const int state = inflate(&m_stream, Z_NO_FLUSH);
        if (state == Z_MEM_ERROR) {
            throw std::bad_alloc();
        }
        m_ended = state == Z_STREAM_END;
        if (!m_ended && state != Z_OK && state != Z_BUF_ERROR) {
            throw LoadingError("The compressed samples are damaged" +
                               (m_stream.msg != nullptr ? ": " + String(m_stream.msg) + '.' : String(".")));
        }
    }

    InputFile& m_file;
    std::uint64_t m_position;
    std::vector<std::uint8_t> m_buffer;
    z_stream m_stream{};
    bool m_ended = false;
};

class PlainSink : public ByteSink {
public:
    explicit PlainSink(OutputFile& file) : m_file(file) {}

    void write(const void* buffer, std::size_t bytes) override {
        if (!m_file.writeAt(m_file.size(), buffer, bytes)) {
            throw WritingError("Writing failed: " + m_file.failure() + '.');
        }
    }

private:
    OutputFile& m_file;
};

class DeflatedSink : public ByteSink {
public:
    DeflatedSink(OutputFile& file, Packing packing) : m_sink(file), m_buffer(BufferBytes) {
        const int window = packing == Packing::Gzip ? 15 + 16 : 15;
        constexpr int memory = 8;
        if (deflateInit2(&m_stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, window, memory, Z_DEFAULT_STRATEGY) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~DeflatedSink() override { deflateEnd(&m_stream); }

    void write(const void* buffer, std::size_t bytes) override {
        const auto* next = static_cast<const std::uint8_t*>(buffer);
        while (bytes > 0) {
            const std::size_t part = std::min<std::size_t>(bytes, std::numeric_limits<uInt>::max());
            m_stream.next_in = const_cast<Bytef*>(next);  // zlib doesn't write there
            m_stream.avail_in = static_cast<uInt>(part);
            deflateAll(Z_NO_FLUSH);
            next += part;
            bytes -= part;
        }
    }

    void finish() override { deflateAll(Z_FINISH); }

private:
    void deflateAll(int flush) {
        int state = Z_OK;
        do {
            m_stream.next_out = m_buffer.data();
            m_stream.avail_out = static_cast<uInt>(m_buffer.size());
            state = deflate(&m_stream, flush);
            m_sink.write(m_buffer.data(), m_buffer.size() - m_stream.avail_out);
        } while (flush == Z_FINISH ? state != Z_STREAM_END : m_stream.avail_out == 0);
    }

    PlainSink m_sink;
    std::vector<std::uint8_t> m_buffer;
    z_stream m_stream{};
};

}  // namespace

void ByteSource::skip(std::uint64_t bytes) {
    while (bytes > 0) {
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, BufferBytes));
        m_skipped.resize(std::max(m_skipped.size(), part));
        read(m_skipped.data(), part);
        bytes -= part;
    }
}

std::unique_ptr<ByteSource> openSource(InputFile& file, std::uint64_t position, bool compressed) {
    if (compressed) {
        return std::make_unique<InflatedSource>(file, position);
    }
    return std::make_unique<PlainSource>(file, position);
}

std::unique_ptr<ByteSink> openSink(OutputFile& file, Packing packing) {
    if (packing == Packing::None) {
        return std::make_unique<PlainSink>(file);
    }
    return std::make_unique<DeflatedSink>(file, packing);
}

}  // namespace rix::io
