#pragma once

#include <csetjmp>
#include <cstdint>

#include <png.h>

#include <rix/String.h>

#include "../InputFile.h"
#include "../OutputFile.h"

namespace rix::io {

/// One run of libpng over a file of ours.
///
/// libpng reports an error by a call that must not return. Throwing from it would unwind frames of a C library, which
/// may have been compiled without the tables for that; so it is a long jump, and long jumps skip destructors. Hence
/// the rule: libpng is called only inside `guarded`, and what runs there has no object with a destructor. All such
/// objects belong to frames outside, which the jump doesn't leave; failures become exceptions there.
class PngSession {
public:
    explicit PngSession(InputFile& file);
    explicit PngSession(OutputFile& file);
    PngSession(const PngSession&) = delete;
    PngSession& operator=(const PngSession&) = delete;
    ~PngSession();

    png_structp png() const noexcept { return m_png; }
    png_infop info() const noexcept { return m_info; }

    /// Runs `body`; false when libpng reported an error in it. Its variables may hold references, numbers and
    /// pointers only, and what they were assigned inside before an error is not to be used.
    template <class Body>
    [[nodiscard]] bool guarded(Body body) {
        return jumpBackFrom([](void* context) { (*static_cast<Body*>(context))(); }, &body);
    }

    /// Throws a `LoadingError` or `WritingError` of `what` and of what is known about the reason.
    [[noreturn]] void fail(const char* what) const;

private:
    [[nodiscard]] bool jumpBackFrom(void (*body)(void*), void* context);
    static void errorProc(png_structp png, png_const_charp message);
    static void warningProc(png_structp png, png_const_charp message);
    static void readProc(png_structp png, png_bytep buffer, png_size_t size);
    static void writeProc(png_structp png, png_bytep buffer, png_size_t size);
    static void flushProc(png_structp png);
    void create();

    InputFile* m_input = nullptr;
    OutputFile* m_output = nullptr;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    std::uint64_t m_position = 0;
    std::jmp_buf m_return{};
    char m_message[160] = "";  // no string: it is filled between an error and its jump
};

}  // namespace rix::io
