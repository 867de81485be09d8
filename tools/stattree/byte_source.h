// ByteSource: where the CSV reader gets its bytes from, in chunks.
//
// FileSource reads a file descriptor (a file, or standard input for "-")
// and gives up waiting when the cancel flag is raised, or a byte range of
// a file; as standard input can't be read twice, it can keep a copy of
// what it reads and serve bytes put back before the rest. MemorySource
// serves a buffer (tests, fuzzing and standard input's blocks). Sources
// are move-free and owned by whoever reads them; none is thread-safe.
#ifndef STATTREE_TOOLS_BYTE_SOURCE_H_
#define STATTREE_TOOLS_BYTE_SOURCE_H_

#include <csignal>
#include <cstddef>
#include <string>

namespace stattree {
namespace cli {

class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // Fills up to `size` bytes; returns the count, 0 at the end, -1 on a
  // failure (then GetError tells why).
  virtual long Read(char* buffer, std::size_t size) = 0;
  // Total length when known in advance (a regular file), else -1.
  virtual long long GetSize() const { return -1; }
  const std::string& GetError() const { return error_; }

 protected:
  std::string error_;
};

class FileSource : public ByteSource {
 public:
  // `cancel` may be null; when it becomes non-zero an interrupted read
  // ends the input instead of being retried.
  explicit FileSource(const volatile std::sig_atomic_t* cancel = nullptr) : cancel_(cancel) {}
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;
  ~FileSource() override;

  // "-" is standard input. False with GetError() set when it can't be
  // opened or is a directory.
  bool Open(const std::string& path);
  // Only the `length` bytes from `offset` of a regular file: the input
  // ends there, and GetSize is `length`.
  bool OpenRange(const std::string& path, long long offset, long long length);
  long Read(char* buffer, std::size_t size) override;
  long long GetSize() const override { return size_; }

  // While `kept` is set (borrowed), the bytes read are appended to it too.
  void Keep(std::string* kept) { kept_ = kept; }
  // The next reads serve `bytes`, then go on with the descriptor.
  void PutBack(std::string bytes);

 private:
  const volatile std::sig_atomic_t* cancel_;
  std::string* kept_ = nullptr;
  std::string putBack_;
  std::size_t putBackAt_ = 0;
  int fd_ = -1;
  bool ownsFd_ = false;
  long long size_ = -1;
  long long left_ = -1;  // bytes left in a range; -1: read to the end
};

class MemorySource : public ByteSource {
 public:
  // The bytes are borrowed and must outlive the source.
  MemorySource(const char* data, std::size_t size) : data_(data), size_(size) {}
  // At most `chunk` bytes per Read, to exercise chunk boundaries.
  void SetChunkSize(std::size_t chunk) { chunk_ = chunk == 0 ? 1 : chunk; }
  long Read(char* buffer, std::size_t size) override;
  long long GetSize() const override { return static_cast<long long>(size_); }

 private:
  const char* data_;
  std::size_t size_;
  std::size_t position_ = 0;
  std::size_t chunk_ = static_cast<std::size_t>(-1);
};

}  // namespace cli
}  // namespace stattree

#endif  // STATTREE_TOOLS_BYTE_SOURCE_H_
