#include "Process/FloatingPoint.h"

namespace rix::process {

#if defined(__x86_64__) || defined(__i386__)

namespace {

constexpr std::uint32_t defaultVector = 0x1f80;
constexpr std::uint32_t vectorFlags = 0x3f;
constexpr std::uint16_t defaultControl = 0x037f;
constexpr std::uint16_t x87Flags = 0x3f;

std::uint32_t vectorState() noexcept {
    return __builtin_ia32_stmxcsr();
}

std::uint16_t x87Control() noexcept {
    std::uint16_t control;
    __asm__ volatile("fnstcw %0" : "=m"(control));
    return control;
}

std::uint16_t x87Status() noexcept {
    std::uint16_t status;
    __asm__ volatile("fnstsw %0" : "=am"(status));
    return status;
}

/// Both at once: an unmasked exception whose flag stands would end the thread at its next instruction.
void setX87(std::uint16_t control, std::uint16_t flags) noexcept {
    struct {
        std::uint16_t words[14];
    } environment;
    __asm__ volatile("fnstenv %0" : "=m"(environment));
    environment.words[0] = control;
    environment.words[2] = static_cast<std::uint16_t>((environment.words[2] & ~x87Flags) | flags);
    __asm__ volatile("fldenv %0" : : "m"(environment));
}

}  // namespace

DefaultFloatingPoint::DefaultFloatingPoint() noexcept
    : m_vector(vectorState()), m_control(x87Control()), m_status(x87Status()) {
    enter();
}

DefaultFloatingPoint::~DefaultFloatingPoint() {
    leave();
}

void DefaultFloatingPoint::enter() const noexcept {
    if ((vectorState() & ~vectorFlags) != defaultVector) {
        __builtin_ia32_ldmxcsr(defaultVector);
    }
    if (x87Control() != defaultControl) {
        setX87(defaultControl, 0);
    }
}

void DefaultFloatingPoint::leave() const noexcept {
    if (vectorState() != m_vector) {
        __builtin_ia32_ldmxcsr(m_vector);
    }
    if (x87Control() != m_control || ((x87Status() ^ m_status) & x87Flags) != 0) {
        setX87(m_control, m_status & x87Flags);
    }
}

#else

DefaultFloatingPoint::DefaultFloatingPoint() noexcept {
    std::fegetenv(&m_environment);
    enter();
}

DefaultFloatingPoint::~DefaultFloatingPoint() {
    leave();
}

void DefaultFloatingPoint::enter() const noexcept {
    std::fesetenv(FE_DFL_ENV);
}

void DefaultFloatingPoint::leave() const noexcept {
    std::fesetenv(&m_environment);
}

#endif

// The state of before is put back as a whole, so a callback begins in it and ends the scope with it.
DefaultFloatingPoint::Outside::Outside(const DefaultFloatingPoint& inside) noexcept : m_inside(inside) {
    m_inside.leave();
}

DefaultFloatingPoint::Outside::~Outside() {
    m_inside.enter();
}

}  // namespace rix::process
