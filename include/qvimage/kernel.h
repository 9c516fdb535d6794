/* Calling forms of the kernels: stateless functions that convert runs of pixies or pixels. */
#ifndef QVIMAGE_KERNEL_H
#define QVIMAGE_KERNEL_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

typedef void npfbix_fn(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count, uint32_t shift, uint32_t mask);
typedef void npfbixn_fn(void *buffer, int64_t stride, uint64_t count, uint32_t value);              /* npfbix0_/1_/2_/4_ in place */
typedef void npfclx_fn(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, uint64_t count, uint32_t maxvalue, const void *param);
/* in place: npfbix2_swab, npfbix4_swab, npfbix?_set0 take three arguments; npfbix2_2swab, npfbix4_2swab take the first five of npfbix_fn */
typedef void npfbix3_fn(void *buffer, int64_t stride, uint64_t count);
typedef void npfbix5_fn(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count);
typedef void npfbitstuff_fn(const void *pixies, void *stream, uint64_t count, uint32_t bits, uint32_t mode);
typedef void npfbitunstuff_fn(void *pixies, const void *stream, uint64_t count, uint32_t bits, uint32_t mode);
/* npfpix forms */
typedef void npfpix_fn(void *buffer, uint64_t count, uint32_t arg3, uint32_t arg4, const void *operand);       /* arg3: sets = pixies per pixel, xlats = bits */
typedef void npfpixxlat_fn(void *buffer, int64_t stride, uint64_t count, uint32_t bits, uint32_t ignored, const void *table);
typedef void npfpix2_fn(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count, const void *operand);
typedef void npfpix2xlat_fn(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count, const void *table, uint32_t bits);
typedef void npfpixtr_fn(void *buffer, uint64_t count);                          /* transpose1_i..4_i */
typedef void npfpixtrk_fn(void *buffer, uint64_t count, uint32_t k);             /* transposek_i */
typedef void npfpixtrn_fn(void *buffer, int64_t stride, uint64_t count);         /* transpose1_n ?2 */
typedef void npfpix2tr_fn(const void *src, void *dst, uint64_t count);           /* 2transpose1_i..4_i */
typedef void npfpix2trk_fn(const void *src, void *dst, uint64_t count, uint32_t k);
typedef void npfpixadd_fn(const void *pixies, uint32_t *sums, uint64_t count);
typedef void npfpixass_fn(const uint32_t *sums, uint64_t ignored, void *pixies, uint64_t count, const void *operand);

QVIM_END_DECLS

#endif
