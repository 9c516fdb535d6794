/* Portable anymap files: P4 (bits), P5 (grey), P6 (colour), with one frame or many behind one header. */
#ifndef QVIMAGE_PGM_H
#define QVIMAGE_PGM_H

#include <qvimage/fileinfo.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* An open file, of a reader or a writer. */
typedef struct pgmhandle pgmhandle;

/* --- Writing ---------------------------------------------------------------------------------------------
 *
 * A frame is the window of a 2-D image of unsigned 8- or 16-bit pixies with up to 16 significant bits, 1 or 3
 * of them a pixel; with allow4 not 0 also 4, of which the first three are written. One pixie of one bit makes
 * a P4 file, in which a pixel of value 1 is stored as the bit 0, other single pixies a P5 file, three a P6
 * file. The maximum value is 2^bits - 1 for an image of so many significant bits; samples take one byte when
 * it is below 256, otherwise two, the most significant one first. Where the image has its significant bits
 * does not matter. rgborder not 0: first and third component change places (images held in blue, green, red
 * order; of 4 pixies, too).
 *
 * All frames of a file have one size, depth and number of samples. The size of a pixel, from the image,
 * stands in comments of the form "## PixelWidth=0.010000Millimeter", one a side whose unit is known. Of the
 * options (null for none) the texts datetime, software, description and copyright become a comment each, one
 * a line of theirs. Other options are not looked at.
 *
 * path; fopenmode (null: "w+b", or "r+b" to append); bufsize, the bytes of the file's buffer block, rounded
 * up to a power of two, 0 for 64 KiB; appendframes: 0 creates the file, N > 0 adds to a file of exactly N
 * frames. What follows these, less than a frame, is overwritten. An append to a file whose header says
 * another size, kind or maximum is refused, and its header stays as it is.
 *
 * Codes of all write functions; the worst code of all steps is returned:
 * - -1: bad arguments: null image, path or handle address, a handle that is set, 2 pixies or more than 4
 *   (3 without allow4), an empty window, a mode that begins with 'a', a frame unlike the first one.
 * - -2: memory.
 * - -7: the file could not be written, or the image did not deliver its pixels (an image that names its own
 *   reason through aeiou 'e' passes that on).
 * - -10: the file to append to is no such file, or has another size, kind, maximum or number of frames.
 * - -13: the file to append to cannot be opened. -14: the file cannot be created; others that append to it
 *   have it locked for 10 seconds.
 * - -19: other pixie types than unsigned 8 and 16 bits.
 * - -64: not the handle of such a file being written.
 * - A set-up code of the image (-11, -19, ...) is passed on.
 *
 * When writing fails, a file that the call created is removed, and a file appended to ends after the frames
 * that it had. A stopped callback is such a failure. Without a mode the functions that write all in one call
 * put a new file beside the path, which takes the path's name when it is whole: whatever fails, an existing
 * file stays as it was. */

/* Creates or opens a file for frames like this image and writes the header; no frame yet. *h must be null and
 * is set when all is well. The callback is not called. */
int32_t qvimage_pgmwriteinit(qvimagecallback callback, pgmhandle **h, const char *path, const char *fopenmode,
                             int64_t bufsize, qvimage *image, uint64_t appendframes, qvimagefileinfo *options,
                             uint32_t rgborder, uint32_t allow4);

/* Appends one frame, of the size, pixie type, bits and pixies of the first image. The callback (null for
 * none) hears of every row, from 1 to the height, before it is written; a non-zero answer stops the writing
 * and becomes the result. After a failure the frames before this one are whole, and others may follow. Sets
 * up the image's runs. */
int32_t qvimage_pgmwriteadd(pgmhandle **h, qvimagecallback callback, qvimage *frame);

/* Closes the file, releases the handle and sets *h to null. The result is the worst that happened to the
 * file; if that is a failure, a file that the handle created is removed. */
int32_t qvimage_pgmwritedone(pgmhandle **h);

/* Writes an image as one frame: the three steps above in one. */
int32_t qvimage_pgmwrite(qvimagecallback callback, qvimage *image, const char *path, const char *fopenmode,
                         int64_t bufsize, uint64_t appendframes, qvimagefileinfo *options, uint32_t rgborder,
                         uint32_t allow4);

/* Writes every plane of the image's window as a frame, in the order of z. The callback hears of planes, from
 * 1 to their number, each before it is written. */
int32_t qvimage_pgmwriteseq(qvimagecallback callback, qvimage3 *image, const char *path,
                            const char *fopenmode, int64_t bufsize, uint64_t appendframes,
                            qvimagefileinfo *options, uint32_t rgborder, uint32_t allow4);

/* --- Reading ---------------------------------------------------------------------------------------------
 *
 * A file is a read-only 3-D image (device name "QVIMPGM") with a plane a frame; what remains after the last
 * whole frame is passed over. P4 and P5 have 1 pixie of hint 1 (grey), P6 has 3 of hint 67 (red, green,
 * blue); pixies have 8 bits for maximum values up to 255 and otherwise 16, as many of them significant as the
 * maximum value has. Values arrive as they are stored, in the host's byte order; bits are inverted, so that
 * white is 1.
 *
 * Comments are kept, in their order, as the texts datetime, software, description, copyright of the
 * information record, four at most; those of the form "## PixelWidth=0.010000Millimeter" (PixelHeight,
 * PixelDepth) are sizes of a pixel. Numbers are read and written with a point in every locale.
 *
 * The image serves ioset with x-, y- and z-scan, any contiguous run of pixies, and all flags of the data type
 * word; bxts; no mapping (-11). ioread never returns a code: it moves the pixels before the fault, and the
 * fault is kept and answered by aeiou 'e' (arg1 other than 0 clears it): -7 for a failed read, -10 for a file
 * that was cut off after it was opened. Any pixel is found at once; nothing is allocated for a row.
 *
 * Several threads may read from one file at once, each with its own copy of the image record; a lock in the
 * handle is held during each ioread.
 *
 * Parameters: fopenmode null is "rbe"; bufsize is the file's block in bytes, rounded up to a power of two, 0
 * for 64 KiB. second and lenient have no effect but that second (null for none) is made a null image.
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
