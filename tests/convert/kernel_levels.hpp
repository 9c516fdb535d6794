// Kernels as the tests see them: every member of a family in every version that this machine can run, and
// buffers for them whose every byte is checked.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <qvimage/kernel.h>

namespace qvim::test {

// One version of a member: the exported one, or one compiled for a single processor level.
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

inline bool runs_here(int level) {
#if QVIM_TEST_LEVELS
  __builtin_cpu_init();
  const bool v3 =
      __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma");
  const bool v4 = v3 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                  __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
                  __builtin_cpu_supports("avx512cd");
  return level == 4 ? v4 : level == 3 ? v3 : true;
#else
  return level == 0;
#endif
}

// Lists to include a member list with: QVIM_MEMBER(name, form) declares, then collects, those of one form.
#if QVIM_TEST_LEVELS
#define QVIM_DECLARE_LEVELS(name, form) extern "C" form name##_v1, name##_v3, name##_v4;
#define QVIM_LEVELS_OF(name) \
  {"exported", name}, {"v1", name##_v1}, {"v3", name##_v3}, { "v4", name##_v4 }
#else
#define QVIM_DECLARE_LEVELS(name, form)
#define QVIM_LEVELS_OF(name) \
  { "exported", name }
#endif

template <class Form>
void add_member(std::vector<member<Form>> &members, const char *name,
                std::initializer_list<version<Form>> versions) {
  member<Form> m{name, {}};
  for (const version<Form> &v : versions)
    if (runs_here(v.level[0] == 'v' ? v.level[1] - '0' : 0)) m.versions.push_back(v);
  members.push_back(m);
}

// Bytes that end exactly where the last is used, so that the address sanitizer sees any step beyond; builds
// without it keep guards on both sides. Compared as a whole.
class buffer {
 public:
#ifdef __SANITIZE_ADDRESS__
  static constexpr size_t guard = 0;
#else
  static constexpr size_t guard = 64;
#endif
  explicit buffer(size_t size) : size_(size), bytes_(new uint8_t[size + 2 * guard]) {
    for (size_t i = 0; i < size + 2 * guard; ++i) bytes_[i] = uint8_t(i * 37 + 11);
  }
  buffer(const buffer &other) : buffer(other.size_) {
    std::memcpy(bytes_.get(), other.bytes_.get(), size_ + 2 * guard);
  }
  uint8_t *data() { return bytes_.get() + guard; }
  const uint8_t *data() const { return bytes_.get() + guard; }
  size_t size() const { return size_; }
  bool operator==(const buffer &other) const {
    return size_ == other.size_ && !std::memcmp(bytes_.get(), other.bytes_.get(), size_ + 2 * guard);
  }

 private:
  size_t size_;
  std::unique_ptr<uint8_t[]> bytes_;
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
