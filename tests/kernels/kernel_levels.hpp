// The rig for kernels: every member of a family in every version that this machine can run, called in one way
// whatever its form, on runs in buffers whose every byte is checked.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kernels/levels.hpp"

namespace qvim::test {

struct strides {
  int64_t source, destination;
};

// A call of a kernel. In place the run is the destination.
struct run_call {
  const uint8_t *src;
  uint8_t *dst;
  strides stride;
  uint64_t count;
  uint32_t number = 0, mask = 0;  // shift, size of an item, largest value, or whatever the form has there
  const void *operand = nullptr;  // words, a table, coefficients
};

constexpr uint32_t any = 77;  // for arguments that are ignored

inline uint32_t *sums(uint8_t *p) { return reinterpret_cast<uint32_t *>(p); }
inline const uint32_t *sums(const uint8_t *p) { return reinterpret_cast<const uint32_t *>(p); }

inline void invoke(npfbix_fn *f, const run_call &c) {
  f(c.src, c.dst, c.stride.source, c.stride.destination, c.count, c.number, c.mask);
}
inline void invoke(npfbix5_fn *f, const run_call &c) {
  f(c.src, c.dst, c.stride.source, c.stride.destination, c.count);
}
inline void invoke(npfbixn_fn *f, const run_call &c) { f(c.dst, c.stride.destination, c.count, c.number); }
inline void invoke(npfbix3_fn *f, const run_call &c) { f(c.dst, c.stride.destination, c.count); }
inline void invoke(npfbitstuff_fn *f, const run_call &c) { f(c.src, c.dst, c.count, c.number, c.mask); }
inline void invoke(npfbitunstuff_fn *f, const run_call &c) { f(c.dst, c.src, c.count, c.number, c.mask); }
inline void invoke(npfpix_fn *f, const run_call &c) { f(c.dst, c.count, c.number, any, c.operand); }
inline void invoke(npfpixxlat_fn *f, const run_call &c) {
  f(c.dst, c.stride.destination, c.count, c.number, any, c.operand);
}
inline void invoke(npfpix2_fn *f, const run_call &c) {
  f(c.src, c.dst, c.stride.source, c.stride.destination, c.count, c.operand);
}
inline void invoke(npfpix2xlat_fn *f, const run_call &c) {
  f(c.src, c.dst, c.stride.source, c.stride.destination, c.count, c.operand, c.number);
}
inline void invoke(npfpixtr_fn *f, const run_call &c) { f(c.dst, c.count); }
inline void invoke(npfpixtrk_fn *f, const run_call &c) { f(c.dst, c.count, c.number); }
inline void invoke(npfpix2tr_fn *f, const run_call &c) { f(c.src, c.dst, c.count); }
inline void invoke(npfpix2trk_fn *f, const run_call &c) { f(c.src, c.dst, c.count, c.number); }
inline void invoke(npfpixadd_fn *f, const run_call &c) { f(c.src, sums(c.dst), c.count); }
inline void invoke(npfpixass_fn *f, const run_call &c) { f(sums(c.src), any, c.dst, c.count, c.operand); }
inline void invoke(npfclx_fn *f, const run_call &c) {
  f(c.src, c.dst, uint64_t(c.stride.source), uint64_t(c.stride.destination), c.count, c.number, c.operand);
}

// A member in its versions: the exported one, and those of the processor levels.
struct member {
  std::string name;
  std::vector<std::pair<const char *, std::function<void(const run_call &)>>> versions;
};

template <class Form>
void add_member(std::vector<member> &members, const char *name, Form *exported,
                Form *kernel_table::*entry = nullptr) {
  member m{name, {}};
  const auto add = [&](const char *level, Form *f) {
    m.versions.emplace_back(level, [f](const run_call &c) { invoke(f, c); });
  };
  add("exported", exported);
  for (int i = 0; entry && i <= highest_level(); ++i) add(level_names[i], kernels[i]->*entry);
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

// A run of items out of one buffer into another or, in place, where it lies.
struct run {
  strides stride;
  uint64_t count;
  size_t in, out;                           // bytes of an item
  size_t from_offset, to_offset;            // of the first byte in its buffer
  bool in_place = false, mirrored = false;  // mirrored: the last item becomes the first

  size_t item() const { return std::max(in, out); }
  layout from() const { return {stride.source, count, in_place ? item() : in, from_offset}; }
  layout to() const { return in_place ? from() : layout{stride.destination, count, out, to_offset}; }
};

// Every version does to `source` what `model(from, to)` does to its items one after the other, and nothing
// else. `call` says how a member is called on the run.
template <class Model, class Call>
testing::AssertionResult does(const member &member, const run &run, const buffer &source, Model model,
                              Call call) {
  const layout from = run.from(), to = run.to();
  buffer expected = run.in_place ? source : buffer(to.bytes());
  for (uint64_t i = 0; i < run.count; ++i)
    model(source.data() + from.at(run.mirrored ? run.count - 1 - i : i), expected.data() + to.at(i));
  for (const auto &[level, function] : member.versions) {
    buffer given = source, result = run.in_place ? source : buffer(to.bytes());
    call(function, (run.in_place ? result : given).data() + from.at(0), result.data() + to.at(0));
    if (result == expected && given == source) continue;
    return testing::AssertionFailure()
           << member.name << " " << level << ": count " << run.count << " strides " << run.stride.source
           << ", " << run.stride.destination << " offsets " << from.offset << ", " << to.offset
           << (run.in_place ? " in place" : "");
  }
  return testing::AssertionSuccess();
}
// The same with a call whose run, strides and count are those of the run.
template <class Model>
testing::AssertionResult does(const member &member, const run &run, const buffer &source, Model model,
                              run_call arguments) {
  return does(member, run, source, model, [&](const auto &function, const uint8_t *src, uint8_t *dst) {
    arguments.src = src, arguments.dst = dst;
    function(arguments);
  });
}

// A run of nothing needs no memory, whatever the other arguments are.
inline void call_on_nothing(const std::vector<member> &members) {
  for (const auto &member : members)
    for (const auto &[level, function] : member.versions)
      for (int64_t stride : {0, 1, 2, 3, 4, 6, 7, 8, 12, 16, 24, 32, -4})
        for (uint32_t number = 0; number < 41; ++number)
          function({nullptr, nullptr, {stride, stride}, 0, number, number % 4, nullptr});
}

}  // namespace qvim::test
