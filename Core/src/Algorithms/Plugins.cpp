#include "Plugins.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

#include <cxxabi.h>
#include <dlfcn.h>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/Plugin.h>
#include <rix/exceptions/Exception.h>

#include "PluginFile.h"
#include "Process/Forks.h"

namespace rix {

PluginRegistrar::~PluginRegistrar() {
    for (auto attached = m_runners.rbegin(); attached != m_runners.rend(); ++attached) {
        attached->info->removeRunner(attached->runner);
    }
    for (auto info = m_classes.rbegin(); info != m_classes.rend(); ++info) {
        AlgoInfo::unregisterClass(**info);
    }
}

AlgoInfo& PluginRegistrar::attach(const String& className, Runnable* runner) {
    AlgoInfo& info = AlgoInfo::fromName(className);
    m_runners.push_back({&info, runner});
    return info;
}

void PluginRegistrar::addRunner(const String& className, std::shared_ptr<Runnable> runner) {
    attach(className, runner.get()).addRunner(std::move(runner));
}

void PluginRegistrar::insertRunnerFirst(const String& className, std::shared_ptr<Runnable> runner) {
    attach(className, runner.get()).insertRunnerFirst(std::move(runner));
}

void PluginRegistrar::insertRunnerBefore(const String& className, const Runnable& existing,
                                         std::shared_ptr<Runnable> runner) {
    attach(className, runner.get()).insertRunnerBefore(existing, std::move(runner));
}

void PluginRegistrar::addClass(AlgoInfo& info, const String& area) {
    m_classes.push_back(&info);
    AlgoInfo::registerClass(info, area);
}

namespace algorithms {

namespace {

/// A loaded shared library; unloaded with the object.
struct LibraryCloser {
    void operator()(void* handle) const { ::dlclose(handle); }
};
using LibraryHandle = std::unique_ptr<void, LibraryCloser>;

std::mutex& pluginsMutex() {
    return process::mutexOf(process::Lock::Plugins);
}

/// A plug-in: the registrar goes first when it is unloaded, while the code of its runners is still there.
struct Plugin {
    LibraryHandle library;
    std::unique_ptr<PluginRegistrar> registrar;
};

/// With the lock.
std::vector<Plugin>& plugins() {
    // After the records of the library's classes, so that plug-ins that nobody unloads leave them while they exist.
    static std::vector<Plugin> loaded = [] {
        AlgoInfo::getNumOfAlgorithm();
        return std::vector<Plugin>();
    }();
    return loaded;
}

String versionOf(const PluginNote& note) {
    return std::to_string(note.versionMajor) + '.' + std::to_string(note.versionMinor) + '.' +
           std::to_string(note.versionPatch) + " (plug-in interface " + std::to_string(note.interfaceVersion) + ')';
}

/// A plug-in is trusted when its classes look as those of this library do, which only the last number of a version
/// leaves as they are.
void checkVersion(const PluginNote& note, const String& path) {
    const PluginNote own;
    if (note.interfaceVersion != own.interfaceVersion || note.versionMajor != own.versionMajor ||
        note.versionMinor != own.versionMinor) {
        throw LoadingError("The plug-in " + path + " was built for version " + versionOf(note) +
                           " of the library; this is version " + versionOf(own) + '.');
    }
}

Plugin loadPlugin(const String& path) {
    checkVersion(readPluginNote(path), path);
    Plugin plugin;
    plugin.library.reset(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (plugin.library == nullptr) {
        const char* const reason = ::dlerror();
        throw LoadingError("The plug-in " + path +
                           " cannot be loaded: " + (reason != nullptr ? reason : "unknown reason"));
    }
    void* const function = ::dlsym(plugin.library.get(), "rixRegisterPlugin");
    if (function == nullptr) {
        throw LoadingError("The file " + path + " is no plug-in: it does not export the function rixRegisterPlugin.");
    }
    auto* const registerPlugin = reinterpret_cast<void (*)(PluginRegistrar&)>(function);
    plugin.registrar = std::make_unique<PluginRegistrar>();
    try {
        registerPlugin(*plugin.registrar);
    } catch (const std::exception& exception) {
        // The text is copied: the exception's own code may be unloaded with the library.
        const String reason = exception.what();
        throw LoadingError("The plug-in " + path + " failed to register: " + reason);
    } catch (const abi::__forced_unwind&) {
        throw;  // the thread is being ended
    } catch (...) {
        throw LoadingError("The plug-in " + path + " failed to register.");
    }
    return plugin;
}

}  // namespace

void loadPlugins(const String& folder) {
    std::vector<String> paths;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".so") {
            paths.push_back(entry->path().string());
        }
    }
    if (error) {
        throw FileSystemError("The plug-in folder " + folder + " cannot be read: " + error.message());
    }
    std::sort(paths.begin(), paths.end());

    const std::lock_guard lock(pluginsMutex());
    String failures;
    bool anyLoaded = false;
    for (const String& path : paths) {
        try {
            plugins().push_back(loadPlugin(path));
            anyLoaded = true;
        } catch (const LoadingError& exception) {
            failures += (failures.empty() ? "" : "\n") + exception.getMessage();
        }
    }
    if (!failures.empty()) {
        throw LoadingError(failures, anyLoaded);
    }
}

void unloadPlugins() {
    const std::lock_guard lock(pluginsMutex());
    while (!plugins().empty()) {
        plugins().pop_back();
    }
}

}  // namespace algorithms
}  // namespace rix
