// From the bytes of a stored row to its samples.
#include "files/rows/row_steps.hpp"

#include <cstring>

#include <qvimage/npfbix.h>

#include "files/rows/samples.hpp"

namespace qvim {

namespace {

// A stream of bits is read from the most significant end of each byte, whatever the file's byte order: 3.
// Only samples of three whole bytes follow the order, so in little-endian files the low byte comes first: 2.
uint32_t stream_mode(uint32_t bits, std::endian order) {
  return bits == 24 && order == std::endian::little ? 2 : 3;
}

// What 1 to 4 neighbouring samples add up to, sample by sample; modulo 2^bits through the mask.
template <class T, int Samples>
void sum(uint8_t *row, uint64_t pixels, T mask) {
  T total[Samples] = {};
  for (uint64_t i = 0; i < pixels; i++, row += Samples * sizeof(T))
    for (int s = 0; s < Samples; s++) {
      T difference;
      std::memcpy(&difference, row + s * sizeof(T), sizeof(T));
      total[s] = T(total[s] + difference) & mask;
      std::memcpy(row + s * sizeof(T), &total[s], sizeof(T));
    }
}

template <class T>
void sum(uint8_t *row, uint64_t values, int samples, uint32_t bits) {
  const T mask = T((uint32_t{1} << bits) - 1);  // of at most 16 bits
  const uint64_t pixels = values / uint64_t(samples);
  switch (samples) {
    case 1: return sum<T, 1>(row, pixels, mask);
    case 2: return sum<T, 2>(row, pixels, mask);
    case 3: return sum<T, 3>(row, pixels, mask);
    default: return sum<T, 4>(row, pixels, mask);
  }
}

}  // namespace

row_steps::row_steps(const row_form &form, const changes &c)
    : bits_(form.bits),
      sample_bytes_(form.container()),
      samples_(int(form.samples)),
      values_(form.values()),
      offset_(c.offset),
      differenced_(c.differenced),
      inverted_(c.inverted) {
  if (form.packed && bits_ != uint32_t(8 * sample_bytes_)) {
    unstuff_ = sample_bytes_ == 1   ? npfbit8_unstuff
               : sample_bytes_ == 2 ? npfbit16_unstuff
                                    : npfbit32_unstuff;
    stuff_mode_ = stream_mode(bits_, c.order);
  }
  swapped_bytes_ = !unstuff_ && sample_bytes_ > 1 && c.order != std::endian::native;
}

void row_steps::unpack(const uint8_t *bytes, uint8_t *samples, uint64_t count) const {
  unstuff_(samples, bytes, count, bits_, stuff_mode_);
}

void row_steps::finish(uint8_t *samples, uint64_t count) const {
  if (swapped_bytes_) swap_samples(samples, sample_bytes_, count);
  if (differenced_ && sample_bytes_ == 1) sum<uint8_t>(samples, count, samples_, bits_);
  if (differenced_ && sample_bytes_ == 2) sum<uint16_t>(samples, count, samples_, bits_);
  if (inverted_) invert_samples(samples, sample_bytes_, count, bits_);
  if (offset_) add_to_samples(samples, sample_bytes_, count, offset_);
}

}  // namespace qvim
