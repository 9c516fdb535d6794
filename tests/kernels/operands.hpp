// Words to call kernels with, and values of any width.
#pragma once

#include <cstdint>
#include <cstring>
#include <iterator>
#include <random>

namespace qvim::test {

inline uint64_t read(const uint8_t *p, size_t size) {
  uint64_t v = 0;
  std::memcpy(&v, p, size);
  return v;
}
inline void write(uint8_t *p, size_t size, uint64_t v) { std::memcpy(p, &v, size); }

// Powers of two with their neighbours, and what is often written.
inline uint32_t interesting(std::mt19937 &random) {
  switch (random() % 4) {
    case 0: return uint32_t((uint64_t(1) << random() % 33) + random() % 3 - 1);
    case 1: return uint32_t(random() % 300);
    case 2: return uint32_t(random() >> random() % 32);
    default: {
      const uint32_t usual[] = {0, 1, 3, 10, 100, 127, 255, 1000, 1023, 4095, 65535, 65536, 0xFFFFFFFF};
      return usual[random() % std::size(usual)];
    }
  }
}

}  // namespace qvim::test
