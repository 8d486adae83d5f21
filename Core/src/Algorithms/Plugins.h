#pragma once

#include <rix/String.h>

namespace rix::algorithms {

/// The work behind `rix::initPlugins` and `rix::finishPlugins`.
void loadPlugins(const String& folder);
void unloadPlugins();

}  // namespace rix::algorithms
