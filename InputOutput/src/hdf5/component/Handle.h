#pragma once

#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

#include <hdf5.h>

namespace rix::io::hdf5 {

/// What libhdf5 hands out, until it is closed.
class Handle {
public:
    Handle() = default;
    Handle(::hid_t id, ::herr_t (*closeIt)(::hid_t)) : m_id(id), m_close(closeIt) {}
    Handle(Handle&& other) noexcept
        : m_id(std::exchange(other.m_id, ::hid_t{-1})), m_close(std::exchange(other.m_close, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(m_id, other.m_id);
        std::swap(m_close, other.m_close);
        return *this;
    }
    ~Handle() { static_cast<void>(close()); }

    operator ::hid_t() const { return m_id; }  // NOLINT(google-explicit-constructor): it is one
    explicit operator bool() const { return m_id >= 0; }
    /// False when that fails, as writing what was kept back may.
    bool close() {
        const bool isOpen = m_id >= 0 && m_close != nullptr;
        return !isOpen || m_close(std::exchange(m_id, ::hid_t{-1})) >= 0;
    }

private:
    ::hid_t m_id = -1;
    ::herr_t (*m_close)(::hid_t) = nullptr;
};

/// One thread at a time in libhdf5, none in the middle of a fork.
std::unique_lock<std::mutex> enter();

/// The sentence, and what libhdf5 says of the last failure.
[[noreturn]] void fail(const std::string& sentence);

inline void check(bool succeeded, const char* sentence) {
    if (!succeeded) {
        fail(sentence);
    }
}

inline Handle checked(::hid_t id, ::herr_t (*close)(::hid_t), const char* sentence) {
    check(id >= 0, sentence);
    return {id, close};
}

}  // namespace rix::io::hdf5
