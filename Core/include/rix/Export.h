#pragma once

/// Marks what the shared library exports. Everything else is compiled with hidden visibility.
#define RIX_EXPORT __attribute__((visibility("default")))

/// Marks what must never cross the boundary of the shared library although a surrounding class does.
#define RIX_LOCAL __attribute__((visibility("hidden")))
