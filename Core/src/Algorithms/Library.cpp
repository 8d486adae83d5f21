#include <rix/Library.h>

#include <mutex>

#include <Eigen/Core>
#ifdef RIX_HAVE_MKL
#include <mkl_service.h>
#endif

#include <rix/Version.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/devices/Cpu.h>
#include <rix/settings/Settings.h>

#include "Plugins.h"
#include "Process/Forks.h"
#include "ThreadLimiter.h"
#include "Worker.h"

namespace rix {

namespace {

constexpr const char* initializedKey = "RIX_LIBRARY_INITIALIZED";

/// Of two threads that start the library, the second returns when it is started.
std::mutex& startMutex() {
    return process::mutexOf(process::Lock::Start);
}

}  // namespace

void init() {
    const std::lock_guard lock(startMutex());
    if (globalSettings().getValueAsBool(initializedKey, false)) {
        return;
    }
    AlgoInfo::getNumOfAlgorithm();  // fills the registry, which is only read from here on
    devices::Cpu::detect();
#ifdef RIX_HAVE_MKL
    mkl_set_num_threads(1);
#endif
    Eigen::setNbThreads(1);
    globalSettings().setValueAsBool(initializedKey, true);
}

void finish() {
    const std::lock_guard lock(startMutex());
    finishPlugins();
    const process::ActiveRun asARun;  // to give arenas back is to use oneTBB
    algorithms::releaseIdleWorkers();
    algorithms::ThreadLimiter::releaseArenas();
    devices::Cpu::release();
    globalSettings().setValueAsBool(initializedKey, false);
}

void initPlugins(const String& path) {
    algorithms::loadPlugins(path);
}

void initPlugins() {
    if (const String folder = globalSettings().getPluginDirectory(); !folder.empty()) {
        initPlugins(folder);
    }
}

void finishPlugins() {
    algorithms::unloadPlugins();
}

const char* version() noexcept {
    return headerVersion;
}

}  // namespace rix
