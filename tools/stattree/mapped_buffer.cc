#include "tools/stattree/mapped_buffer.h"

#include <sys/mman.h>

#include <new>

namespace stattree {
namespace cli {

MappedBuffer& MappedBuffer::operator=(MappedBuffer&& other) noexcept {
  if (this != &other) {
    Release();
    data_ = other.data_;
    size_ = other.size_;
    capacity_ = other.capacity_;
    other.data_ = nullptr;
    other.size_ = other.capacity_ = 0;
  }
  return *this;
}

void MappedBuffer::Reserve(std::size_t capacity) {
  if (capacity <= capacity_) return;
  void* memory = data_ == nullptr ? mmap(nullptr, capacity, PROT_READ | PROT_WRITE,
                                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                                  : mremap(data_, capacity_, capacity, MREMAP_MAYMOVE);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  // Huge pages where the system allows: a few faults per buffer, not one
  // per 4 KiB.
  madvise(memory, capacity, MADV_HUGEPAGE);
  data_ = static_cast<char*>(memory);
  capacity_ = capacity;
}

void MappedBuffer::Release() {
  if (data_ != nullptr) munmap(data_, capacity_);
  data_ = nullptr;
  size_ = capacity_ = 0;
}

}  // namespace cli
}  // namespace stattree
