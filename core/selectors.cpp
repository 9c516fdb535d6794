// Kernel selectors: which kernels bring the pixies of an image into the form of a request, and back.
#include "core/selectors.hpp"

#include <algorithm>

#include <qvimage/data.h>
#include <qvimage/npfbix.h>

#include "core/byte_order.hpp"
#include "core/pixel.hpp"

namespace qvim {

adaptation adapt_pixies(const qvimagedata &d, bool writing, uint32_t datatype) {
  if (!is_integer(d.pixietype) || d.i_bitsxsb == int32_t(all_bits_used)) return {};
  const uint32_t shift = 8 * uint32_t(qvimdatasize(uint32_t(d.pixietype))) - uint32_t(d.i_bitsused);
  const uint32_t significant = d.i_bitsused >= 32 ? 0xFFFFFFFFu : (1u << (d.i_bitsused & 31)) - 1;
  const uint32_t stored = d.i_bitsxsb == QVIM_LSB ? significant : significant << (shift & 31);
  const bool wants_msb = datatype & QVIM_MSB && d.i_bitsxsb != QVIM_MSB;
  const bool wants_lsb = datatype & QVIM_LSB && d.i_bitsxsb != QVIM_LSB;
  // A caller who asks for both ends gets what the image does not have.
  if (writing ? wants_lsb && !wants_msb : wants_msb) return {adapt::shift_left, shift};
  if (writing ? wants_msb : wants_lsb) return {adapt::shift_right, shift};
  const bool dirty = writing ? datatype & QVIM_DIRTY && !(d.i_dirtyrite & QVIM_DIRTY)
                             : d.i_dirtyread & QVIM_DIRTY && !(datatype & QVIM_DIRTY);
  return dirty ? adaptation{adapt::mask, stored} : adaptation{};
}

namespace {

constexpr int row_of(int32_t pixiesize) {
  return pixiesize == 1 ? 0 : pixiesize == 2 ? 1 : pixiesize == 4 ? 2 : 3;
}
constexpr int column_of(adapt change) {
  return change == adapt::shift_left ? 1 : change == adapt::shift_right ? 2 : change == adapt::mask ? 3 : 0;
}

// There is no public kernel for 8-byte pixies; plain copies with the bytes reversed are all that they need.
void swap_8(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count, uint32_t,
            uint32_t) {
  auto *from = static_cast<const uint8_t *>(src);
  auto *to = static_cast<uint8_t *>(dst);
  for (; count; count--, from += srcstride, to += dststride)
    store_value(to, swapped(load_value<uint64_t>(from)));
}

// The in-place swaps need no value, so their own type has no fourth argument. They are handed out in the type
// of the other in-place kernels, which callers with the C calling convention can use all the same.
npfbixn_fn *swapping_kernel_in_place(int32_t pixiesize) {
  npfbix3_fn *const kernel = pixiesize == 2 ? npfbix2_swab : pixiesize == 4 ? npfbix4_swab : nullptr;
  return kernel ? reinterpret_cast<npfbixn_fn *>(reinterpret_cast<void (*)()>(kernel)) : npfbix0_nop;
}

}  // namespace

npfbix_fn *adapting_kernel(int32_t pixiesize, adapt change) {
  static npfbix_fn *const kernels[4][4] = {
      {npfbix_0to0, npfbix_1to1_ln, npfbix_1to1_rn, npfbix_1to1_mn},
      {npfbix_0to0, npfbix_2to2_ln, npfbix_2to2_rn, npfbix_2to2_mn},
      {npfbix_0to0, npfbix_4to4_ln, npfbix_4to4_rn, npfbix_4to4_mn},
      {npfbix_0to0, npfbix_0to0, npfbix_0to0, npfbix_0to0},
  };
  return kernels[row_of(pixiesize)][column_of(change)];
}

npfbixn_fn *adapting_kernel_in_place(int32_t pixiesize, adapt change) {
  static npfbixn_fn *const kernels[4][4] = {
      {npfbix0_nop, npfbix1_lshift, npfbix1_rshift, npfbix1_mask},
      {npfbix0_nop, npfbix2_lshift, npfbix2_rshift, npfbix2_mask},
      {npfbix0_nop, npfbix4_lshift, npfbix4_rshift, npfbix4_mask},
      {npfbix0_nop, npfbix0_nop, npfbix0_nop, npfbix0_nop},
  };
  return kernels[row_of(pixiesize)][column_of(change)];
}

npfbix_fn *swapping_kernel(int32_t pixiesize) {
  switch (pixiesize) {
    case 1: return npfbix_1to1_n;
    case 2: return npfbix_2to2_sbn;
    case 4: return npfbix_4to4_sbn;
    case 8: return swap_8;
    default: return npfbix_0to0;
  }
}

void swap_in_place(void *pixies, int32_t pixiesize, uint64_t count) {
  if (pixiesize == 2) npfbix2_swab(pixies, 2, count);
  if (pixiesize == 4) npfbix4_swab(pixies, 4, count);
  if (pixiesize == 8) swap_8(pixies, pixies, 8, 8, count, 0, 0);
}

namespace {

template <class Kernel>
void answer(Kernel **destination, Kernel *kernel) {
  if (destination) *destination = kernel;
}

uint32_t answer(const qvimagedata &d, uint32_t direction, uint32_t datatype, uint32_t *param,
                adaptation *chosen) {
  *chosen = adapt_pixies(d, direction & 1, datatype);
  if (param) *param = chosen->param;
  const bool swapped = is_reversed(d) != is_reversed(d, datatype);
  return uint32_t(chosen->change) | (swapped ? adapt_swap : 0);
}

template <class Record>
uint32_t select_in_place(const Record *im, uint32_t direction, uint32_t datatype, npfbixn_fn **kernel,
                         uint32_t *param, npfbixn_fn **swap) {
  const qvimagedata d = im->d;
  const int32_t size = qvimdatasize(uint32_t(d.pixietype));
  adaptation chosen;
  const uint32_t result = answer(d, direction, datatype, param, &chosen);
  answer(kernel, adapting_kernel_in_place(size, chosen.change));
  answer(swap, swapping_kernel_in_place(size));
  return result;
}

template <class Record>
uint32_t select(const Record *im, uint32_t direction, uint32_t datatype, npfbix_fn **kernel, uint32_t *param,
                npfbix_fn **swap) {
  const qvimagedata d = im->d;
  const int32_t size = qvimdatasize(uint32_t(d.pixietype));
  adaptation chosen;
  const uint32_t result = answer(d, direction, datatype, param, &chosen);
  answer(kernel, d.pixietype == QVIM_FLOAT32   ? npfbix_ftof_n
                 : d.pixietype == QVIM_FLOAT64 ? npfbix_dtod_n
                                               : adapting_kernel(size, chosen.change));
  answer(swap, swapping_kernel(size));
  return result;
}

}  // namespace
}  // namespace qvim

