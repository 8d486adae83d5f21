#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/Version.h>
#include <rix/algorithms/Runnable.h>

/// What makes a shared library a plug-in: written once in one of its sources, followed by the body of a function that
/// registers what the plug-in brings. The function is called once whenever the plug-in is loaded; what it throws
/// refuses the plug-in.
///
///     RIX_PLUGIN(rix::PluginRegistrar& registrar) {
///         registrar.addClass(Sharpen::getInfo(), "sharpening");
///     }
///
/// Beside the function it leaves a note in the file that says which version of the library the plug-in was compiled
/// for. The library reads it before it loads the file, so that no code of a plug-in runs in a library that it was not
/// made for, not even that of its static objects.
#define RIX_PLUGIN(registrar)                                                                              \
    namespace {                                                                                            \
    [[gnu::used, gnu::section(".note.rix"), gnu::aligned(4)]] constexpr ::rix::PluginNote rixPluginNote{}; \
    }                                                                                                      \
    extern "C" RIX_EXPORT void rixRegisterPlugin(registrar)

namespace rix {

class AlgoInfo;

/// What a plug-in registers while it is loaded, and what is taken out again when it is unloaded.
class RIX_EXPORT PluginRegistrar {
public:
    PluginRegistrar() = default;
    ~PluginRegistrar();
    PluginRegistrar(const PluginRegistrar&) = delete;
    PluginRegistrar& operator=(const PluginRegistrar&) = delete;

    /// Attaches a runner to an algorithm class, behind those that it has. @throws InvalidCall when there is no class of
    /// that name.
    void addRunner(const String& className, std::shared_ptr<Runnable> runner);
    /// The same in front of the others of its level: where it accepts the data it takes the place of the library's own.
    void insertRunnerFirst(const String& className, std::shared_ptr<Runnable> runner);
    /// The same in front of one that is there. @throws InvalidCall also when `existing` is no runner of the class.
    void insertRunnerBefore(const String& className, const Runnable& existing, std::shared_ptr<Runnable> runner);
    /// Adds an algorithm class. The record is the plug-in's own and lives as long as it is loaded.
    /// @param area what `AlgoInfo::getArea` says; the name of the class's library when empty
    void addClass(AlgoInfo& info, const String& area = "");

private:
    struct Attached {
        AlgoInfo* info;
        Runnable* runner;
    };
    AlgoInfo& attach(const String& className, Runnable* runner);

    std::vector<Attached> m_runners;
    std::vector<AlgoInfo*> m_classes;
};

/// Raised whenever a plug-in built against an older library of the same version could not be trusted any more.
inline constexpr std::uint32_t pluginInterfaceVersion = 2;

/// A note in the format of executable files (ELF): sizes and type, the name of who reads it, and the content.
struct PluginNote {
    static constexpr std::uint32_t noteType = 1;

    std::uint32_t nameSize = 4;
    std::uint32_t contentSize = 16;
    std::uint32_t type = noteType;
    char name[4] = {'r', 'i', 'x', '\0'};
    std::uint32_t interfaceVersion = pluginInterfaceVersion;
    std::uint32_t versionMajor = headerVersionMajor;
    std::uint32_t versionMinor = headerVersionMinor;
    std::uint32_t versionPatch = headerVersionPatch;
};

}  // namespace rix
