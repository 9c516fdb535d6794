/* Colour kernels: runs of pixels from one colour interpretation to another. kernel.h says what holds for all
 * kernels; the members are in members/npfclx.inc, one a line, and every one of them is declared here, of form
 * npfclx_fn:
 *
 *   (src, dst, srcstride, dststride, count, maxvalue, param)
 *
 * Names: npfclx<width>_<conversion>; the width is 1, 2 or 4 (unsigned integers of so many bytes), f (float)
 * or d (double). Source and destination have the same width.
 *
 * Pixels. Components of a pixel are adjacent, numbered in the order in which the conversion's name lists
 * them. Strides are from pixel to pixel; for a negative one pass its two's complement. Only components that
 * are named are read and written: with a stride of four components, the fourth of an RGB destination stays as
 * it is. Pixels without gaps are the fast case, then those with one component's gap. Every kernel works in
 * place, with src equal to dst and equal strides (into which the larger pixel fits), but YCrCbtoYCbCr, which
 * then does nothing.
 *
 * Arithmetic. Integers below are exact, >> is an arithmetic shift of a signed 32-bit sum (which wraps),
 * floor(a / b) is rounded down. Of a result that does not fit, the low-order bytes are stored, unless it says
 * "limited". Floating-point operations are single operations in the order written, rounded to nearest; only
 * those written fma(...) are fused. So results are the same on every processor; which NaN comes out where
 * several went in is not said.
 *
 * Full scale, called maxv, depends on the conversion:
 *   - param points to a uint32_t, the count of bits used (i_bitsused of a description): maxv = 2^bits - 1. A
 *     count of 0, of the width or more, or a null pointer means all bits of the width. The f and d members do
 *     not read it; their full scale is 1.
 *   - maxv is the maxvalue argument; it must be 2^n - 1.
 *
 * Moving components (widths 1 2 4 f d; maxvalue and param are ignored)
 *   RGBxtoBGRx_2n      components 0 and 2 exchanged
 *   RGBxtoRGBx_2n      components 0 to 2 copied: a pad is added, removed or skipped by the strides
 *   YCrCbtoYCbCr       components 1 and 2 exchanged; in place it returns without doing so: give it another
 *                      buffer
 *   RGB3toBGR3_1i      components 0 and 2 exchanged, in place, of adjacent pixels of 3 components: pass the
 *                      same pointer twice; the strides are ignored
 *   RGB4toBGR4_1i      the same for pixels of 4 components, whose last one keeps its value (widths 1 and 2)
 *
 * Palettes (widths 1 2 4; param: the palette, of components of the kernel's width; it must have an entry for
 * every index up to the largest that occurs in the source)
 *   BGRLut3toBGRx      one index a pixel becomes the 3 components of that entry; entries have 3 components
 *   BGRLut4toBGRx      the same with entries of 4 components, the last one unused. In width 4 the index is
 *                      taken modulo 2^30
 *
 * Ink (widths 1 2 4 f d; param: bits)
 *   RGBtoCMY, CMYtoRGB   out_i = maxv - in_i; modulo 2^width for an integer above maxv
 *   BGRtoCMY, CMYtoBGR   the same with the order reversed: out0 = maxv - in2, out1 = maxv - in1, out2 = maxv
 *                        - in0
 *   RGBtoCMYK, BGRtoCMYK
 *                        with v = max(R, G, B): C, M, Y = v - R, v - G, v - B and K = maxv - v. f and d
 *                        members: K = 1 - v, C = (1 - R) - K, and so on
 *   CMYKtoRGB, CMYKtoBGR
 *                        R is maxv - min(maxv, C + K), G and B likewise from M and Y. f and d members:
 *                        s = C + K, R = s > 1 ? 0 : 1 - s
 *
 * Brightness, saturation, hue: the hexcone model (A. R. Smith: Color Gamut Transform Pairs, 1978; widths 1 2
 * 4 f d; param: bits). Components 0, 1, 2 of a pixel.
 *   RGBtoBSH, BGRtoBSH   B = max(R, G, B), d = B - min(R, G, B). The hue starts at red and goes on through
 *                        green and blue; the largest component counts as red if red has that value, else as
 *                        green if green has, else as blue: x = G - B, 2 d + (B - R) or 4 d + (R - G).
 *     width 1, and width 2 with 1 to 14 bits: integers.
 *       S = floor((floor(B / 2) + d maxv) / B), 0 for black
 *       H = 0 if S is 0, else x (maxv + 1) / (6 d), rounded to nearest, halves away from 0; a negative
 *       one has maxv + 1 added, so that hues are 0 to maxv and maxv + 1 steps are the circle
 *     f and d: S = d / B; H = 60 (x / d) with x / d formed as (G - B) / d, (B - R) / d + 2 or (R - G) / d +
 *       4; a negative one has 360 added. S is 0 for black, H is 0 for black and where S is 0.
 *     width 2 with more bits, and width 4: in single precision on R / maxv, G / maxv, B / maxv as f does; B
 *       and S are multiplied by maxv, H by (maxv + 1) / 360; a hue of maxv + 0.5 or more is 0; 0.5 is added,
 *       truncated and limited to maxv. Here maxv is rounded to float: 2^32 for all bits of width 4.
 *   BSHtoRGB, BSHtoBGR   the reverse. S = 0 gives B for all three components. Otherwise the circle has six
 *                        sectors, k = 0 to 5, f is how far the hue is in its sector, and (R, G, B) is, by k,
 *                        (B, t, p), (q, B, p), (p, B, t), (p, q, B), (t, p, B) or (B, p, q), with p = B (1 -
 *                        S), q = B (1 - S f) and t = B (1 - S (1 - f)).
 *     integers (as above), with F = 256 in width 1 and 16384 in width 2, and m = floor(maxv / 2):
 *       h = floor((m + 6 F H) / (maxv + 1)), k = floor(h / F), f = h mod F
 *       p = floor((m + (maxv - S) B) / maxv)
 *       q = floor((maxv F / 2 + (maxv F - f S) B) / (maxv F)), t the same with F - f for f
 *       A hue above maxv gives three zeros.
 *     f and d: k is H / 60 truncated, f = H / 60 - k; a hue of 360 counts as 0; a hue below 0, above 360 or
 *       NaN gives three zeros.
 *     the others: B and S divided by maxv, H by (maxv + 1) / 360, as f does, times maxv, 0.5 added,
 *       truncated, limited to 0 to maxv
 *
 * Luminance and chrominance (widths 1 2; maxv is the maxvalue argument, param: a matrix m of int32_t[3][4]
 * whose column 3 is not read; s = 8 in width 1 and 12 in width 2, r = 2^(s - 1), h = (maxv + 1) / 2)
 *   RGBtoYCrCb, BGRtoYCrCb   Y  = (m00 R + m01 G + m02 B + r) >> s
 *                            Cr = (m10 R + m11 G + m12 B + h 2^s + r) >> s, Cb the same with row 2
 *   YCrCbtoRGB, YCrCbtoBGR   R  = (m00 Y + m01 Cr + m02 Cb + r - (m01 + m02) h) >> s, G and B with rows 1 and
 *                            2
 *   All are limited to 0 to maxv. The same names with 8 for YCrCb (width 1) have maxv = 255 and ignore
 *   maxvalue.
 *
 * Matrices (r1: limited to 0 to maxv; r0: not limited. matrix34: param is m[3][4], rows by output; matrix3
 * and matrix31: param may also be an array of 3)
 *   widths 1 2, coefficients int32_t:
 *     matrix34sl8r0      out_r = (m_r0 in0 + m_r1 in1 + m_r2 in2 + m_r3) >> 8
 *     matrix34sl12r1     the same with >> 12, limited to 0 to maxv, the maxvalue argument. If any component
 *                        of the source is maxvalue all three results are: a saturated pixel stays white
 *     matrjx34sl12r1     the same for pixels stored as B, G, R with a matrix for R, G, B
 *     matrix3sl8r0       3 components to 1: out = (m0 in0 + m1 in1 + m2 in2) >> 8
 *     matrix3sl8r1       the same limited to 0 to 255 (width 1) or 65535 (width 2), whatever maxvalue is
 *     matrix31sl8r0      1 component to 3: out_i = (m_i in0) >> 8
 *   widths 4 f d, coefficients double. f computes in float, to which it converts the coefficients first; 4
 *   computes in double and truncates results, limited to what 32 bits hold (NaN becomes 0):
 *     matrix34r0         out_r = fma(m_r2, in2, fma(m_r1, in1, fma(m_r0, in0, m_r3)))
 *     matrix34r1         the same limited to 0 to 1, or in width 4 to maxvalue
 *     matrjx34r1         the same for pixels stored as B, G, R with a matrix for R, G, B
 *     matrix3r0          3 components to 1: out = fma(m2, in2, fma(m1, in1, m0 in0)); matrix3r1 limited
 *     matrix31r0         1 component to 3: out_i = m_i in0 */
