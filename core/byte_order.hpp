// Numbers in either byte order.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace qvim {

template <class T>
using unsigned_of_size = std::conditional_t<
    sizeof(T) == 1, uint8_t,
    std::conditional_t<sizeof(T) == 2, uint16_t, std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>>;

// The bytes the other way round.
constexpr uint8_t swapped(uint8_t v) { return v; }
constexpr uint16_t swapped(uint16_t v) { return __builtin_bswap16(v); }
constexpr uint32_t swapped(uint32_t v) { return __builtin_bswap32(v); }
constexpr uint64_t swapped(uint64_t v) { return __builtin_bswap64(v); }

// From the host's order to that one, or back.
template <class T>
constexpr T in_order(T v, std::endian order) {
  return order == std::endian::native ? v : swapped(v);
}

// A number (integer or real of 1, 2, 4 or 8 bytes) as it stands in memory in that order, at any alignment.
template <class T>
T from_bytes(const uint8_t *bytes, std::endian order) {
  static_assert(std::is_arithmetic_v<T>);
  unsigned_of_size<T> v;
  std::memcpy(&v, bytes, sizeof v);
  return std::bit_cast<T>(in_order(v, order));
}

template <class T>
void to_bytes(uint8_t *bytes, T value, std::endian order) {
  const auto v = in_order(std::bit_cast<unsigned_of_size<T>>(value), order);
  std::memcpy(bytes, &v, sizeof v);
}

// The same of an unsigned number whose size, 1, 2, 4 or 8 bytes, is known at run time only.
inline uint64_t unsigned_from_bytes(const uint8_t *bytes, int size, std::endian order) {
  switch (size) {
    case 1: return *bytes;
    case 2: return from_bytes<uint16_t>(bytes, order);
    case 4: return from_bytes<uint32_t>(bytes, order);
    default: return from_bytes<uint64_t>(bytes, order);
  }
}

}  // namespace qvim
