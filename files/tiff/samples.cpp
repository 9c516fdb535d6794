#include "files/tiff/samples.hpp"

#include <cstring>

#include <qvimage/npfbix.h>
#include <qvimage/npfclx.h>

#include "files/tiff/wire.hpp"

namespace qvim::tiff {

void swap_samples(uint8_t *samples, int size, uint64_t count) {
  if (size == 2) return npfbix2_swab(samples, 2, count);
  if (size == 4) return npfbix4_swab(samples, 4, count);
  for (uint64_t i = 0; i < count; i++) {
    const uint64_t value = __builtin_bswap64(from_bytes<uint64_t>(samples + 8 * i));
    std::memcpy(samples + 8 * i, &value, 8);
  }
}

npfclx_fn *chroma_exchange(int sample_bytes) {
  switch (sample_bytes) {
    case 1: return npfclx1_YCrCbtoYCbCr;
    case 2: return npfclx2_YCrCbtoYCbCr;
    case 4: return npfclx4_YCrCbtoYCbCr;
    default: return npfclxd_YCrCbtoYCbCr;
  }
}

}  // namespace qvim::tiff
