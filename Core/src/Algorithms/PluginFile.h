#pragma once

#include <rix/String.h>
#include <rix/algorithms/Plugin.h>

namespace rix::algorithms {

/// What a file says of itself as a plug-in. The file is read, not loaded: none of its code runs.
/// @throws LoadingError when it cannot be read, is no complete shared library, or holds no note of a plug-in.
PluginNote readPluginNote(const String& path);

}  // namespace rix::algorithms
