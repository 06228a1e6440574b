// The program's own allocation functions. A file of their own keeps compilers from pairing the calls of one
// with what another does inside.

#include "support/CountedAllocations.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "support/Sanitized.h"

#ifdef TESSELU_TEST_SANITIZED

long test_support::Allocations() noexcept {
    return -1;
}

#else

namespace {

std::atomic<long> allocations{0};

void* Allocate(std::size_t bytes, std::size_t alignment) {
    ++allocations;
    void* memory = nullptr;
    if (posix_memalign(&memory, std::max(alignment, sizeof(void*)), bytes) != 0) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

long test_support::Allocations() noexcept {
    return allocations;
}

void* operator new(std::size_t bytes) {
    return Allocate(bytes, alignof(std::max_align_t));
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return Allocate(bytes, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

#endif
