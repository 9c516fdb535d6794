#include "files/rows/samples.hpp"

#include <qvimage/npfbix.h>
#include <qvimage/npfclx.h>
#include <qvimage/npfpix.h>

#include "core/selectors.hpp"

namespace qvim {

void add_to_samples(uint8_t *samples, int size, uint64_t count, uint32_t value) {
  if (size == 1) return npfpix1_addmodulo(samples, count, 0, 0, &value);
  if (size == 2) return npfpix2_addmodulo(samples, count, 0, 0, &value);
  npfpix4_addmodulo(samples, count, 0, 0, &value);
}

void swap_samples(uint8_t *samples, int size, uint64_t count) {
  if (size == 2) return npfbix2_swab(samples, 2, count);
  if (size == 4) return npfbix4_swab(samples, 4, count);
  swapping_kernel(size)(samples, samples, size, size, count, 0, 0);
}

void invert_samples(uint8_t *samples, int size, uint64_t count, uint32_t bits) {
  const uint32_t highest = 0xFFFFFFFFu >> (bits < 32 ? 32 - bits : 0);
  if (size == 1) return npfpix1_neg(samples, count, 0, 0, &highest);
  if (size == 2) return npfpix2_neg(samples, count, 0, 0, &highest);
  npfpix4_neg(samples, count * uint64_t(size / 4), 0, 0, &highest);  // 64 bits invert as two halves
}

npfclx_fn *chroma_exchange(int sample_bytes) {
  switch (sample_bytes) {
    case 1: return npfclx1_YCrCbtoYCbCr;
    case 2: return npfclx2_YCrCbtoYCbCr;
    case 4: return npfclx4_YCrCbtoYCbCr;
    default: return npfclxd_YCrCbtoYCbCr;
  }
}

void reverse_bit_order(uint8_t *bytes, uint64_t count) {
  const uint32_t width = 8;
  npfpix1_reverse(bytes, count, 0, 0, &width);
}

}  // namespace qvim
