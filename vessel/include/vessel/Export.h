#pragma once

/// Marks what the shared library exports.
#define VESSEL_EXPORT __attribute__((visibility("default")))
