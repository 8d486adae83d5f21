#include <rix/devices/Cpu.h>

#include <initializer_list>
#include <memory>
#include <mutex>

#include <libcpuid/libcpuid.h>
#include <sys/sysinfo.h>

#include "Process/Forks.h"
#include "ThreadLimiter.h"

namespace rix::devices {

namespace {

struct Detected {
    String name = "unknown";
    std::size_t memory = 0;
    std::size_t lastLevelCache = std::size_t{8} << 20;
    bool sse = false;
    bool avx = false;
    bool avx512 = false;
};

/// The register states that the operating system saves (the extended control register 0).
std::uint64_t savedRegisterStates() {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (std::uint64_t{high} << 32) | low;
}

/// Whether the processor has AVX-512 with F, DQ, CD, BW and VL. Read from leaf 7 itself: libcpuid looks for these on
/// processors of one maker only (version 0.6.2).
bool tellsAvx512(const cpu_raw_data_t& raw) {
    constexpr std::uint32_t parts = 1U << 16 | 1U << 17 | 1U << 28 | 1U << 30 | 1U << 31;
    const std::uint32_t highestLeaf = raw.basic_cpuid[0][0];
    return highestLeaf >= 7 && (raw.basic_cpuid[7][1] & parts) == parts;
}

Detected detectNow() {
    Detected result;
    struct sysinfo system{};
    if (::sysinfo(&system) == 0) {
        result.memory = static_cast<std::size_t>(system.totalram) * system.mem_unit;
    }

    cpu_raw_data_t raw{};
    cpu_id_t id{};
    if (!cpuid_present() || cpuid_get_raw_data(&raw) < 0 || cpu_identify(&raw, &id) < 0) {
        return result;  // only the scalar level is then offered
    }
    result.name = id.brand_str;
    for (const int kibibytes : {static_cast<int>(id.l3_cache), static_cast<int>(id.l2_cache)}) {
        if (kibibytes > 0) {
            result.lastLevelCache = static_cast<std::size_t>(kibibytes) << 10;
            break;
        }
    }

    const auto hasAll = [&id](std::initializer_list<cpu_feature_t> features) {
        for (const cpu_feature_t feature : features) {
            if (id.flags[feature] == 0) {
                return false;
            }
        }
        return true;
    };
    result.sse =
        hasAll({CPU_FEATURE_SSSE3, CPU_FEATURE_SSE4_1, CPU_FEATURE_SSE4_2, CPU_FEATURE_AES, CPU_FEATURE_PCLMUL});
    if (!result.sse || !hasAll({CPU_FEATURE_OSXSAVE})) {
        return result;
    }
    // The processor having wide registers is not enough: the operating system must save them.
    constexpr std::uint64_t ymmStates = 0x06;
    constexpr std::uint64_t zmmStates = 0xe6;
    const std::uint64_t saved = savedRegisterStates();
    result.avx = (saved & ymmStates) == ymmStates &&
                 hasAll({CPU_FEATURE_AVX, CPU_FEATURE_AVX2, CPU_FEATURE_FMA3, CPU_FEATURE_F16C, CPU_FEATURE_BMI1,
                         CPU_FEATURE_BMI2, CPU_FEATURE_POPCNT});
    result.avx512 = result.avx && (saved & zmmStates) == zmmStates && tellsAvx512(raw);
    return result;
}

/// Never destroyed, and held by everyone who uses it: runs go on while others release it. With the lock.
std::shared_ptr<const Detected>& detection() {
    static auto* const held = new std::shared_ptr<const Detected>();
    return *held;
}

std::shared_ptr<const Detected> detected() {
    const std::lock_guard lock(process::mutexOf(process::Lock::Processor));
    std::shared_ptr<const Detected>& detection = devices::detection();
    if (detection == nullptr) {
        detection = std::make_shared<const Detected>(detectNow());
    }
    return detection;
}

}  // namespace

std::size_t Cpu::logicalProcessors() {
    return algorithms::ThreadLimiter::defaultThreads();
}

std::size_t Cpu::memory() {
    return detected()->memory;
}

std::size_t Cpu::lastLevelCache() {
    return detected()->lastLevelCache;
}

String Cpu::name() {
    return detected()->name;
}

bool Cpu::supports(OptimLevelType level) {
    switch (level) {
        case SCALAR: return true;
        case VEC_SSE: return detected()->sse;
        case VEC_AVX: return detected()->avx;
        case GPU: break;
    }
    return false;
}

bool Cpu::hasAvx512() {
    return detected()->avx512;
}

void Cpu::detect() {
    detected();
}

void Cpu::release() {
    const std::lock_guard lock(process::mutexOf(process::Lock::Processor));
    detection().reset();
}

}  // namespace rix::devices
