// Kernels as the tests see them: every member of a family in every version that this machine can run, and
// buffers for them whose every byte is checked.
#pragma once

#include <sys/mman.h>

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kernels/levels.hpp"

namespace qvim::test {

// One version of a member: the exported one, or that of a processor level.
template <class Form>
struct version {
  const char *level;
  Form *function;
};

template <class Form>
struct member {
  std::string name;
  std::vector<version<Form>> versions;
};

// Of files' loops, which are compiled for levels 1, 3 and 4.
inline bool runs_here(int level) { return level < 3 || highest_level() >= level - 2; }

template <class Form>
void add_member(std::vector<member<Form>> &members, const char *name, Form *exported,
                Form *kernel_table::*entry = nullptr) {
  member<Form> m{name, {{"exported", exported}}};
  for (int i = 0; entry && i <= highest_level(); ++i)
    m.versions.push_back({level_names[i], kernel_tables[i]->*entry});
  members.push_back(m);
}

// For lists of members: what add_member takes.
#define QVIM_LEVELS_OF(name) #name, name, &qvim::kernel_table::name

// Memory between pages that cannot be touched. Rooms are kept for the next buffer of their size.
class fenced_room {
 public:
  explicit fenced_room(size_t bytes) : pages_(std::bit_ceil(bytes / page + 1)) {
    auto &free = unused()[pages_];
    if (free.empty()) {
      room_ = static_cast<uint8_t *>(
          mmap(nullptr, size() + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
      if (room_ == MAP_FAILED || mprotect(room_ + page, size(), PROT_READ | PROT_WRITE)) abort();
      room_ += page;
    } else {
      room_ = free.back();
      free.pop_back();
    }
  }
  ~fenced_room() { unused()[pages_].push_back(room_); }
  fenced_room(const fenced_room &) = delete;
  fenced_room &operator=(const fenced_room &) = delete;
  uint8_t *begin() const { return room_; }
  size_t size() const { return pages_ * page; }

 private:
  static constexpr size_t page = 4096;
  static std::map<size_t, std::vector<uint8_t *>> &unused() {
    static std::map<size_t, std::vector<uint8_t *>> rooms;
    return rooms;
  }
  size_t pages_;
  uint8_t *room_;
};

// Bytes that end where a fence begins or, half the time, begin where one ends: a step over it is a crash. On
// the other side are guards, which are compared, too.
class buffer {
 public:
  explicit buffer(size_t size) : size_(size), room_(size + guard), at_end_(next_at_end()) {
    for (size_t i = 0; i < size; ++i) data()[i] = uint8_t(i * 37 + 11);
    std::memset(guards(), 0x5A, guard);
  }
  buffer(const buffer &other) : buffer(other.size_) { std::memcpy(data(), other.data(), size_); }
  uint8_t *data() { return room_.begin() + (at_end_ ? room_.size() - size_ : 0); }
  const uint8_t *data() const { return const_cast<buffer *>(this)->data(); }
  size_t size() const { return size_; }
  bool operator==(const buffer &other) const {
    return size_ == other.size_ && !std::memcmp(data(), other.data(), size_) &&
           !std::memcmp(guards(), other.guards(), guard);
  }

 private:
  static constexpr size_t guard = 64;
  static bool next_at_end() {
    static std::minstd_rand random(1);
    return random() % 64 < 32;
  }
  uint8_t *guards() const { return const_cast<uint8_t *>(data()) + (at_end_ ? -ptrdiff_t(guard) : size_); }

  size_t size_;
  fenced_room room_;
  bool at_end_;
};

// Where a run of `count` values of `size` bytes lies in a buffer that it and `offset` bytes before it fill.
struct layout {
  int64_t stride;
  uint64_t count;
  size_t size, offset;
  size_t bytes() const {
    return offset + (count ? size + size_t((count - 1) * uint64_t(stride < 0 ? -stride : stride)) : 0);
  }
  int64_t at(uint64_t i) const {
    return int64_t(offset) + int64_t(i) * stride - (stride < 0 && count ? int64_t(count - 1) * stride : 0);
  }
};

}  // namespace qvim::test
