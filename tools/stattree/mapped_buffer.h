// MappedBuffer: bytes in an anonymous memory mapping of their own rather
// than on the heap. Released, its pages go back to the system at once, so
// a process that forks workers sharing such a buffer never writes to
// those pages again (each write would copy a page, and flush the TLB,
// while a worker lives); its next buffer gets fresh pages, huge ones
// where the system allows.
//
// Move-only; an allocation the system refuses throws std::bad_alloc, as
// the heap does. Thread-safety: none.
#ifndef STATTREE_TOOLS_MAPPED_BUFFER_H_
#define STATTREE_TOOLS_MAPPED_BUFFER_H_

#include <cstddef>

namespace stattree {
namespace cli {

class MappedBuffer {
 public:
  MappedBuffer() = default;
  MappedBuffer(MappedBuffer&& other) noexcept { *this = static_cast<MappedBuffer&&>(other); }
  MappedBuffer& operator=(MappedBuffer&& other) noexcept;
  MappedBuffer(const MappedBuffer&) = delete;
  MappedBuffer& operator=(const MappedBuffer&) = delete;
  ~MappedBuffer() { Release(); }

  // Room for at least `capacity` bytes, the bytes held kept.
  void Reserve(std::size_t capacity);
  // Bytes past the size up to the capacity are the caller's to fill, and
  // count once `size` says so (at most the capacity).
  void SetSize(std::size_t size) { size_ = size; }
  void Release();

  char* Data() { return data_; }
  const char* Data() const { return data_; }
  std::size_t Size() const { return size_; }
  std::size_t Capacity() const { return capacity_; }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;  // the mapping's length
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_MAPPED_BUFFER_H_
