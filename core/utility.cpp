// Small helpers: integers of run-time width, bits, integer mathematics, time, numbered file names.
#include <sys/time.h>

#include <bit>
#include <cstring>
#include <limits>

#include <qvimage/utility.h>

#include "core/pixel.hpp"

namespace {

// Calls f with a value of the integer type of that width (its argument's sign), or answers 0 for other
// widths.
template <class Int8, class Int16, class Int32, class Int64>
auto with_width(int32_t width, auto f) -> decltype(f(Int64{})) {
  switch (width) {
    case 1: return f(Int8{});
    case 2: return f(Int16{});
    case 4: return f(Int32{});
    case 8: return f(Int64{});
    default: return 0;
  }
}
auto with_signed(int32_t width, auto f) { return with_width<int8_t, int16_t, int32_t, int64_t>(width, f); }
auto with_unsigned(int32_t width, auto f) {
  return with_width<uint8_t, uint16_t, uint32_t, uint64_t>(width, f);
}

// Stores the low bytes; 1 when nothing was lost.
template <class T, class Value>
int32_t store_low_bytes(void *p, Value value) {
  const T narrow = T(value);
  std::memcpy(p, &narrow, sizeof narrow);
  return Value(narrow) == value;
}

}  // namespace

extern "C" {

int64_t intsget(const void *p, int32_t width) {
  return with_signed(width, [&](auto type) { return int64_t(qvim::load_value<decltype(type)>(p)); });
}
uint64_t intuget(const void *p, int32_t width) {
  return with_unsigned(width, [&](auto type) { return uint64_t(qvim::load_value<decltype(type)>(p)); });
}
int32_t intsput(void *p, int32_t width, int64_t value) {
  return with_signed(width, [&](auto type) { return store_low_bytes<decltype(type)>(p, value); });
}
int32_t intuput(void *p, int32_t width, uint64_t value) {
  return with_unsigned(width, [&](auto type) { return store_low_bytes<decltype(type)>(p, value); });
}

int32_t ltoint(int64_t v) {
  using limits = std::numeric_limits<int32_t>;
  return v < limits::min() ? limits::min() : v > limits::max() ? limits::max() : int32_t(v);
}
uint32_t ltouint(int64_t v) { return v < 0 ? 0 : v > 0xFFFFFFFF ? 0xFFFFFFFF : uint32_t(v); }

int32_t i0to1(int32_t v) { return v ? v : 1; }
uint32_t ui0to1(uint32_t v) { return v ? v : 1; }
int64_t l0to1(int64_t v) { return v ? v : 1; }
uint64_t ul0to1(uint64_t v) { return v ? v : 1; }

int32_t pfbit_count(uint32_t v) { return std::popcount(v); }
int32_t pfbit_significant(uint32_t v) { return std::bit_width(v); }
int32_t pfbit_scan(uint32_t v, int32_t dflt) { return v & 0xFFFF ? std::countr_zero(v) : dflt; }

int32_t pfmath_ilog2a(uint32_t v) { return v < 2 ? 0 : std::bit_width(v) - 1; }
int32_t pfmath_ilog2b(uint32_t v) { return v < 2 ? 0 : std::bit_width(v - 1); }
int32_t pfmath_ilog2e(uint32_t v) { return std::has_single_bit(v) ? std::countr_zero(v) : -1; }

// The sign follows the last remainder that is not zero, as truncating division leaves it.
int32_t pfmath_gcd(int32_t a, int32_t b) {
  if (a == 0 || b == 0) return 0;
  while (b != 0) {
    const int32_t remainder = b == -1 ? 0 : a % b;
    a = b;
    b = remainder;
  }
  return a;
}

int32_t pfmath_lcm(int32_t a, int32_t b) {
  if (a < 1 || b < 1) return 0;
  const int64_t multiple = int64_t(a) / pfmath_gcd(a, b) * b;
  return multiple > 0xFFFFFFFF ? 0 : int32_t(uint32_t(multiple));
}

int32_t systimeinit(int32_t x) { return x; }

uint64_t systimemsec(void) {
  timeval now;
  gettimeofday(&now, nullptr);
  return uint64_t(now.tv_sec) * 1000 + (uint64_t(now.tv_usec) + 500) / 1000;
}

int32_t pathseq(char *name, int32_t n, int32_t ch) {
  if (!name || !*name || n < 0) return -1;
  for (char *place = name + std::strlen(name); place-- != name;) {
    if (*place != char(ch)) continue;
    *place = char('0' + n % 10);
    n /= 10;
  }
  return n == 0;
}

int32_t pathseqcountrc(const char *name, int32_t ch) {
  int32_t count = 0;
  if (name)
    for (; *name; name++) count += *name == char(ch);
  return count;
}

}  // extern "C"
