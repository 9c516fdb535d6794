// Numbers as they stand in a file: up to 8 bytes in the file's byte order.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include <qvimage/bufio.h>

#include "files/tiff/format.hpp"

namespace qvim::tiff {

template <class T>
T load(const uint8_t *bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// The unsigned number of 1, 2, 4 or 8 bytes.
inline uint64_t from_wire(const uint8_t *bytes, int size, bool big_endian) {
  const bool swapped = big_endian != (std::endian::native == std::endian::big);
  switch (size) {
    case 1: return *bytes;
    case 2: return swapped ? __builtin_bswap16(load<uint16_t>(bytes)) : load<uint16_t>(bytes);
    case 4: return swapped ? __builtin_bswap32(load<uint32_t>(bytes)) : load<uint32_t>(bytes);
    default: return swapped ? __builtin_bswap64(load<uint64_t>(bytes)) : load<uint64_t>(bytes);
  }
}

// The number at a position of the file: from the resident block where it lies there whole. Failures latch in
// the stream.
inline uint64_t read_at(bufio *file, const format &f, uint64_t position, int size) {
  uint8_t bytes[8] = {};
  file->pos = position;
  const uint8_t *in_place = bufio_ptr(file, uint64_t(size), 'r');
  if (!in_place) bufio_io(file, bytes, uint64_t(size), 'r');
  return from_wire(in_place ? in_place : bytes, size, f.big_endian);
}

}  // namespace qvim::tiff
