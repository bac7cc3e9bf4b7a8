#include <core/Allocations.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> count{0};

} // namespace

long test::allocations() noexcept {
  return count;
}

// Not inlined: g++ would see half of a pair in a caller and take the two for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++count;
  if (void* const memory = std::malloc(size))
    return memory;
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
