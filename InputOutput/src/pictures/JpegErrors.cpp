#include "JpegErrors.h"

#include <array>
#include <cstring>

namespace rix::io {

void JpegErrors::watch(j_common_ptr jpeg) {
    jpeg->err = jpeg_std_error(&m_manager);
    m_manager.error_exit = &fail;
    m_manager.emit_message = &warn;
    jpeg->client_data = this;
}

bool JpegErrors::jumpBackFrom(void (*body)(void*), void* context) {
    if (setjmp(m_return) != 0) {
        return false;
    }
    body(context);
    return true;
}

void JpegErrors::stop(j_common_ptr jpeg, const char* reason) {
    of(jpeg).keep(reason);
    std::longjmp(of(jpeg).m_return, 1);
}

void JpegErrors::fail(j_common_ptr jpeg) {
    of(jpeg).keepMessageOf(jpeg);
    std::longjmp(of(jpeg).m_return, 1);
}

/// libjpeg fills up with grey what a damaged file doesn't hold, and warns.
void JpegErrors::warn(j_common_ptr jpeg, int level) {
    if (level < 0) {
        of(jpeg).keepMessageOf(jpeg);
    }
}

void JpegErrors::keep(const char* message) {
    if (m_message[0] == '\0') {
        std::strncpy(m_message, message, sizeof(m_message) - 1);
    }
}

void JpegErrors::keepMessageOf(j_common_ptr jpeg) {
    std::array<char, JMSG_LENGTH_MAX> text{};
    jpeg->err->format_message(jpeg, text.data());
    keep(text.data());
}

}  // namespace rix::io
