/* Portable anymap files: P4 (bits), P5 (grey), P6 (colour), with one frame or many behind one header. */
#ifndef QVIMAGE_PGM_H
#define QVIMAGE_PGM_H

#include <qvimage/fileinfo.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* An open file. */
typedef struct pgmhandle pgmhandle;

/* --- Reading ---------------------------------------------------------------------------------------------
 *
 * A file is a read-only 3-D image (device name "QVIMPGM") with a plane a frame; what remains after the last
 * whole frame is passed over. P4 and P5 have 1 pixie of hint 1 (grey), P6 has 3 of hint 67 (red, green, blue);
 * pixies have 8 bits for maximum values up to 255 and otherwise 16, as many of them significant as the maximum
 * value has. Values arrive as they are stored, in the host's byte order; bits are inverted, so that white is 1.
 *
 * Comments are kept, in their order, as the texts datetime, software, description, copyright of the
 * information record, four at most; those of the form "## PixelWidth=0.010000Millimeter" (PixelHeight,
 * PixelDepth) are sizes of a pixel. Numbers are read and written with a point in every locale.
 *
 * The image serves ioset with x-, y- and z-scan, any contiguous run of pixies, and all flags of the data type
 * word; bxts; no mapping (-11). ioread never returns a code: it moves the pixels before the fault, and the fault
 * is kept and answered by aeiou 'e' (arg1 other than 0 clears it): -7 for a failed read, -10 for a file that
 * was cut off after it was opened. Any pixel is found at once; nothing is allocated for a row.
 *
 * Several threads may read from one file at once, each with its own copy of the image record; a lock in the
 * handle is held during each ioread.
 *
 * Parameters: fopenmode null is "rb"; bufsize is the file's block in bytes, rounded up to a power of two, 0 for
 * 64 KiB. second and lenient have no effect but that second (null for none) is made a null image.
 *
 * Codes of all functions that open a file:
 * - -1: null image, info, path or handle address; a handle that is set; negative bufsize.
 * - -2: memory.
 * - -7: the file could not be read.
 * - -10: another file than P4, P5 or P6 (P1, P2 and P3 are text), a malformed header, a side of 0 or above
 *   2^31 - 1, a maximum value of 0 or above 65535, no whole frame, more than 2^31 - 1 frames.
 * - -13: no such file, or not readable. */

/* Opens a file. *h must be null and is set; it lives until qvimage3_pgmreaddone, and the images read through
 * it. On failure the image is a null image. */
int32_t qvimage3_pgmread(qvimage3 *image, qvimage *second, pgmhandle **h, const char *path,
                         const char *fopenmode, int64_t bufsize, uint32_t lenient);

/* Closes the file, sets *h to null and makes both images null images (each may be null). 0; -1 without a
 * handle, -64 for a handle that is not a reader's. */
int32_t qvimage3_pgmreaddone(qvimage3 *image, qvimage *second, pgmhandle **h);

/* Fills the record: size, number of frames, description and size of pixels, type "pgm", texts, pgm_magic,
 * pgm_maxvalue. The texts are freed by qvimage_pgminfodone. 0, -1, -2, -64; on failure the record is
 * cleared. */
int32_t qvimage_pgmreadinfo(pgmhandle *h, qvimagefileinfo *info);

/* Opens a file, fills the record, closes the file. */
int32_t qvimage_pgminfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize);

/* Frees the four texts of a record of type "pgm" and clears their pointers; other records are left alone. */
void qvimage_pgminfodone(qvimagefileinfo *info);

QVIM_END_DECLS

#endif
