// Numbers as they stand in a file: up to 8 bytes in the file's byte order.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "files/stream/bufio.hpp"
#include "files/tiff/format.hpp"

namespace qvim::tiff {

// Must numbers of this file be reversed for the host?
inline bool is_swapped(const format &f) { return f.big_endian != (std::endian::native == std::endian::big); }

template <class T>
T from_bytes(const uint8_t *bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

// The unsigned number of 1, 2, 4 or 8 bytes.
inline uint64_t from_wire(const uint8_t *bytes, int size, bool swapped) {
  switch (size) {
    case 1: return *bytes;
    case 2: return swapped ? __builtin_bswap16(from_bytes<uint16_t>(bytes)) : from_bytes<uint16_t>(bytes);
    case 4: return swapped ? __builtin_bswap32(from_bytes<uint32_t>(bytes)) : from_bytes<uint32_t>(bytes);
    default: return swapped ? __builtin_bswap64(from_bytes<uint64_t>(bytes)) : from_bytes<uint64_t>(bytes);
  }
}

// Bytes at a position that the file may name wrongly. Failures latch in the stream, and what could not be
// read is zero.
inline void read_bytes_at(bufio *file, uint64_t position, void *to, uint64_t count) {
  if (position > file->filelen) {  // by so much, perhaps, that the stream could not count on
    file->eoferr = 1;
    std::memset(to, 0, count);
    return;
  }
  file->pos = position;
  read_bytes(*file, to, count);
}

inline uint64_t read_at(bufio *file, const format &f, uint64_t position, int size) {
  uint8_t bytes[8] = {};
  read_bytes_at(file, position, bytes, uint64_t(size));
  return from_wire(bytes, size, is_swapped(f));
}

}  // namespace qvim::tiff
