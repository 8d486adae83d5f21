#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

namespace rix::io {

/// What goes wrong in a run of libjpeg. As with libpng (see PngSession), errors come back by a long jump, so that what
/// runs inside `guarded` has no object with a destructor.
class JpegErrors {
public:
    JpegErrors() = default;
    JpegErrors(const JpegErrors&) = delete;
    JpegErrors& operator=(const JpegErrors&) = delete;

    /// Sees to the errors of a structure that is about to be created.
    void watch(j_common_ptr jpeg);

    /// Runs `body`; false when libjpeg reported an error or damage in it.
    template <class Body>
    [[nodiscard]] bool guarded(Body body) {
        return jumpBackFrom([](void* context) { (*static_cast<Body*>(context))(); }, &body) && m_message[0] == '\0';
    }

    /// Ends what is guarded for a reason of our own.
    [[noreturn]] static void stop(j_common_ptr jpeg, const char* reason);

    /// Of the first that was reported, without a full stop.
    const char* message() const { return m_message; }

private:
    bool jumpBackFrom(void (*body)(void*), void* context);
    static JpegErrors& of(j_common_ptr jpeg) { return *static_cast<JpegErrors*>(jpeg->client_data); }
    static void fail(j_common_ptr jpeg);
    static void warn(j_common_ptr jpeg, int level);
    void keep(const char* message);
    void keepMessageOf(j_common_ptr jpeg);

    jpeg_error_mgr m_manager{};
    std::jmp_buf m_return{};
    char m_message[JMSG_LENGTH_MAX + 1] = "";  // no string: it is filled between an error and its jump
};

}  // namespace rix::io
