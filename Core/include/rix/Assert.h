#pragma once

#include <source_location>

#include <rix/Export.h>

namespace rix::detail {

/// Prints "FILE:LINE: Assertion 'TEXT' failed." to standard error and aborts.
[[noreturn]] RIX_EXPORT void assertionFailed(const char* text,
                                             std::source_location where = std::source_location::current());

}  // namespace rix::detail

/// States what holds unless the program is wrong. Active in builds with assertions; else the expression is not
/// evaluated.
#ifdef NDEBUG
#define RIX_ASSERT(expression) static_cast<void>(sizeof((expression) ? true : false))
#else
#define RIX_ASSERT(expression) ((expression) ? static_cast<void>(0) : ::rix::detail::assertionFailed(#expression))
#endif
