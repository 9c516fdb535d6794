// How much a file's own numbers may make a reader allocate, or read again and again.
#pragma once

#include <algorithm>
#include <cstdint>

namespace qvim {

// Rows of a sound file, unpacked and in all their forms, its texts and its tables are rarely longer than the
// file, and 16 times as long only under extreme compression; small files get what any process has to spare.
constexpr uint64_t read_budget(uint64_t file_length) {
  return std::max(uint64_t{16} << 20, 16 * std::min(file_length, uint64_t{1} << 40));
}

// Takes from a budget until it is spent.
class budget {
 public:
  explicit budget(uint64_t file_length) : left_(read_budget(file_length)) {}
  bool take(uint64_t bytes) {
    if (bytes > left_) return false;
    left_ -= bytes;
    return true;
  }

 private:
  uint64_t left_;
};

}  // namespace qvim
