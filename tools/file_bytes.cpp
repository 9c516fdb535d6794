#include "file_bytes.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

namespace tool {

file_bytes::file_bytes(const std::string &path, uint64_t begin)
    : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)), begin_(begin) {
  const auto bytes = file_ < 0 ? 0 : static_cast<uint64_t>(std::max<off_t>(lseek(file_, 0, SEEK_END), 0));
  size_ = bytes > begin ? bytes - begin : 0;
}

file_bytes::~file_bytes() {
  if (file_ >= 0) close(file_);
}

uint64_t file_bytes::number(uint64_t place, unsigned bytes) {
  if (place > size_ || bytes > size_ - place) return 0;
  if (place < from_ || place + bytes > from_ + held_) hold(place);
  if (place + bytes > from_ + held_) return 0;
  const unsigned char *raw = &block_[place - from_];
  uint64_t value = 0;
  for (unsigned i = 0; i < bytes; i++) value = value << 8 | raw[big_endian ? i : bytes - 1 - i];
  return value;
}

std::string file_bytes::text(uint64_t place, uint64_t bytes) {
  std::string found;
  for (uint64_t i = 0; i < bytes; i++) found += static_cast<char>(byte(place + i));
  return found;
}

// Files are mostly read from somewhere on.
void file_bytes::hold(uint64_t place) {
  const ssize_t got = pread(file_, block_, sizeof block_, static_cast<off_t>(begin_ + place));
  from_ = place;
  held_ = static_cast<uint64_t>(std::max<ssize_t>(got, 0));
}

}  // namespace tool
