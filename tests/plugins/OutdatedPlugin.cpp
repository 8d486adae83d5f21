// A plug-in built for an interface that the library does not have.

#include <rix/algorithms/Plugin.h>

extern "C" RIX_EXPORT int rixPluginInterfaceVersion() {
    return rix::pluginInterfaceVersion + 1;
}

extern "C" RIX_EXPORT void rixRegisterPlugin(rix::PluginRegistrar& registrar) {
    registrar.addRunner("ThresholdingByCriterion", nullptr);
}
