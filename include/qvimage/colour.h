/* Colour views: the pixels of an image presented in another colour interpretation, by component, or
 * regrouped from a raw image behind a colour filter array. views.h says what holds for all views and what
 * constructors share; `mode` below is its `sharewindow`, `view` its `image`. */
#ifndef QVIMAGE_COLOUR_H
#define QVIMAGE_COLOUR_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* --- other interpretations --- */

/* Presents the source's pixels in another colour interpretation, of the same data type and bits: reads
 * convert, writes convert back. Device names "QVIMCLR" and "QVIMCLR3". The kernels are those of npfclx.h;
 * unsigned integers of 8, 16 and 32 bits, float32, float64.
 *
 *   hint   what is presented, QVIM_HINT_...: its low four bits count the components. From RGB, BGR, RGBPAD
 *          or BGRPAD to any other of the four, to YCRCB (8 and 16 bits only), BSH, CMY, CMYK or GREY, and
 *          back from each of these to the four. The source's pixels must have as many components as its own
 *          hint says.
 *
 *   -19   another data type
 *   -21   interpretations without a way from one to the other, the same one twice included
 *
 * The view presents clean numbers at the low end of the pixie, in the machine's byte order. ioset: -19 a
 * data type that it does not present without conversion, -1 a scan order other than x and y, then the
 * source's failures, -21 a colourmask other than one component or all. imapset: -11.
 *
 * Writing a single component changes the pixel as it is presented and converts it back, so all components
 * of the source may change. The fourth component of RGBPAD and BGRPAD has no meaning: reads of whole pixels
 * leave it as it is in the caller's buffer, writes of whole pixels store 0 in the source, and by itself it
 * reads as 0. */
int32_t qvimage_colorconverter(qvimage *view, qvimage *source, int32_t hint, uint8_t mode);
int32_t qvimage3_colorconverter(qvimage3 *view, qvimage3 *source, int32_t hint, uint8_t mode);

/* --- one component --- */

/* Presents one component of the source as a one-component image; data type, bits and pixelhint stay the
 * source's. Device name "ClrSlice".
 *
 *   mask       bit i selects component i of the source; exactly one bit
 *   reserved   0
 *
 *   -1   the mask selects no component of the source, or several
 *
 * Reads and writes are passed to the source where it serves single components. Where it does not, its whole
 * pixels are read, and written back for writes: integers of 64 bits are refused there (-19). Other
 * components are never changed. ioset: -1 a scan order that the image has not, -21 a mask other than 1.
 * imapset: -11. */
int32_t qvimage_colorslice(qvimage *view, qvimage *source, uint8_t mode, uint32_t mask, uint32_t reserved);
int32_t qvimage3_colorslice(qvimage3 *view, qvimage3 *source, uint8_t mode, uint32_t mask, uint32_t reserved);

/* --- raw values behind a colour filter array --- */

/* Presents the first component of the source, raw values behind an array of 2 x 2 colour filters, as pixels
 * of four components: red, green of the red row, green of the blue row, blue. Nothing is interpolated. Read
 * only. Device name "Bayer*4"; 8- and 16-bit integers; pixelhint QVIM_HINT_BAYER4.
 *
 *   phase   where red lies in a cell: bit 0 its column, bit 1 its row; further bits do not count. As rows
 *           of a cell: 0: R G / G B, 1: G R / B G, 2: G B / R G, 3: B G / G R
 *
 *   -19   another data type
 *
 * The view has the source's size: the pixels of a 2 x 2 cell all present that cell. Cells begin at even
 * coordinates, counted from the origin of the view's image whatever its window. Where a cell sticks out of
 * the source's window, the nearest column or row of the same parity stands in for the missing one; where
 * there is none of it, the only one there is.
 *
 * ioset: the source's failures, then -21 a mask other than 15, then -1 a scan order that the image has not.
 * imapset: -11. */
int32_t qvimage_Beyer4_filter(qvimage *view, qvimage *source, uint8_t mode, uint32_t phase);
int32_t qvimage3_Beyer4_filter(qvimage3 *view, qvimage3 *source, uint8_t mode, uint32_t phase);

QVIM_END_DECLS

#endif
