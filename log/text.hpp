// A line that grows while it is put together, to be written at once. Characters that there is no memory for
// are lost; whole() tells.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/owned.hpp"

namespace qvim {

class text {
 public:
  // Room for so many characters more, which the caller fills; null when memory is short.
  char *extend(uint64_t count) {
    if (!whole_ || !reserve(count)) return whole_ = false, nullptr;
    size_ += count;
    return characters_.data() + size_ - count;
  }
  void fill(char c, uint64_t count) {
    if (char *to = count ? extend(count) : nullptr) std::memset(to, c, count);
  }
  void blanks(uint64_t count) { fill(' ', count); }
  void put(std::string_view s) {
    if (char *to = s.empty() ? nullptr : extend(s.size())) std::memcpy(to, s.data(), s.size());
  }
  void put(const text &other) {
    put(other.view());
    whole_ = whole_ && other.whole_;
  }
  // In a column of that width at least: to its right end; or to its left end, and cut.
  void put_right(std::string_view s, uint64_t width) {
    blanks(width - std::min<uint64_t>(width, s.size()));
    put(s);
  }
  void put_left(std::string_view s, uint64_t width) {
    s = s.substr(0, width);
    put(s);
    blanks(width - s.size());
  }

  bool whole() const { return whole_; }
  uint64_t size() const { return size_; }
  std::string_view view() const { return {characters_.data(), size_}; }

 private:
  bool reserve(uint64_t count) {
    constexpr uint64_t least = 256;
    if (count <= characters_.size() - size_) return true;
    if (count > UINT64_MAX / 4 - size_) return false;
    return characters_.resize(std::max({least, 2 * characters_.size(), size_ + count}));
  }

  array<char> characters_;
  uint64_t size_ = 0;
  bool whole_ = true;
};

}  // namespace qvim
