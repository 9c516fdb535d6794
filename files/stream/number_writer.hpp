// Numbers into a stream, at its position, in the byte order of the file.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "files/stream/bufio.hpp"

namespace qvim {

class number_writer {
 public:
  number_writer(bufio &stream, std::endian order) : stream_(stream), order_(order) {}

  // The low bytes of a number: 1 to 8 of them.
  void put(uint64_t value, int size) {
    uint8_t bytes[8];
    for (int i = 0; i < size; i++)
      bytes[order_ == std::endian::big ? size - 1 - i : i] = uint8_t(value >> 8 * i);
    write_bytes(stream_, bytes, uint64_t(size));
  }
  void zeros(uint64_t count) {
    constexpr uint8_t none[64] = {};
    for (uint64_t n; count > 0; count -= n)
      write_bytes(stream_, none, n = std::min<uint64_t>(count, sizeof none));
  }

 private:
  bufio &stream_;
  std::endian order_;
};

}  // namespace qvim
