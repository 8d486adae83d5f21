#pragma once

#include <cstddef>
#include <functional>

#include <rix/exceptions/Exception.h>

namespace rix::helper {

/// Asks about every MiB of work whether it shall end: for what is no algorithm, such as files and pictures.
class InterruptPoint {
public:
    /// Never ends the work.
    InterruptPoint() = default;
    /// @param interrupted may be empty, and has to live as long as this and its copies
    explicit InterruptPoint(const std::function<bool()>& interrupted) : m_interrupted(&interrupted) {}

    /// @throws UserCancelException
    void pass(std::size_t bytes) {
        constexpr std::size_t interval = std::size_t{1} << 20U;
        m_bytes += bytes;
        if (m_bytes < interval) {
            return;
        }
        m_bytes = 0;
        if (m_interrupted != nullptr && *m_interrupted && (*m_interrupted)()) {
            throw UserCancelException(ExceptionCancelation().what());
        }
    }

private:
    const std::function<bool()>* m_interrupted = nullptr;
    std::size_t m_bytes = 0;
};

}  // namespace rix::helper
