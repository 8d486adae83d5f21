#pragma once

#include <memory>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/algorithms/Runnable.h>

namespace rix {

class AlgoInfo;

/// What a plug-in registers while it is loaded, and what is taken out again when it is unloaded.
///
/// A plug-in is a shared library that exports two functions with C linkage:
///
///     int rixPluginInterfaceVersion();                      // returns rix::pluginInterfaceVersion
///     void rixRegisterPlugin(rix::PluginRegistrar& registrar);
class RIX_EXPORT PluginRegistrar {
public:
    PluginRegistrar() = default;
    ~PluginRegistrar();
    PluginRegistrar(const PluginRegistrar&) = delete;
    PluginRegistrar& operator=(const PluginRegistrar&) = delete;

    /// Attaches a runner to an algorithm class. @throws InvalidCall when there is no class of that name.
    void addRunner(const String& className, std::shared_ptr<Runnable> runner);
    /// Adds an algorithm class. The record is the plug-in's own and lives as long as it is loaded.
    void addClass(AlgoInfo& info);

private:
    struct Attached {
        AlgoInfo* info;
        Runnable* runner;
    };
    std::vector<Attached> m_runners;
    std::vector<AlgoInfo*> m_classes;
};

/// Raised whenever a plug-in built against an older library could not be trusted any more.
inline constexpr int pluginInterfaceVersion = 1;

}  // namespace rix
