// The exported kernels: each calls its version of the level in use.
#include "kernels/levels.hpp"

namespace qvim {

namespace {

// What runs before the level is chosen takes the lowest one: results are the same.
constinit int level = 0;
constinit const kernel_table *kernels_chosen = kernels[0];
[[gnu::constructor]] void choose() { choose_level(level_in_use()); }

}  // namespace

int chosen_level() { return level; }

void choose_level(int chosen) {
  level = chosen;
  kernels_chosen = kernels[chosen];
}

}  // namespace qvim

// The forms of the kernels: their parameters, and the same as arguments.
#define QVIM_PASS(name, parameters, arguments) \
  extern "C" void name parameters { qvim::kernels_chosen->name arguments; }
#define QVIM_PASS_npfbix_fn(name)                                                              \
  QVIM_PASS(name,                                                                              \
            (const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count, \
             uint32_t shift, uint32_t mask),                                                   \
            (src, dst, srcstride, dststride, count, shift, mask))
#define QVIM_PASS_npfbixn_fn(name)                                                \
  QVIM_PASS(name, (void *buffer, int64_t stride, uint64_t count, uint32_t value), \
            (buffer, stride, count, value))
#define QVIM_PASS_npfbix3_fn(name) \
  QVIM_PASS(name, (void *buffer, int64_t stride, uint64_t count), (buffer, stride, count))
#define QVIM_PASS_npfbix5_fn(name)                                                                    \
  QVIM_PASS(name, (const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count), \
            (src, dst, srcstride, dststride, count))
#define QVIM_PASS_npfbitstuff_fn(name)                                                              \
  QVIM_PASS(name, (const void *pixies, void *stream, uint64_t count, uint32_t bits, uint32_t mode), \
            (pixies, stream, count, bits, mode))
#define QVIM_PASS_npfbitunstuff_fn(name)                                                            \
  QVIM_PASS(name, (void *pixies, const void *stream, uint64_t count, uint32_t bits, uint32_t mode), \
            (pixies, stream, count, bits, mode))
#define QVIM_PASS_npfpix_fn(name)                                                                    \
  QVIM_PASS(name, (void *buffer, uint64_t count, uint32_t arg3, uint32_t arg4, const void *operand), \
            (buffer, count, arg3, arg4, operand))
#define QVIM_PASS_npfpixxlat_fn(name)                                                                     \
  QVIM_PASS(                                                                                              \
      name,                                                                                               \
      (void *buffer, int64_t stride, uint64_t count, uint32_t bits, uint32_t ignored, const void *table), \
      (buffer, stride, count, bits, ignored, table))
#define QVIM_PASS_npfpix2_fn(name)                                                             \
  QVIM_PASS(name,                                                                              \
            (const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count, \
             const void *operand),                                                             \
            (src, dst, srcstride, dststride, count, operand))
#define QVIM_PASS_npfpix2xlat_fn(name)                                                         \
  QVIM_PASS(name,                                                                              \
            (const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count, \
             const void *table, uint32_t bits),                                                \
            (src, dst, srcstride, dststride, count, table, bits))
#define QVIM_PASS_npfpixtr_fn(name) QVIM_PASS(name, (void *buffer, uint64_t count), (buffer, count))
#define QVIM_PASS_npfpixtrk_fn(name) \
  QVIM_PASS(name, (void *buffer, uint64_t count, uint32_t k), (buffer, count, k))
#define QVIM_PASS_npfpixtrn_fn(name) \
  QVIM_PASS(name, (void *buffer, int64_t stride, uint64_t count), (buffer, stride, count))
#define QVIM_PASS_npfpix2tr_fn(name) \
  QVIM_PASS(name, (const void *src, void *dst, uint64_t count), (src, dst, count))
#define QVIM_PASS_npfpix2trk_fn(name) \
  QVIM_PASS(name, (const void *src, void *dst, uint64_t count, uint32_t k), (src, dst, count, k))
#define QVIM_PASS_npfpixadd_fn(name) \
  QVIM_PASS(name, (const void *pixies, uint32_t *sums, uint64_t count), (pixies, sums, count))
#define QVIM_PASS_npfpixass_fn(name)                                                                     \
  QVIM_PASS(name,                                                                                        \
            (const uint32_t *sums, uint64_t ignored, void *pixies, uint64_t count, const void *operand), \
            (sums, ignored, pixies, count, operand))
#define QVIM_PASS_npfclx_fn(name)                                                                \
  QVIM_PASS(name,                                                                                \
            (const void *src, void *dst, uint64_t srcstride, uint64_t dststride, uint64_t count, \
             uint32_t maxvalue, const void *param),                                              \
            (src, dst, srcstride, dststride, count, maxvalue, param))

#define QVIM_NOTHING(name, form)
#define QVIM_MEMBER(name, form) QVIM_PASS_##form(name)
#include <qvimage/members/npfbix.inc>
#define QVIM_PIX_NOTHING(name, form)
#define QVIM_MEMBER(name, form) QVIM_PASS_##form(name)
#include <qvimage/members/npfpix.inc>
#define QVIM_MEMBER(name, form) QVIM_PASS_##form(name)
#include <qvimage/members/npfclx.inc>
