/* FITS files: one image, or a sequence of frames, in the primary array.
 *
 * Values are stored big-endian. Unsigned integers that use the sign's bit (16 of 16, 32 of 32) are stored
 * less half their range, with BZERO. Axes carry annotations: cards with a blank keyword that other readers
 * pass over, which name the unit of the x, y and frame axis, or the colour axis's hint, and the axis's
 * physical size. */
#ifndef QVIMAGE_FITS_H
#define QVIMAGE_FITS_H

#include <qvimage/fileinfo.h>
#include <qvimage/progress.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* An open file. */
typedef struct fitshandle fitshandle;

/* --- Writing ---------------------------------------------------------------------------------------------
 *
 * Pixies of 8, 16 and 32 bits and floating ones. Images of several components are stored component by
 * component, each a whole picture; with bit 0 of the option fts_layout the components of a pixel stand side
 * by side. Images of one component have a colour axis of length 1 unless bit 1 is set. Bit 2 leaves the
 * annotations out.
 *
 * Of the options, which may be null: fts_layout; fts_date (null: the current time), fts_date_obs,
 * fts_observer, fts_object, fts_origin become string cards; fts_comment and fts_history one card a line, more
 * for longer lines. Cards hold printable ASCII characters: others become '?'. Values that do not fit their
 * card (68 characters of a string, quotes counting twice; 20 of a number) are left out. Options are read by
 * the call that they are given to.
 *
 * Callbacks hear of each row, from 1 to the number of rows, once for each component that is stored by itself;
 * of each plane in qvimage3_fitswriteseq; null: the thread's progress callback. Any answer but 0 stops the
 * writing and is the result.
 *
 * fopenmode null: functions that write a whole file write beside the path and give the file its name when all
 * is well, so that what stood there survives every failure; the steps write to the path itself. Modes that
 * are given begin with 'w' or "r+" and work on the path itself. bufsize: bytes of the file's block, rounded
 * up to a power of two; 0: 64 KiB.
 *
 * Codes:
 *   -1    a null pointer that is needed, a handle that is set already, an empty window, frames that are
 *         unlike what was announced, more than 2^31 - 1 frames, a second frame of a single image, a mode that
 *         does not write
 *   -2    memory
 *   -7    the file could not be written
 *   -13, -14   it cannot be opened, or created
 *   -15   the text of an observation is longer than its card
 *   -19   64-bit integers
 *   -64   another handle than a FITS writer's
 *   what the image answers to its set-up, or keeps of a row that stopped short
 * After a failure of a whole file's writing, and when qvimage_fitswritedone answers a code, no file stays
 * that was created for it. */

/* Begins a file. Exactly one of wind and wind3 says by its extents along x and y how large frames are; image
 * describes their pixels. frames below 0: one image without a frame axis; otherwise how many frames are
 * expected: the header has room for an observation each, 80 bytes. More or fewer may be added. *h must be
 * null and is set. */
int32_t qvimage_fitswriteinit(fitshandle **h, const qvywindow *wind, const qvyzwindow *wind3, qvimage *image,
                              const char *path, const char *fopenmode, int64_t bufsize, int64_t frames,
                              qvimagefileinfo *options);

/* Adds the window of a frame. fr may be null; its fts_date_obs is kept with the frame, of those that were
 * announced. A frame that failed or was stopped is not part of the file, and the next one takes its place. */
int32_t qvimage_fitswriteadd(fitshandle **h, qvimagecallback callback, qvimage *frame, qvimagefileinfo *fr);

/* Ends the file: the header gets the number of frames that were written. *h is null afterwards. */
int32_t qvimage_fitswritedone(fitshandle **h);

/* A file of one image, its window. reserved: 0. */
int32_t qvimage_fitswrite(qvimagecallback callback, qvimage *image, uint64_t reserved, const char *path,
                          const char *fopenmode, int64_t bufsize, qvimagefileinfo *options);

