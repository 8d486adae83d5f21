#include "TiffHandle.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>

#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

// A directory may name the same bytes of the file in thousands of tags or strips, so that a small file costs hours and
// gigabytes. Sound files need each byte once, and their directories twice; some share equal tiles.
constexpr std::uint64_t ReadsOfOneByte = 16;
// What every file may use: tables of the decoders, and lists of strips that libtiff fills up.
constexpr std::uint64_t Slack = std::uint64_t{1} << 20U;
// libtiff's own buffers: a row at most, so the ratio of LZW and deflate is enough for them.
constexpr std::uint64_t LargestRatio = 4096;

void keepMessage(String& kept, const char* format, va_list arguments) noexcept {
    if (!kept.empty()) {
        return;
    }
    char text[400];
    std::vsnprintf(text, sizeof(text), format, arguments);
    try {
        kept = text[0] == '\0' ? "unknown" : text;
    } catch (...) {  // without memory for the message the failure is reported without it
    }
}

}  // namespace

TiffHandle::TiffHandle(InputFile& file) : m_input(&file), m_readable(ReadsOfOneByte * file.size() + Slack) {
    // m: no memory mapping; c: a strip stays one strip, so that it is decoded straight into the image.
    open("rmc", LargestRatio * file.size() + Slack);
    if (m_tiff == nullptr) {
        failReading("The TIFF header is damaged");
    }
}

TiffHandle::TiffHandle(OutputFile& file, bool bigTiff) : m_output(&file) {
    open(bigTiff ? "w8" : "w", 0);
    if (m_tiff == nullptr) {
        failWriting("The TIFF file cannot be begun");
    }
}

void TiffHandle::open(const char* mode, std::uint64_t largestAllocation) {
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                   &TIFFOpenOptionsFree);
    if (options == nullptr) {
        throw std::bad_alloc();
    }
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &errorProc, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &warningProc, this);
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<tmsize_t>::max());
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(),
                                        static_cast<tmsize_t>(largestAllocation < most ? largestAllocation : most));
    m_tiff = TIFFClientOpenExt("", mode, this, &readProc, &writeProc, &seekProc, &closeProc, &sizeProc, nullptr,
                               nullptr, options.get());
}

TiffHandle::~TiffHandle() {
    if (m_tiff != nullptr) {
        m_discard = true;
        TIFFClose(m_tiff);
    }
}

void TiffHandle::reserveSamples(std::uint64_t bytes) {
    m_samplesEnd = m_output->size();
    m_reservedEnd = m_samplesEnd + bytes;
}

void TiffHandle::close() {
    TIFFClose(m_tiff);
    m_tiff = nullptr;
    if (!m_errors.empty() || !m_output->failure().empty()) {
        failWriting("The TIFF file cannot be completed");
    }
}

String TiffHandle::reason() const {
    if (m_output != nullptr && !m_output->failure().empty()) {
        return ": " + m_output->failure() + '.';
    }
    if (m_input != nullptr && !m_input->failure().empty()) {
        return ": " + m_input->failure() + '.';
    }
    if (m_input != nullptr && m_readable == 0) {
        return ": it names the same bytes of the file again and again.";
    }
    if (m_missedBytes) {
        return ": it names bytes beyond the end of the file (truncated?).";
    }
    const String& message = m_errors.empty() ? m_warnings : m_errors;
    return message.empty() ? "." : ": " + message + (message.back() == '.' ? "" : ".");
}

void TiffHandle::failReading(const String& what) const {
    throw LoadingError(what + reason());
}

void TiffHandle::checkReading(const String& what) const {
    if (!m_errors.empty() || m_missedBytes || m_readable == 0) {
        failReading(what);
    }
}

void TiffHandle::readAfresh() noexcept {
    m_readable = ReadsOfOneByte * m_input->size() + Slack;
}

void TiffHandle::forgetErrors() noexcept {
    m_errors.clear();
    m_missedBytes = false;
}

void TiffHandle::failWriting(const String& what) const {
    throw WritingError(what + reason());
}

tmsize_t TiffHandle::readProc(thandle_t self, void* buffer, tmsize_t size) {
    auto& handle = *static_cast<TiffHandle*>(self);
    const auto wanted = static_cast<std::uint64_t>(size);
    std::size_t count = 0;
    if (handle.m_output != nullptr) {
        count = handle.m_output->readAt(handle.m_position, buffer, wanted);
    } else if (wanted > handle.m_readable) {
        handle.m_readable = 0;
    } else {
        count = handle.m_input->readAt(handle.m_position, buffer, wanted);
        handle.m_readable -= count;
        handle.m_missedBytes = handle.m_missedBytes || count < wanted;
    }
    handle.m_position += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t TiffHandle::writeProc(thandle_t self, void* buffer, tmsize_t size) {
    auto& handle = *static_cast<TiffHandle*>(self);
    if (handle.m_output == nullptr) {
        return -1;
    }
    if (!handle.m_discard && !handle.m_output->writeAt(handle.m_position, buffer, static_cast<std::size_t>(size))) {
        return -1;
    }
    handle.m_position += static_cast<std::uint64_t>(size);
    if (handle.m_appendsSamples) {
        handle.m_samplesEnd = handle.m_position;
    }
    return size;
}

toff_t TiffHandle::seekProc(thandle_t self, toff_t offset, int whence) {
    auto& handle = *static_cast<TiffHandle*>(self);
    // libtiff appends blocks and directories where it finds the end to be.
    const std::uint64_t end =
        handle.m_appendsSamples && handle.m_reservedEnd != 0 ? handle.m_samplesEnd : std::uint64_t{sizeProc(self)};
    const std::uint64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? handle.m_position : end;
    handle.m_position = base + offset;
    return handle.m_position;
}

int TiffHandle::closeProc(thandle_t) {
    return 0;
}

toff_t TiffHandle::sizeProc(thandle_t self) {
    const auto& handle = *static_cast<TiffHandle*>(self);
    return handle.m_input != nullptr ? handle.m_input->size() : std::max(handle.m_output->size(), handle.m_reservedEnd);
}

// Returning 1 keeps libtiff from calling the process-wide handlers, which print.
int TiffHandle::errorProc(TIFF*, void* self, const char*, const char* format, va_list arguments) {
    keepMessage(static_cast<TiffHandle*>(self)->m_errors, format, arguments);
    return 1;
}

int TiffHandle::warningProc(TIFF*, void* self, const char*, const char* format, va_list arguments) {
    keepMessage(static_cast<TiffHandle*>(self)->m_warnings, format, arguments);
    return 1;
}

}  // namespace rix::io
