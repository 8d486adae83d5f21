#pragma once

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

/// Prepares the library: reads the settings from the environment, detects the processor, and pins vector math and
/// linear algebra to one thread each, so that all parallelism comes from the library's own tasks. Does nothing when
/// the global setting "RIX_LIBRARY_INITIALIZED" is true, as it is after a first call. Algorithms also work without.
RIX_EXPORT void init();

/// Undoes `init`: unloads plug-ins, ends idle threads, forgets the processor. The registry stays; a later `init` works.
RIX_EXPORT void finish();

/// Loads the plug-in libraries (all files `*.so`, in the order of their names) of a folder. See
/// <rix/algorithms/Plugin.h> for what a plug-in is.
/// @throws FileSystemError when the folder cannot be read.
/// @throws LoadingError when a file is no plug-in, was built for another version of the library (in which case none of
///         its code runs) or refuses to register; the others are loaded all the same (`partiallyLoaded` tells whether
///         there were any).
RIX_EXPORT void initPlugins(const String& path);

/// The same with the folder of the setting "RIX_PLUGIN_DIRECTORY"; nothing when it is not set.
RIX_EXPORT void initPlugins();

/// Takes out what the plug-ins registered and unloads them. No algorithm of theirs may be running.
RIX_EXPORT void finishPlugins();

/// The version of the library that was loaded, for example "0.1.0".
RIX_EXPORT const char* version() noexcept;

}  // namespace rix
