#include "bench/allocations.h"

#include <cstdlib>
#include <new>

namespace talvo::bench {

namespace {

thread_local Int g_count = 0;

}  // namespace

Int GetAllocationCount() { return g_count; }

void* Allocate(std::size_t size) {
    ++g_count;
    if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}

}  // namespace talvo::bench

void* operator new(std::size_t size) { return talvo::bench::Allocate(size); }
void* operator new[](std::size_t size) { return talvo::bench::Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
