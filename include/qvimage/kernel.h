/* Calling forms of the kernels: stateless functions that move runs of values from buffer to buffer and change
 * them on the way. The families are in npfbix.h (data types), npfpix.h (operations on values) and npfclx.h
 * (colours).
 *
 * Words. A pixie is one component of a pixel: an unsigned integer of 1, 2 or 4 bytes in the machine's byte
 * order, a float or a double. A run is a start pointer, a stride and a count: strides are in bytes, from the
 * start of one pixie (npfclx: pixel) to the start of the next, and may be negative or 0; counts are in pixies
 * (npfclx: pixels), and a count of 0 does nothing. Nothing needs to be aligned.
 *
 * For all kernels: they check no argument, never fail, allocate nothing and keep no state, so any number of
 * threads may call them on different destinations. A destination's bytes between its pixies keep what they
 * hold and are not written, with one exception: where a pixel of three components is followed by a pad of
 * one, the pad may be written with what it held, so that no other thread may change it meanwhile. Bytes
 * between a source's pixies may be read. Results do not depend on the processor, the alignment or how a run
 * is cut into calls. Source and destination must not overlap, except that they may be the same run: same
 * start, same stride, pixies of both widths fitting the stride. Runs of adjacent pixies are the fast case,
 * whether the kernel takes strides or not. */
#ifndef QVIMAGE_KERNEL_H
#define QVIMAGE_KERNEL_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

/* --- npfbix: data types --- */

/* Conversion and copy kernels. shift: what kernels with r or l shift by, modulo 32 (npfbix_zntozn_: the item
 * size in bytes instead). mask: what kernels with m AND with, what those with a limit to, or the scale k of
 * those with k. Arguments that a kernel's name does not ask for are ignored. */
typedef void npfbix_fn(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count,
                       uint32_t shift, uint32_t mask);

/* In place, with a value: npfbix1_, npfbix2_ and npfbix4_ rshift, rshifta, lshift, mask and set. */
typedef void npfbixn_fn(void *buffer, int64_t stride, uint64_t count, uint32_t value);

/* In place, without a value: set0 and swab. */
typedef void npfbix3_fn(void *buffer, int64_t stride, uint64_t count);

/* From run to run, without a value: 2swab. */
typedef void npfbix5_fn(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count);

/* Bit packing: count values of `bits` bits each from adjacent pixies to a stream of bytes (stuff) and back
 * (unstuff). The modes are explained in npfbix.h. The stream takes (count * bits + 7) / 8 bytes. */
typedef void npfbitstuff_fn(const void *pixies, void *stream, uint64_t count, uint32_t bits, uint32_t mode);
typedef void npfbitunstuff_fn(void *pixies, const void *stream, uint64_t count, uint32_t bits, uint32_t mode);

/* --- npfpix: operations on values --- */

/* Adjacent pixies, in place. operand: a block of 32-bit words w0, w1, ... (what they mean depends on the
 * kernel; a pixie's value is in a word's low-order bytes), or a table. arg3: pixies per pixel (sets), bits
 * used (xlats). */
typedef void npfpix_fn(void *buffer, uint64_t count, uint32_t arg3, uint32_t arg4, const void *operand);

/* A strided run, in place, through a table: xlat_n, xlats_n. */
typedef void npfpixxlat_fn(void *buffer, int64_t stride, uint64_t count, uint32_t bits, uint32_t ignored,
                           const void *table);

/* From run to run; _i kernels ignore the strides. */
typedef void npfpix2_fn(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count,
                        const void *operand);

/* From run to run through a table; 2xlat kernels ignore bits. */
typedef void npfpix2xlat_fn(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count,
                            const void *table, uint32_t bits);

/* Mirrored in place: count pixels of 1 to 4 bytes, of k bytes, and bytes of a strided run. */
typedef void npfpixtr_fn(void *buffer, uint64_t count);
typedef void npfpixtrk_fn(void *buffer, uint64_t count, uint32_t k);
typedef void npfpixtrn_fn(void *buffer, int64_t stride, uint64_t count);

/* Mirrored from run to run: count pixels of 1 to 4 bytes, and of k bytes. */
typedef void npfpix2tr_fn(const void *src, void *dst, uint64_t count);
typedef void npfpix2trk_fn(const void *src, void *dst, uint64_t count, uint32_t k);

/* Pixies added to 32-bit sums, and sums made pixies again. */
typedef void npfpixadd_fn(const void *pixies, uint32_t *sums, uint64_t count);
typedef void npfpixass_fn(const uint32_t *sums, uint64_t ignored, void *pixies, uint64_t count,
                          const void *operand);

/* --- npfclx: colours --- */

/* src and dst point to the first component of the first pixel, components of a pixel are adjacent. maxvalue:
 * the largest value of a component, 2^n - 1. param: a matrix, a count of bits or a palette, as the kernel
 * asks. Kernels that need neither ignore them. */
typedef void npfclx_fn(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, uint64_t count,
                       uint32_t maxvalue, const void *param);

QVIM_END_DECLS

#endif
