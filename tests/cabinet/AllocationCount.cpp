#include "tests/cabinet/AllocationCount.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<vx::u64> g_allocations{0};

}  // namespace

namespace vx::test {

u64 HeapAllocations() { return g_allocations.load(); }

}  // namespace vx::test

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

// The sanitizer owns the heap and tells of each allocation.
extern "C" int __sanitizer_install_malloc_and_free_hooks(
    void (*onAllocation)(const volatile void* block, std::size_t bytes),
    void (*onRelease)(const volatile void* block));

namespace {

[[maybe_unused]] const int g_installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void*, std::size_t) { ++g_allocations; }, [](const volatile void*) {});

}  // namespace

#else

// The C library's heap functions, counted; operator new reaches them too. A definition in the
// program takes precedence over the library's in everything that is loaded.
extern "C" {

void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);

[[gnu::visibility("default")]] void* malloc(std::size_t bytes) {
  ++g_allocations;
  return __libc_malloc(bytes);
}
[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t bytes) {
  ++g_allocations;
  return __libc_calloc(count, bytes);
}
[[gnu::visibility("default")]] void* realloc(void* block, std::size_t bytes) {
  ++g_allocations;
  return __libc_realloc(block, bytes);
}
[[gnu::visibility("default")]] void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
  ++g_allocations;
  return __libc_memalign(alignment, bytes);
}

}  // extern "C"

#endif
