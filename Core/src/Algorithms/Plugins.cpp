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

void PluginRegistrar::addRunner(const String& className, std::shared_ptr<Runnable> runner) {
    AlgoInfo& info = AlgoInfo::fromName(className);
    m_runners.push_back({&info, runner.get()});
    info.addRunner(std::move(runner));
}

void PluginRegistrar::addClass(AlgoInfo& info) {
    m_classes.push_back(&info);
    AlgoInfo::registerClass(info);
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

template <class Function>
Function* findFunction(void* library, const char* name, const String& path) {
    void* const symbol = ::dlsym(library, name);
    if (symbol == nullptr) {
        throw LoadingError("The file " + path + " is no plug-in: it does not export the function " + name + '.');
    }
    return reinterpret_cast<Function*>(symbol);
}

Plugin loadPlugin(const String& path) {
    Plugin plugin;
    plugin.library.reset(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (plugin.library == nullptr) {
        const char* const reason = ::dlerror();
        throw LoadingError("The plug-in " + path +
                           " cannot be loaded: " + (reason != nullptr ? reason : "unknown reason"));
    }
    const int version = findFunction<int()>(plugin.library.get(), "rixPluginInterfaceVersion", path)();
    if (version != pluginInterfaceVersion) {
        throw LoadingError("The plug-in " + path + " was built for interface version " + std::to_string(version) +
                           "; this library has version " + std::to_string(pluginInterfaceVersion) + '.');
    }
    auto* const registerPlugin = findFunction<void(PluginRegistrar&)>(plugin.library.get(), "rixRegisterPlugin", path);
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
