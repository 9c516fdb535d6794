/* AVI files: one video stream of uncompressed bitmaps or motion JPEG. */
#ifndef QVIMAGE_AVI_H
#define QVIMAGE_AVI_H

#include <qvimage/fileinfo.h>
#include <qvimage/progress.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* An open file. */
typedef struct avihandle avihandle;

/* --- Writing ---------------------------------------------------------------------------------------------
 *
 * Frames of 8-bit pixies: 1 component of 1, 4 or 8 significant bits, with a palette, or 3 or 4, of which the
 * first three are written, blue, green, red. With the handler "MJPG" in the options frames are coded as JPEG
 * pictures, grey or in colours; images with another hint than red, green, blue are converted.
 *
 * mode 1 is the classic layout, up to 4 GiB; mode 2 the extended one (OpenDML), in parts of 1 GiB, of any
 * length.
 *
 * Of the options, which may be null and are copied: avi_ratenum and avi_rateden (frames per second; 0: 25 /
 * 1), avi_handler, software, description, copyright, datetime, bmp_xppm, bmp_yppm, and the jpg fields of
 * motion JPEG.
 *
 *   frames     how many are expected: more or fewer may be added, the file tells of those that were
 *   palette    of files with one: the first 2^bits entries of an image of 3 or more components, in the order
 *              that they have; swapmap (not 0) exchanges the first and third component. Null, or a null
 *              image: greys
 *   rgborder   not 0: frames hold red, green, blue, which are exchanged; for bitmaps only
 *   callback   hears of each row, from 1 to the number of rows, of motion JPEG of every eighth, as in
 *              qvimage_jpegwrite1; of each plane in qvimage3_aviwrite; null: the thread's progress callback.
 *              Any answer but 0 stops the frame and is the result
 *   fopenmode  null: qvimage3_aviwrite writes beside the path and gives the file its name when all is well,
 *              so that what stood there survives every failure; the steps write to the path itself. Others
 *              begin with 'w' or "r+" and work on the path itself
 *   bufsize    bytes of the file's block, rounded up to a power of two; 0 for 64 KiB
 *
 * A file whose writing was cut short, by a crash or a kill, is read as far as whole frames reached it.
 *
 * Codes:
 *   -1    a null pointer that is needed, a handle that is set, an empty window, a mode that is none, frames
 *         unlike what was announced, a palette with too few entries or components
 *   -2    memory
 *   -7    the file could not be written
 *   -10   a frame of 4 GiB, a classic file that would pass 4 GiB
 *   -11   other numbers of components or bits
 *   -13, -14   the file cannot be opened, or created
 *   -15   more parts than the index of indexes has room for: that of the frames announced, at least 256, at
 *         most 2^20
 *   -19   other pixies than 8-bit integers
 *   -64   another handle than an AVI writer's
 *   what an image answers to its set-up, or keeps of a row that stopped short; codes of the JPEG writer
 * When a step answers a code, no file stays that was created for it, and *h is null. */

/* Begins a file. The image describes the frames, wind (null: the image's own) gives by its extents how large
 * they are. *h must be null and is set. reserved: 0. */
int32_t qvimage_aviwriteinit(qvimagecallback callback, avihandle **h, const char *path, const char *fopenmode,
                             qvimage *image, int64_t bufsize, const qvywindow *wind, qvimage *palette,
                             qvimagefileinfo *options, uint64_t reserved, uint32_t swapmap, uint32_t frames,
                             uint32_t mode);

/* Adds the window of a frame. options (null: those given at the beginning): of motion JPEG. A frame that was
 * stopped by the callback with a positive answer is not part of the file, and the next one takes its place.
 * path has no effect. */
int32_t qvimage_aviwriteadd(qvimagecallback callback, avihandle **h, const char *path,
                            qvimagefileinfo *options, qvimage *frame, uint32_t rgborder);

/* Ends the file: indexes, texts, the number of frames. *h is null afterwards. */
int32_t qvimage_aviwritedone(qvimagecallback callback, avihandle **h, const char *path);

/* A file of all planes of the window, a frame each. */
int32_t qvimage3_aviwrite(qvimagecallback callback, qvimage3 *image, qvimage *palette, const char *path,
                          const char *fopenmode, int64_t bufsize, qvimagefileinfo *options, uint32_t rgborder,
                          uint32_t swapmap, uint32_t mode);

/* --- Reading ---------------------------------------------------------------------------------------------
 *
 * The first stream of a file is a read-only 3-D image (device name "QVIMAVI") with a plane a frame: bitmaps
 * as BMP files (qvimage/bmp.h), in blue-green-red order; motion JPEG as 1 component of grey or 3 of red,
 * green, blue. Frame n is found at once, by the extended index, or the classic one, or, in files without any,
 * by one walk over the movie when the file is opened. Frames without data show the one before them. Other
 * streams are passed over.
 *
 * The image serves ioset with x-, y- and z-scan, any contiguous run of pixies, and all flags of the data type
 * word; bxts; no mapping (-11). ioread never returns a code: it moves the pixels before the fault, which is
 * kept and answered by aeiou 'e' (arg1 other than 0 clears it): -7 for a failed read, -10 for a frame that is
 * broken or too short, -2. A frame of motion JPEG stays open until another one is asked for. Several threads
 * may read from one file at once, each with its own copy of the image record; a lock in the handle is held
 * during each ioread.
 *
 * lenient (not 0): other handlers, as the compression says. fopenmode null is "rb"; bufsize as above.
 *
 * Codes of all functions that open a file:
 *   -1    null image, info, path or handle address; a handle that is set; negative bufsize
 *   -2    memory
 *   -7    the file could not be read
 *   -10   no AVI file; no stream's format, or one of another header size, depth or more than 256 colours; a
 *         palette that is cut short; no whole frame
 *   -11   a first stream that is no video, or, unless lenient, neither "DIB " nor "MJPG", or compressed
 *         otherwise
 *   -13   no such file, or not readable */

/* Opens a file. *h must be null and is set; it lives until qvimage3_avireaddone, and both images read through
 * it. palette as in qvimage_bmpread. On failure both images are null images. */
int32_t qvimage3_aviread(qvimage3 *image, qvimage *palette, avihandle **h, const char *path,
                         const char *fopenmode, int64_t bufsize, uint32_t lenient);

/* Closes the file, sets *h to null and makes both images null images (each may be null). 0; -1 without a
 * handle, -64 for a handle that is not a reader's. */
int32_t qvimage3_avireaddone(qvimage3 *image, qvimage *palette, avihandle **h);

/* Fills the record: size, number of frames, description, type "avi", avi fields, bmp_xppm, bmp_yppm, texts,
 * which qvimage_aviinfodone frees. 0, -1, -2, -64; on failure the record is cleared. */
int32_t qvimage_avireadinfo(avihandle *h, qvimagefileinfo *info);

/* Opens a file leniently, fills the record, closes the file. */
int32_t qvimage_aviinfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize);

/* Frees the texts of a record of type "avi" and clears their pointers; other records are left alone. */
void qvimage_aviinfodone(qvimagefileinfo *info);

QVIM_END_DECLS

#endif
