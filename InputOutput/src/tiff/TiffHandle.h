#pragma once

#include <cstdarg>
#include <cstdint>

#include <tiffio.h>

#include "../InputFile.h"
#include "../OutputFile.h"

namespace rix::io {

/// One open TIFF file: libtiff over a file of ours.
///
/// libtiff's messages are kept and nothing is printed; its process-wide handlers are left alone. The callbacks that it
/// calls never throw, since a C library is between them and us.
class TiffHandle {
public:
    /// Opens for reading, at the first directory.
    /// @throws LoadingError
    explicit TiffHandle(InputFile& file);
    /// Opens for writing; `bigTiff` for 64-bit offsets.
    /// @throws WritingError
    TiffHandle(OutputFile& file, bool bigTiff);
    TiffHandle(const TiffHandle&) = delete;
    TiffHandle& operator=(const TiffHandle&) = delete;
    ~TiffHandle();

    TIFF* get() const noexcept { return m_tiff; }

    /// Size of the file that is read.
    std::uint64_t fileBytes() const noexcept { return m_input != nullptr ? m_input->size() : 0; }

    /// An error that libtiff reported by now, even where its function claimed success.
    bool hasErrors() const noexcept { return !m_errors.empty(); }

    /// Throws a `LoadingError` of `what` and of what is known about the reason.
    [[noreturn]] void failReading(const String& what) const;
    /// Throws if libtiff reported an error, missed bytes, or read the same bytes too often.
    void checkReading(const String& what) const;
    /// Lets the bytes of the file be read as often again: what is read next has nothing to do with what was.
    void readAfresh() noexcept;
    /// Forgets what libtiff reported, of something that can be left out.
    void forgetErrors() noexcept;
    /// Throws a `WritingError`.
    [[noreturn]] void failWriting(const String& what) const;

    /// Sets bytes aside behind what is written, for the samples of all pages: they follow each other without a gap, and
    /// the directories come after them. Readers that take the pages of an ImageJ stack for one array rely on that.
    void reserveSamples(std::uint64_t bytes);
    /// Whether what libtiff appends from now on are samples, which go to the bytes set aside, or a directory.
    void appendSamples(bool samples) noexcept { m_appendsSamples = samples; }

    /// Ends writing; throws `WritingError` if anything of it failed.
    void close();

private:
    static tmsize_t readProc(thandle_t self, void* buffer, tmsize_t size);
    static tmsize_t writeProc(thandle_t self, void* buffer, tmsize_t size);
    static toff_t seekProc(thandle_t self, toff_t offset, int whence);
    static int closeProc(thandle_t self);
    static toff_t sizeProc(thandle_t self);
    static int errorProc(TIFF* tiff, void* self, const char* module, const char* format, va_list arguments);
    static int warningProc(TIFF* tiff, void* self, const char* module, const char* format, va_list arguments);

    void open(const char* mode, std::uint64_t largestAllocation);
    String reason() const;

    InputFile* m_input = nullptr;
    OutputFile* m_output = nullptr;
    TIFF* m_tiff = nullptr;
    std::uint64_t m_position = 0;
    std::uint64_t m_readable = 0;     ///< bytes that may still be fetched
    bool m_missedBytes = false;       ///< libtiff asked for bytes beyond the end of the file
    std::uint64_t m_samplesEnd = 0;   ///< of the samples written so far to the bytes set aside
    std::uint64_t m_reservedEnd = 0;  ///< of the bytes set aside for samples
    bool m_appendsSamples = false;
    bool m_discard = false;  ///< the file is given up: what libtiff flushes at its end goes nowhere
    String m_errors;         ///< the first message of each kind
    String m_warnings;
};

}  // namespace rix::io
