#include "tests/failing_allocator.h"

#include <cstdlib>
#include <new>

namespace {

long gCountdown = -1;  // -1: never fail; n: the allocation after n more fails
bool gSustained = false;
bool gInjected = false;

void* Allocate(std::size_t size) {
  if (gCountdown == 0) {
    gInjected = true;
    if (!gSustained) gCountdown = -1;
    throw std::bad_alloc();
  }
  if (gCountdown > 0) --gCountdown;
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

namespace stattree {
namespace testing {

void Arm(long n, bool sustained) {
  gInjected = false;
  gSustained = sustained;
  gCountdown = n;
}

bool Disarm() {
  gCountdown = -1;
  gSustained = false;
  return gInjected;
}

}  // namespace testing
}  // namespace stattree

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
