#pragma once

#include <cfenv>
#include <cstdint>
#include <vector>

/// The floating-point states that a host may leave its threads in.
namespace rix::test {

struct FloatingPointState {
    const char* name;
    int rounding = FE_TONEAREST;
    int traps = 0;  ///< exceptions that end the thread
    bool flushesToZero = false;
    bool denormalsAreZero = false;
};

inline std::vector<FloatingPointState> floatingPointStates() {
    return {{"default"},
            {"upward", FE_UPWARD},
            {"downward", FE_DOWNWARD},
            {"toward zero", FE_TOWARDZERO},
#ifdef __x86_64__
            {"flush to zero", FE_TONEAREST, 0, true, false},
            {"denormals are zero", FE_TONEAREST, 0, false, true},
            {"all traps", FE_TONEAREST, FE_ALL_EXCEPT, false, false},
            {"everything", FE_UPWARD, FE_ALL_EXCEPT, true, true}
#endif
    };
}

/// The calling thread's state with the flags of exceptions, to compare with.
class FloatingPointSnapshot {
public:
    FloatingPointSnapshot() : m_rounding(std::fegetround()), m_flags(std::fetestexcept(FE_ALL_EXCEPT)) {
#ifdef __x86_64__
        m_vector = __builtin_ia32_stmxcsr();
        m_traps = ::fegetexcept();
#endif
    }
    bool isCurrent() const {
        const FloatingPointSnapshot now;
        return now.m_rounding == m_rounding && now.m_flags == m_flags && now.m_vector == m_vector &&
               now.m_traps == m_traps;
    }

private:
    int m_rounding;
    int m_flags;
    std::uint32_t m_vector = 0;
    int m_traps = 0;
};

/// Puts the calling thread into a state, and back into its own at the end.
class ScopedState {
public:
    explicit ScopedState(const FloatingPointState& state) {
        std::fegetenv(&m_before);
        std::feclearexcept(FE_ALL_EXCEPT);
        std::fesetround(state.rounding);
#ifdef __x86_64__
        ::feenableexcept(state.traps);
        constexpr std::uint32_t flushToZero = 1U << 15;
        constexpr std::uint32_t denormalsAreZero = 1U << 6;
        __builtin_ia32_ldmxcsr(__builtin_ia32_stmxcsr() | (state.flushesToZero ? flushToZero : 0) |
                               (state.denormalsAreZero ? denormalsAreZero : 0));
#endif
    }
    ~ScopedState() { std::fesetenv(&m_before); }
    ScopedState(const ScopedState&) = delete;
    ScopedState& operator=(const ScopedState&) = delete;

private:
    std::fenv_t m_before{};
};

}  // namespace rix::test
