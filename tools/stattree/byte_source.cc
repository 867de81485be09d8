#include "tools/stattree/byte_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

namespace stattree {
namespace cli {

FileSource::~FileSource() {
  if (ownsFd_ && fd_ >= 0) close(fd_);
}

bool FileSource::Open(const std::string& path) {
  if (path == "-") {
    fd_ = STDIN_FILENO;
    ownsFd_ = false;
  } else {
    fd_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) {
      error_ = std::strerror(errno);
      return false;
    }
    ownsFd_ = true;
  }
  struct stat info;
  if (fstat(fd_, &info) == 0) {
    if (S_ISDIR(info.st_mode)) {
      error_ = "is a directory";
      return false;
    }
    if (S_ISREG(info.st_mode)) size_ = static_cast<long long>(info.st_size);
  }
  return true;
}

bool FileSource::OpenRange(const std::string& path, long long offset, long long length) {
  if (!Open(path)) return false;
  if (size_ < 0 || offset < 0 || length < 0 || offset > size_ - length ||
      lseek(fd_, static_cast<off_t>(offset), SEEK_SET) < 0) {
    error_ = "cannot read bytes " + std::to_string(offset) + " to " +
             std::to_string(offset + length) + " of the file";
    return false;
  }
  size_ = left_ = length;
  return true;
}

void FileSource::PutBack(std::string bytes) {
  putBack_ = std::move(bytes);
  putBackAt_ = 0;
}

long FileSource::Read(char* buffer, std::size_t size) {
  if (putBackAt_ < putBack_.size()) {
    const std::size_t n = std::min(size, putBack_.size() - putBackAt_);
    std::memcpy(buffer, putBack_.data() + putBackAt_, n);
    putBackAt_ += n;
    if (putBackAt_ == putBack_.size()) std::string().swap(putBack_);
    if (kept_ != nullptr) kept_->append(buffer, n);
    return static_cast<long>(n);
  }
  if (fd_ < 0) {
    error_ = "not open";
    return -1;
  }
  if (left_ >= 0) size = static_cast<std::size_t>(std::min<long long>(left_, size));
  if (left_ == 0) return 0;
  for (;;) {
    const ssize_t n = read(fd_, buffer, size);
    if (n >= 0) {
      if (left_ >= 0) left_ -= n;
      if (kept_ != nullptr) kept_->append(buffer, static_cast<std::size_t>(n));
      return static_cast<long>(n);
    }
    if (errno != EINTR) {
      error_ = std::strerror(errno);
      return -1;
    }
    // Ctrl-C while waiting on a terminal or a pipe: stop reading; the
    // caller sees the cancel flag and discards what it has.
    if (cancel_ != nullptr && *cancel_ != 0) return 0;
  }
}

long MemorySource::Read(char* buffer, std::size_t size) {
  const std::size_t n = std::min({size, chunk_, size_ - position_});
  if (n > 0) std::memcpy(buffer, data_ + position_, n);
  position_ += n;
  return static_cast<long>(n);
}

}  // namespace cli
}  // namespace stattree
