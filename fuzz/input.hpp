// Decisions out of a fuzz input: small numbers from its bytes, zeros when they are used up.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

class fuzz_input {
 public:
  fuzz_input(const uint8_t *data, size_t size) : next_(data), end_(data + size) {}

  bool empty() const { return next_ == end_; }
  uint8_t byte() { return next_ < end_ ? *next_++ : 0; }
  // From 0 to most, at most 65535; takes one byte when that is enough.
  uint32_t up_to(uint32_t most) {
    const uint32_t value = most > 255 ? byte() << 8 | byte() : byte();
    return value % (most + 1);
  }
  // One of these values, by a number up to how many there are.
  template <class T>
  T one_of(std::initializer_list<T> values) {
    return values.begin()[up_to(uint32_t(values.size() - 1))];
  }
  // All that is left.
  std::vector<uint8_t> rest() {
    std::vector<uint8_t> bytes(next_, end_);
    next_ = end_;
    return bytes;
  }

 private:
  const uint8_t *next_, *end_;
};

// With FUZZ_TALK set a target that can says what it does with an input.
inline bool talks() {
  static const bool wanted = std::getenv("FUZZ_TALK");
  return wanted;
}

// Ends the run of a target with what was found, in any build; a test catches it.
inline void require(bool condition, const char *file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (condition) return;
  const std::string found = "not as required in " + std::string(file) + " line " + std::to_string(line);
  if (talks()) std::fprintf(stderr, "%s\n", found.c_str());
  throw std::runtime_error(found);
}
