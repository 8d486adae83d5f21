#pragma once

#include <cstddef>

/// Memory that runs out on request. This program's operator new, in all its forms, can be told to fail.
namespace rix::test {

/// Whether requests can be made to fail in this build: the sanitizers bring their own operator new.
bool allocationsCanFail();

enum class Shortage {
    Once,      ///< one request fails
    FromThen,  ///< it and all that follow
};

/// Counts the requests of all threads, and makes the request number `failing` fail (0: none), while it lives.
class FailingAllocations {
public:
    FailingAllocations(std::size_t failing, Shortage shortage);
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    /// Requests since the object was made.
    static std::size_t requests();
};

/// Blocks of memory that were requested and not released yet, in the whole program.
long liveAllocations();

}  // namespace rix::test
