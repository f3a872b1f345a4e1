// Replaces every form of operator new and delete of the program. Compiled by itself: operators
// cannot live in the namespace that test files are gathered in. Blocks come from malloc, so that
// the address sanitizer and valgrind go on watching them.
#include "faults/allocation/AllocationFault.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <malloc.h>
#include <new>

namespace {

constexpr long kNone = std::numeric_limits<long>::max();

std::atomic<long> liveBlocks{0};
std::atomic<long> liveBytes{0};
std::atomic<long> mostLiveBytes{0};
std::atomic<long> triedSoFar{0};
std::atomic<long> firstFailing{kNone};
std::atomic<long> lastFailing{kNone};

void* Counted(void* block) {
    if (block != nullptr) {
        const auto size = static_cast<long>(malloc_usable_size(block));
        const long live = liveBytes.fetch_add(size, std::memory_order_relaxed) + size;
        // Only one thread is observed.
        if (live > mostLiveBytes.load(std::memory_order_relaxed)) {
            mostLiveBytes.store(live, std::memory_order_relaxed);
        }
        liveBlocks.fetch_add(1, std::memory_order_relaxed);
    }
    return block;
}

bool Fails() {
    const long number = triedSoFar.fetch_add(1, std::memory_order_relaxed) + 1;
    return number >= firstFailing.load(std::memory_order_relaxed) &&
           number <= lastFailing.load(std::memory_order_relaxed);
}

void* Allocate(std::size_t size) {
    return Fails() ? nullptr : Counted(std::malloc(size > 0 ? size : 1));
}

void* Allocate(std::size_t size, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    const std::size_t whole = (size + step - 1) / step * step;
    return Fails() ? nullptr : Counted(std::aligned_alloc(step, whole > 0 ? whole : step));
}

void* OrThrow(void* block) {
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void Free(void* block) noexcept {
    if (block != nullptr) {
        liveBlocks.fetch_sub(1, std::memory_order_relaxed);
        liveBytes.fetch_sub(static_cast<long>(malloc_usable_size(block)),
                            std::memory_order_relaxed);
        std::free(block);
    }
}

} // namespace

namespace test_support {

AllocationFault::AllocationFault(long first, Lasting lasting) {
    triedSoFar = 0;
    lastFailing = lasting == Lasting::once ? first : kNone;
    firstFailing = first > 0 ? first : kNone;
}

AllocationFault::~AllocationFault() {
    firstFailing = kNone;
}

long AllocationFault::tried() const {
    return triedSoFar;
}

long LiveAllocations() {
    return liveBlocks;
}

AllocatedBytes::AllocatedBytes() : before_(liveBytes) {
    mostLiveBytes = before_;
}

long AllocatedBytes::most() const {
    return mostLiveBytes - before_;
}

} // namespace test_support

void* operator new(std::size_t size) {
    return OrThrow(Allocate(size));
}
void* operator new[](std::size_t size) {
    return OrThrow(Allocate(size));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return OrThrow(Allocate(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return OrThrow(Allocate(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, alignment);
}

void operator delete(void* block) noexcept {
    Free(block);
}
void operator delete[](void* block) noexcept {
    Free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    Free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    Free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    Free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    Free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    Free(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    Free(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    Free(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    Free(block);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    Free(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    Free(block);
}