#ifndef QVIMAGE_NPFCLX_H
#define QVIMAGE_NPFCLX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

#define QVIM_MEMBER(name, form) form name;
#include <qvimage/members/npfclx.inc>

QVIM_END_DECLS

/* --- Coefficients to pass as param --- */

#if defined(__GNUC__)
#define QVIM_MAYBE_UNUSED __attribute__((unused))
#else
#define QVIM_MAYBE_UNUSED
#endif

/* Luminance and chrominance, 8 bits (scale 2^8): RGBtoYCrCb and RGBtoYCrCb8, YCrCbtoRGB and YCrCb8toRGB, and
 * their BGR twins. The weights are those of ITU-R BT.601; column 3 is what matrix34sl8r0 needs for the same
 * conversion. */
QVIM_MAYBE_UNUSED static const int32_t clx_rgb_to_ycrcb8[3][4] = {
    {76, 150, 28, 0}, {128, -107, -20, 32768}, {-43, -84, 128, 32768}};
QVIM_MAYBE_UNUSED static const int32_t clx_ycrcb_to_rgb8[3][4] = {
    {256, 358, 0, -45875}, {256, -183, -87, 34668}, {256, 0, 454, -58130}};

/* The same for 16 bits (scale 2^12). */
QVIM_MAYBE_UNUSED static const int32_t clx_rgb_to_ycrcb16[3][4] = {
    {1228, 2400, 462, 0}, {2048, -1716, -331, 524288}, {-692, -1355, 2048, 524288}};
