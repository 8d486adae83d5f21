#include "FailingAllocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "Sanitizers.h"

namespace rix::test {
namespace {

std::atomic<long> live{0};
std::atomic<std::size_t> count{0};
std::atomic<std::size_t> failingNumber{0};
std::atomic<bool> failsFromThen{false};
std::atomic<bool> armed{false};

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
bool fails() {
    if (!armed.load(std::memory_order_relaxed)) {
        return false;
    }
    const std::size_t number = ++count;
    const std::size_t failing = failingNumber;
    return failing != 0 && (number == failing || (failsFromThen && number > failing));
}

void* request(std::size_t bytes, std::size_t alignment) noexcept {
    if (fails()) {
        return nullptr;
    }
    const std::size_t size = bytes == 0 ? 1 : bytes;
    void* const address = alignment <= alignof(std::max_align_t)
                              ? std::malloc(size)
                              : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    if (address != nullptr) {
        ++live;
    }
    return address;
}

void* requestOrThrow(std::size_t bytes, std::size_t alignment) {
    void* const address = request(bytes, alignment);
    if (address == nullptr) {
        throw std::bad_alloc();
    }
    return address;
}

void release(void* address) noexcept {
    if (address != nullptr) {
        --live;
        std::free(address);
    }
}
#endif

}  // namespace

bool allocationsCanFail() {
    return !sanitized;
}

FailingAllocations::FailingAllocations(std::size_t failing, Shortage shortage) {
    count = 0;
    failingNumber = failing;
    failsFromThen = shortage == Shortage::FromThen;
    armed = true;
}

FailingAllocations::~FailingAllocations() {
    armed = false;
}

std::size_t FailingAllocations::requests() {
    return count;
}

long liveAllocations() {
    return live;
}

}  // namespace rix::test

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
using rix::test::release;
using rix::test::request;
using rix::test::requestOrThrow;

// All replaceable forms, so that none goes past the count: plain, array, without exceptions, over-aligned.
void* operator new(std::size_t bytes) {
    return requestOrThrow(bytes, 1);
}
void* operator new[](std::size_t bytes) {
    return requestOrThrow(bytes, 1);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return request(bytes, 1);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return request(bytes, 1);
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return requestOrThrow(bytes, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t bytes, std::align_val_t alignment) {
    return requestOrThrow(bytes, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return request(bytes, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return request(bytes, static_cast<std::size_t>(alignment));
}
void operator delete(void* address) noexcept {
    release(address);
}
void operator delete[](void* address) noexcept {
    release(address);
}
void operator delete(void* address, std::size_t) noexcept {
    release(address);
}
void operator delete[](void* address, std::size_t) noexcept {
    release(address);
}
void operator delete(void* address, const std::nothrow_t&) noexcept {
    release(address);
}
void operator delete[](void* address, const std::nothrow_t&) noexcept {
    release(address);
}
void operator delete(void* address, std::align_val_t) noexcept {
    release(address);
}
void operator delete[](void* address, std::align_val_t) noexcept {
    release(address);
}
void operator delete(void* address, std::size_t, std::align_val_t) noexcept {
    release(address);
}
void operator delete[](void* address, std::size_t, std::align_val_t) noexcept {
    release(address);
}
void operator delete(void* address, std::align_val_t, const std::nothrow_t&) noexcept {
    release(address);
}
void operator delete[](void* address, std::align_val_t, const std::nothrow_t&) noexcept {
    release(address);
}
#endif
