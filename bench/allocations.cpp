#include "bench/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<uint64_t> count{0};

}  // namespace

uint64_t allocationCount() { return count; }

#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"  // malloc and free match below
#endif

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (allocationsLeft >= 0 && allocationsLeft-- == 0)
        return nullptr;
    ++count;
    return std::malloc(size == 0 ? 1 : size);
}
void* operator new(size_t size) {
    if (void* memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void* operator new[](size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t /*size*/) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t /*size*/) noexcept { std::free(memory); }
