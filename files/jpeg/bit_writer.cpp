#include "files/jpeg/bit_writer.hpp"

namespace qvim::jpeg {

uint8_t *bit_writer::put_bytes(uint8_t *to, uint64_t word, int count) const {
  while (count--) {
    const uint8_t byte = uint8_t(word >> 8 * count);
    *to++ = byte;
    if (stuffing_ && byte == 0xFF) *to++ = 0;
  }
  return to;
}

uint8_t *bit_writer::flush(const uint8_t *to) {
  write_bytes(*stream_, staged_, uint64_t(to - staged_));
  return staged_;
}

void bit_writer::append(bit_writer &other) {
  bufio *const from = other.stream_;
  other.filled_ = uint32_t(other.flush(other.staged_ + other.filled_) - other.staged_);
  run out(*this);
  from->pos = 0;
  uint8_t *bytes;
  while (const uint64_t count = bufio_ptr2(from, 1, 'r', &bytes))
    for (uint64_t i = 0; i < count; i++) {
      if (i % 64 == 0) out.reserve();
      out.put(bytes[i], 8);
    }
  out.reserve();
  const uint64_t rest = other.waiting();
  if (other.count_ > 32) out.put(uint32_t(rest >> 32), other.count_ - 32);
  out.put(uint32_t(rest), other.count_ < 32 ? other.count_ : 32);
}

void bit_writer::finish() {
  {
    run out(*this);
    out.reserve();
    const uint32_t missing = -count_ % 8;
    out.put((1u << missing) - 1, missing);
  }
  filled_ = uint32_t(put_bytes(staged_ + filled_, waiting(), int(count_ / 8)) - staged_);
  count_ = 0;
  filled_ = uint32_t(flush(staged_ + filled_) - staged_);
}

}  // namespace qvim::jpeg