QVIM_MAYBE_UNUSED static const int32_t clx_ycrcb_to_rgb16[3][4] = {
    {4096, 5734, 0, -734003}, {4096, -2932, -1400, 554696}, {4096, 0, 7266, -930086}};

/* Grey (scale 2^8): matrix3sl8r0 and matrix3sl8r1 from red, green, blue or from blue, green, red;
 * matrix31sl8r0 back. */
QVIM_MAYBE_UNUSED static const int32_t clx_rgb_to_grey[3] = {76, 150, 29};
QVIM_MAYBE_UNUSED static const int32_t clx_bgr_to_grey[3] = {29, 150, 76};
QVIM_MAYBE_UNUSED static const int32_t clx_grey_to_rgb[3] = {256, 256, 256};

/* Grey in floating point: matrix3r0, matrix3r1; matrix31r0. */
QVIM_MAYBE_UNUSED static const double clx_rgb_to_grey_d[3] = {0.299, 0.587, 0.114};
QVIM_MAYBE_UNUSED static const double clx_bgr_to_grey_d[3] = {0.114, 0.587, 0.299};
QVIM_MAYBE_UNUSED static const double clx_grey_to_rgb_d[3] = {1.0, 1.0, 1.0};

#undef QVIM_MAYBE_UNUSED

#endif
