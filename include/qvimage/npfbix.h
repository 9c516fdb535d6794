/* Data-type conversion kernels: runs of pixies change their type, width, position in the pixie or byte order.
 * kernel.h says what holds for all kernels and what the arguments are; the members are in members/npfbix.inc,
 * one a line, and every one of them is declared here.
 *
 * Conversions: npfbix_<source>to<destination>_<letters>, of form npfbix_fn. Types are 1, 2 and 4 (unsigned
 * integers of so many bytes), f (float) and d (double). The letters, in this order:
 *
 *   m            the source is ANDed with the mask first
 *   a            (real to integer) limited to 0 .. mask
 *   r, l         shifted right or left by the shift argument modulo 32, zeros coming in
 *   r8 .. l24    shifted by the number in the name
 *   sb           the bytes of each pixie in reverse order
 *   k            scaled by k, passed as the mask
 *   i            both runs are adjacent pixies; the stride arguments are ignored
 *   n            each run has its stride
 *   n12, nFE1    fixed strides, source first, each a hexadecimal digit or a signed byte (FE is -2, F8 is -8);
 *                the stride arguments are ignored
 *
 * So npfbix_2to1_mrn reads 16-bit pixies, ANDs, shifts right, and stores the low bytes; npfbix_1to1_nFE1
 * copies every other byte, going backwards, into adjacent ones. Not every combination exists: the list is
 * complete.
 *
 * Integer to integer: mask, shift in 32 bits, low bytes stored (0x1234 to one byte is 0x34; wider is
 * zero-filled).
 *
 * Integer to real: mask and shift in 32 bits, then converted, rounding to nearest (doubles are exact). With k
 * each value is then multiplied by 1 / k, computed once in the destination's precision: with k the largest
 * value, the results are 0 .. 1. With m and k, the one argument is both.
 *
 * Real to integer: truncated towards 0 to 32 bits (below 0 and NaN: 0; from 2^32 on: 0xFFFFFFFF), shifted,
 * low bytes stored. The mask or k counts in the source's precision.
 *   a            values from the mask on store the mask, the others are truncated
 *   a and k      values from 1 on store k, the others are multiplied by k and truncated. For 1- and 2-byte
 *                destinations k is cut to their width first; k = 0 stores 0
 *   k            multiplied by all 32 bits of k and truncated, not limited
 *
 * Real to real: npfbix_dtof_n stores the largest float, or its negative, for doubles beyond it, infinities
 * included; NaN stays NaN.
 *
 * Copies: npfbix_z<bytes>toz<bytes>_i and _n copy items of that size; npfbix_zntozn_i and npfbix_zntozn_n
 * take the size in the place of the shift.
 *
 * In place: npfbix<width>_<operation>.
 *   rshift, rshifta, lshift   shift by the value modulo 32; rshifta fills with the top bit. A shift of 0 does
 *                             nothing
 *   mask                      AND with the value; a mask of all bits does nothing
 *   set, set0                 the value, or 0, everywhere
 *   swab                      bytes in reverse order; 2swab: from run to run, of form npfbix5_fn
 *
 * Bit packing: npfbit8_, npfbit16_ and npfbit32_ stuff and unstuff; the number is the pixie's width in bits.
 *   mode bit 1   set: a value is in its pixie's low bits; clear: in the high bits. stuff ignores the pixie's
 *                other bits, unstuff makes them 0
 *   mode bit 0   set: the stream begins with the most significant bit of the first value, in the top of the
 *                first byte (as in TIFF); clear: with the least significant bit, in the bottom of the first
 *                byte
 * Unused bits of the last byte are 0. bits equal to the width is a plain copy, bytes in the machine's order;
 * bits of 0 or above the width do nothing. stuff may pack a run where it lies.
 *
 * npfbix0_nop, npfbix0_stub and npfbix_0to0 do nothing, whatever their arguments. */
#ifndef QVIMAGE_NPFBIX_H
#define QVIMAGE_NPFBIX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

#define QVIM_MEMBER(name, form) form name;
#include <qvimage/members/npfbix.inc>

/* The kernel npfbix_z<itemsize>toz<itemsize>_n: for 1 to 8, 10 and 12 bytes. Null for other sizes, which
 * npfbix_zntozn_n serves. */
npfbix_fn *npfbix_ztoz_n_func(uint32_t itemsize);

/* The number of bits that are 1 in so many bytes. */
uint64_t npfbit8_count(const void *buffer, uint64_t bytes);

/* Copies count items of itemsize bytes from a strided run to another: gathers components, or scatters
 * them. */
void npfbyte_pack(void *dst, const void *src, uint64_t itemsize, uint64_t count, int64_t dststride,
                  int64_t srcstride);

/* Writes count copies of the pattern one after another. The pattern must not overlap them, but may be the
 * first. */
void npfbyte_repl(void *dst, const void *pattern, uint64_t patternsize, uint64_t count);

/* Reverses the order of rows in place: the last comes first. scratch: room for one row, outside the
 * buffer. */
void npfbyte_transpose(void *buffer, uint64_t rowsize, uint64_t rows, void *scratch);

/* Exchanges length bytes of a with length bytes of b, count times, each run going on by its stride. */
void npfbyte_exchange(void *a, void *b, uint64_t length, uint64_t count, int64_t stridea, int64_t strideb);

QVIM_END_DECLS

#endif
