#include "files/jpeg/bit_writer.hpp"

namespace qvim::jpeg {

void bit_writer::put_bytes(uint32_t word, int count) {
  while (count--) {
    const uint8_t byte = uint8_t(word >> 8 * count);
    staged_[filled_++] = byte;
    if (stuffing_ && byte == 0xFF) staged_[filled_++] = 0;
  }
}

void bit_writer::append(bit_writer &other) {
  other.flush();
  bufio *const from = other.stream_;
  from->pos = 0;
  for (uint64_t left = from->filelen; left;) {
    const uint32_t count = left < 4 ? uint32_t(left) : 4;
    uint32_t word = 0;
    read_bytes(*from, &word, count);
    reserve();
    put(big_endian(word) >> (32 - 8 * count), 8 * count);
    left -= count;
  }
  reserve();
  put(uint32_t(other.bits_ & ((uint64_t{1} << other.count_) - 1)), other.count_);
}

void bit_writer::finish() {
  const uint32_t missing = -count_ % 8;
  put((1u << missing) - 1, missing);
  const uint32_t whole = count_ / 8;
  put_bytes(uint32_t(bits_ & ((uint64_t{1} << count_) - 1)), int(whole));
  count_ = 0;
  flush();
}

}  // namespace qvim::jpeg
