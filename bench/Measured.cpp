// Processor time, and an operator new that counts bytes as the allocator rounds them.
#include "bench/Measured.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <malloc.h>
#include <new>

namespace {

std::size_t heldBytes = 0;
std::size_t peakBytes = 0;

double ProcessorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void* Counted(void* block) {
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    heldBytes += malloc_usable_size(block);
    peakBytes = std::max(peakBytes, heldBytes);
    return block;
}

void Free(void* block) noexcept {
    heldBytes -= malloc_usable_size(block); // 0 for a null pointer
    std::free(block);
}

} // namespace

void* operator new(std::size_t size) {
    return Counted(std::malloc(std::max<std::size_t>(size, 1)));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return Counted(std::aligned_alloc(static_cast<std::size_t>(alignment), size));
}
void operator delete(void* block) noexcept {
    Free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    Free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    Free(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    Free(block);
}

namespace bench {

// Neither is inlined: bench/instructions counts the instructions in Work(), and reports the count
// at the end of Measured().
[[gnu::noinline]] void Work(const std::function<void()>& work) {
    work();
    asm volatile(""); // No jump instead of the call, which would leave the function early.
}

[[gnu::noinline]] Cost Measured(const std::function<void()>& work) {
    const std::size_t heldBefore = heldBytes;
    peakBytes = heldBytes;
    const double start = ProcessorSeconds();
    Work(work);
    const double seconds = ProcessorSeconds() - start;
    return {seconds, peakBytes - heldBefore};
}

} // namespace bench
