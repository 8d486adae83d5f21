#pragma once

#include <cstdint>

#if !defined(__x86_64__) && !defined(__i386__)
#include <cfenv>
#endif

namespace rix::process {

/// Computes in the default floating-point state of a program while it lives: rounding to nearest, denormal numbers kept
/// on both sides, no exception ending the thread. Afterwards everything is as it was, the flags of exceptions included.
///
/// Without it the results of a run would follow from what its thread, or the thread that once started that one, was
/// set to. Costs some nanoseconds where the state is the default one already. Used by one thread; nests.
class DefaultFloatingPoint {
public:
    DefaultFloatingPoint() noexcept;
    ~DefaultFloatingPoint();
    DefaultFloatingPoint(const DefaultFloatingPoint&) = delete;
    DefaultFloatingPoint& operator=(const DefaultFloatingPoint&) = delete;

    /// Inside, the state as it was before, for the code of others: what a callback changes does not last.
    class Outside {
    public:
        explicit Outside(const DefaultFloatingPoint& inside) noexcept;
        ~Outside();
        Outside(const Outside&) = delete;
        Outside& operator=(const Outside&) = delete;

    private:
        const DefaultFloatingPoint& m_inside;
    };

private:
    void enter() const noexcept;
    void leave() const noexcept;

#if defined(__x86_64__) || defined(__i386__)
    std::uint32_t m_vector = 0;   ///< MXCSR
    std::uint16_t m_control = 0;  ///< of the x87 unit
    std::uint16_t m_status = 0;
#else
    std::fenv_t m_environment{};
#endif
};

}  // namespace rix::process
