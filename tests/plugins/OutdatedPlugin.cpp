// A plug-in built for an interface that the library does not have: what RIX_PLUGIN makes of another header. Its static
// object leaves a trace when it is made.

#include <rix/algorithms/Plugin.h>
#include <rix/settings/Settings.h>

namespace {

[[gnu::used, gnu::section(".note.rix"), gnu::aligned(4)]] constexpr rix::PluginNote note{
    .interfaceVersion = rix::pluginInterfaceVersion + 1};

struct Trace {
    Trace() { rix::globalSettings().setValue("OUTDATED_PLUGIN_RAN", "true"); }
};
const Trace trace;

}  // namespace

extern "C" RIX_EXPORT void rixRegisterPlugin(rix::PluginRegistrar& registrar) {
    registrar.addRunner("ThresholdingByCriterion", nullptr);
}
