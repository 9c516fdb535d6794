/* Pixel operation kernels: operations on the values of runs of pixies, in place or from run to run. kernel.h
 * says what holds for all kernels and what the arguments are; the members are in members/npfpix.inc, one a
 * line, and every one of them is declared here.
 *
 * Names: npfpix<width>_<operation>, the width in bytes of the unsigned pixies: 1, 2 or 4. Not every
 * operation exists in every width: the list is complete. Forms:
 *
 *   npfpix1_shl                    adjacent pixies, in place (npfpix_fn)
 *   npfpix1_2shl_i                 from run to run, adjacent pixies; the stride arguments are ignored
 *                                  (npfpix2_fn)
 *   npfpix1_2shl_n                 from run to run, each with its stride (npfpix2_fn)
 *   npfpix1_xlat_n                 a strided run, in place (npfpixxlat_fn: tables only)
 *
 * Operands: w0, w1, ... are the 32-bit words of the operand block, v is a pixie. Words marked * are values
 * of pixies: kernels for narrower ones use their low-order bytes alone. The others count in full. The block
 * is read once a call; where no word is named it may be null. Results are stored modulo 2^W, W being the
 * pixie's width in bits.
 *
 * Bits
 *   and, or, xor     v AND, OR, exclusive OR w0*
 *   neg255, negffff  NOT v
 *   shl, shr         v shifted by w0 modulo 32, zeros coming in
 *   shr1             v shifted right by 1
 *   rotl, rotr       v rotated by w0 bits. w1 is the width that rotates: W. With a smaller one, w0 times:
 *                    rotl moves every bit up, bit w1 - 1 also into bit 0, and drops bit W - 1; rotr moves
 *                    every bit down, bit 0 into bit w1 - 1, OR what comes down there. With w1 0 or above W
 *                    they shift by w0
 *   msb              w0* where v AND w1* is not 0, else 0
 *   gray             binary to Gray code: v XOR v / 2
 *   gray1            Gray code to binary
 *   reverse          the low w0 bits of v in reverse order, bit 0 becoming bit w0 - 1; bits above them are
 *                    dropped
 *
 * Arithmetic
 *   neg              w0* - v, w0 being the largest value
 *   addmodulo        v + w0*; biased is the same
 *   submodulo        v - w0*
 *   addbound255      v + w0, at most 255. The sum is one of 16 bits, so that of 1 and 65535 is 0
 *   addboundffff     v + w0, at most 65535. The sum is one of 32 bits
 *   addbound         v + w0*, at most w1*; the sum does not wrap
 *   subbound0        v - w0*, at least 0
 *   mul              v w0 / w1, rounded down, at most w2*; the product is taken modulo 2^32. 0 when w1 is 0
 *   mull             the same; the product is exact
 *   contrast         (v - w0*) w2 / (w1* - w0*), rounded down, at most w2: stretches w0 .. w1 over 0 .. w2.
 *                    0 where v is not above w0, and when w1 equals w0. Product and difference are taken
 *                    modulo 2^32
 *
 * Thresholds and constants
 *   threshold        w2* where w0* <= v <= w1*, else v
 *   threshold2       w2* where w0* <= v <= w1*, else w3*
 *   set              w0*
 *   sets             whole pixels: count is a number of pixels, arg3 the pixies of each, word j* the value
 *                    of pixie j
 *
 * Curves
 *   contrastpivot    the operand block is four doubles: low, high, pivot, gain. (v - pivot) gain + pivot,
 *                    rounded once (a fused multiplication and addition), limited to low .. high, plus 0.5,
 *                    truncated and limited to 0 .. 2^32 - 1 (NaN: 0)
 *   gamma            w1 (v / w1)^g rounded, with g = w0 / 1000, computed as v^g (w1 / w1^g) + 0.5 with the C
 *                    library's pow, truncated and limited to 0 .. 2^32 - 1 (NaN: 0)
 *
 * Tables
 *   xlat             table[v], entries as wide as the pixies. Every value of a pixie in the run must have an
 *                    entry
 *   xlats            table[v AND 2^bits - 1]; all bits when the argument is 0 or not below W
 *
 * Mirroring reverses the order of the pixels of a run, keeping the bytes of each in order.
 *   npfpix1_transpose1_i .. npfpix1_transpose4_i     pixels of 1 to 4 bytes, in place
 *   npfpix1_transposek_i                             pixels of k bytes; a k of 0 does nothing
 *   npfpix1_transpose1_n                             bytes of a strided run
 *   npfpix1_2transpose1_i .. npfpix1_2transposek_i   from run to run
 *
 * Frame averages: 32-bit sums of many frames, and their means. Names have the width of the source and of the
 * destination.
 *   npfpix14_pairadd, npfpix24_pairadd               adds each pixie to its sum, modulo 2^32
 *   npfpix41_assshri, npfpix42_assshri               sum / 2^s, halves rounded up, with s = w0 modulo 32
 *   npfpix41_assdivi, npfpix42_assdivi               (sum + w0 / 2) / w0, both rounded down; 0 when w0 is 0
 *   npfpix41_assdivlb, npfpix42_assdivlb             the same, at most w1*
 * The rounding does not wrap: sums close to 2^32 give their mean.
 *
 * npftwo14_stub and npftwo24_stub do nothing. */
#ifndef QVIMAGE_NPFPIX_H
#define QVIMAGE_NPFPIX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

#define QVIM_MEMBER(name, form) form name;
#include <qvimage/members/npfpix.inc>

QVIM_END_DECLS

#endif
