// The bytes of a file, as numbers. Nothing trusts the file: what lies behind its end is 0.
#pragma once

#include <cstdint>
#include <string>

namespace tool {

class file_bytes {
 public:
  // The file may begin inside another one. One that cannot be opened has no bytes.
  explicit file_bytes(const std::string &path, uint64_t begin = 0);
  ~file_bytes();
  file_bytes(const file_bytes &) = delete;
  file_bytes &operator=(const file_bytes &) = delete;

  uint64_t size() const { return size_; }
  bool big_endian = false;
  // Of at most 8 bytes; 0 unless the file has all of them.
  uint64_t number(uint64_t place, unsigned bytes);
  uint8_t byte(uint64_t place) { return static_cast<uint8_t>(number(place, 1)); }
  std::string text(uint64_t place, uint64_t bytes);

 private:
  void hold(uint64_t place);

  const int file_;
  const uint64_t begin_;
  uint64_t size_ = 0;
  unsigned char block_[4096];
  uint64_t from_ = 0, held_ = 0;  // what the block holds
};

}  // namespace tool