extern "C" {

npfbix_fn *qvimdatapackf16(uint32_t bytes) {
  static npfbix_fn *const kernels[] = {npfbix_0to0,     npfbix_z1toz1_n, npfbix_z2toz2_n, npfbix_z3toz3_n,
                                       npfbix_z4toz4_n, npfbix_z5toz5_n, npfbix_z6toz6_n, npfbix_z7toz7_n,
                                       npfbix_z8toz8_n, npfbix_zntozn_n};
  return kernels[std::min(bytes, 9u)];
}
npfbix_fn *qvimdatapackfapy(uint32_t bytes) { return qvimdatapackf16(bytes); }

#define QVIM_SELECTORS(twin, suffix, Record)                                                             \
  uint32_t twin##datauintmodexx##suffix(const Record *image, uint32_t direction, uint32_t datatype,      \
                                        npfbixn_fn **kernel, uint32_t *param) {                          \
    return qvim::select_in_place(image, direction, datatype, kernel, param, nullptr);                    \
  }                                                                                                      \
  uint32_t twin##datauintmodexxswab##suffix(const Record *image, uint32_t direction, uint32_t datatype,  \
                                            npfbixn_fn **kernel, uint32_t *param, npfbixn_fn **swap) {   \
    return qvim::select_in_place(image, direction, datatype, kernel, param, swap);                       \
  }                                                                                                      \
  uint32_t twin##datauint2modexx##suffix(const Record *image, uint32_t direction, uint32_t datatype,     \
                                         npfbix_fn **kernel, uint32_t *param) {                          \
    return qvim::select(image, direction, datatype, kernel, param, nullptr);                             \
  }                                                                                                      \
  uint32_t twin##datauint2modexxswab##suffix(const Record *image, uint32_t direction, uint32_t datatype, \
                                             npfbix_fn **kernel, uint32_t *param, npfbix_fn **swap) {    \
    return qvim::select(image, direction, datatype, kernel, param, swap);                                \
  }
QVIM_SELECTORS(qvim, f16, qvimage)
QVIM_SELECTORS(qvim, fapy, qvimage)
QVIM_SELECTORS(qvim3, f16, qvimage3)
QVIM_SELECTORS(qvim3, fapy, qvimage3)

}  // extern "C"