/* A file of all planes of the window, a frame each. reserved: 0. */
int32_t qvimage3_fitswriteseq(qvimagecallback callback, qvimage3 *image, uint64_t reserved, const char *path,
                              const char *fopenmode, int64_t bufsize, qvimagefileinfo *options);

/* --- Reading ---------------------------------------------------------------------------------------------
 *
 * A file is a read-only 3-D image (device name "QVIMFITS") with a plane a frame. BITPIX 8, 16 and 32 are
 * unsigned pixies, with BZERO added, and as many bits significant as DATAMAX needs; -32 is floating. Double
 * precision (-64) is written but not read.
 *
 * Which axis is what: with two axes x and y. With three, the first is the colour axis if its annotation names
 * a hint; otherwise the third is, if its annotation does, and else it counts frames. With four, the frames
 * follow. A colour axis has at most 4 components.
 *
 * Without lenient (0), files with a BSCALE other than 1, a BZERO other than a whole number from 0 to half the
 * range, a DATAMIN other than 0 or a broken DATAMAX are refused, since their values would not be what is
 * delivered; with it, integers of such files arrive as they are stored. Lenient also reads a single axis as
 * one row, and a file that was cut off as its whole frames. The functions that fill information records read
 * leniently.
 *
 * The image serves ioset with x-, y- and z-scan, any contiguous run of pixies, and all flags of the data type
 * word; bxts; no mapping (-11). ioread never returns a code: it moves the pixels before the fault, which is
 * kept and answered by aeiou 'e' (arg1 other than 0 clears it): -7 for a failed read, -10 for a file that was
 * cut off after it was opened. Any pixel is found at once. Several threads may read from one file at once,
 * each with its own copy of the image record; a lock in the handle is held during each ioread.
 *
 * Codes of all functions that open a file:
 *   -1    null image, info, path or handle address; a handle that is set; negative bufsize; a frame beyond
 *         the last
 *   -2    memory
 *   -7    the file could not be read
 *   -10   not a FITS header; an axis of length 0, a side above 2^31 - 1; BITPIX -16, -64 or another number; a
 *         value of the header that is no number; a file without a whole frame, or, unless lenient, with fewer
 *         than its header tells of
 *   -11   scales and ranges as above; fewer than two or more than four axes; more than four components; a
 *         fourth axis that stands for nothing
 *   -13   no such file, or not readable */

/* Opens a file; fopenmode null is "rb". *h must be null and is set; it lives until qvimage3_fitsreaddone.
 * second (may be null) is made a null image. On failure the image is a null image. */
int32_t qvimage3_fitsread(qvimage3 *image, qvimage *second, fitshandle **h, const char *path,
                          const char *fopenmode, int64_t bufsize, uint32_t lenient);

/* Closes the file, sets *h to null and makes both images null images (each may be null). 0; -1 without a
 * handle, -64 for a handle that is not a reader's. */
int32_t qvimage3_fitsreaddone(qvimage3 *image, qvimage *second, fitshandle **h);

/* Fills the record: size, number of frames, description and size of pixels, type "fts", layout flags, numbers
 * and texts of the header; as fts_date_obs the frame's observation, or the header's where it has none. Texts
 * are freed by qvimage_fitsinfodone. 0, -1, -2, -7, -64; on failure the record is cleared. */
int32_t qvimage_fitsreadinfo(fitshandle *h, qvimagefileinfo *info, uint64_t frame);

/* Opens a file, fills the record of that frame, closes the file. */
int32_t qvimage_fitsinfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize,
                         uint64_t frame);

/* The same for up to n frames from `first` on: how many records were filled. After a failure none is. */
int64_t qvimage_fitsinfoN(qvimagefileinfo *infos, int64_t n, const char *path, const char *fopenmode,
                          int64_t bufsize, int64_t first);

/* Frees the texts of a record of type "fts" and clears their pointers; other records are left alone. */
void qvimage_fitsinfodone(qvimagefileinfo *info);

QVIM_END_DECLS

#endif
