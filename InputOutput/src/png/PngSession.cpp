#include "PngSession.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include <rix/exceptions/Exception.h>

namespace rix::io {

PngSession::PngSession(InputFile& file) : m_input(&file) {
    m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, &errorProc, &warningProc);
    create();
}

PngSession::PngSession(OutputFile& file) : m_output(&file) {
    m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, &errorProc, &warningProc);
    create();
}

PngSession::~PngSession() {
    if (m_input != nullptr) {
        png_destroy_read_struct(&m_png, &m_info, nullptr);
    } else {
        png_destroy_write_struct(&m_png, &m_info);
    }
}

void PngSession::create() {
    if (m_png == nullptr) {
        throw std::bad_alloc();
    }
    const bool done = guarded([this] {
        m_info = png_create_info_struct(m_png);
        // libpng's own limit of a million columns and rows is a guess; what a file can hold is checked from its size.
        png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        if (m_input != nullptr) {
            png_set_read_fn(m_png, this, &readProc);
        } else {
            png_set_write_fn(m_png, this, &writeProc, &flushProc);
        }
    });
    if (!done || m_info == nullptr) {
        png_destroy_read_struct(m_input != nullptr ? &m_png : nullptr, nullptr, nullptr);
        png_destroy_write_struct(m_input == nullptr ? &m_png : nullptr, nullptr);
        throw std::bad_alloc();
    }
}

bool PngSession::jumpBackFrom(void (*body)(void*), void* context) {
    if (setjmp(m_return) != 0) {
        return false;
    }
    body(context);
    return true;
}

void PngSession::fail(const char* what) const {
    const String failure = m_input != nullptr ? m_input->failure() : m_output->failure();
    const String reason = failure.empty() ? String(m_message) : failure;
    const String text = String(what) + (reason.empty() ? "." : ": " + reason + (reason.back() == '.' ? "" : "."));
    if (m_input != nullptr) {
        throw LoadingError(text);
    }
    throw WritingError(text);
}

void PngSession::errorProc(png_structp png, png_const_charp message) {
    auto* self = static_cast<PngSession*>(png_get_error_ptr(png));
    std::strncpy(self->m_message, message, std::size(self->m_message) - 1);
    std::longjmp(self->m_return, 1);
}

// A warning is a doubt about something that libpng then passes over: kept only to explain an error without a text.
void PngSession::warningProc(png_structp png, png_const_charp message) {
    auto* self = static_cast<PngSession*>(png_get_error_ptr(png));
    if (self->m_message[0] == '\0') {
        std::strncpy(self->m_message, message, std::size(self->m_message) - 1);
    }
}

void PngSession::readProc(png_structp png, png_bytep buffer, png_size_t size) {
    auto* self = static_cast<PngSession*>(png_get_io_ptr(png));
    if (self->m_input->readAt(self->m_position, buffer, size) != size) {
        png_error(png, "the file ends early (truncated?)");
    }
    self->m_position += size;
}

void PngSession::writeProc(png_structp png, png_bytep buffer, png_size_t size) {
    auto* self = static_cast<PngSession*>(png_get_io_ptr(png));
    if (!self->m_output->writeAt(self->m_position, buffer, size)) {
        png_error(png, "the file system refuses");
    }
    self->m_position += size;
}

void PngSession::flushProc(png_structp) {}

}  // namespace rix::io
