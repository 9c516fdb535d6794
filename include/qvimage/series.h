/* Numbered series of image files as one 3-D image: a plane a file, one of them in memory at a time. */
#ifndef QVIMAGE_SERIES_H
#define QVIMAGE_SERIES_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* An open series. */
typedef struct seqhandle seqhandle;

/* Plane z of the image is file first + z. A plane is loaded into the frame buffer, whole, when pixels of it
 * are asked for; pixels are read from the frame buffer and written to it. When another plane is asked for, a
 * frame that was changed through the image is saved before, if writeback says so; otherwise its changes are
 * lost.
 *
 *   h            *h is null, and receives the series, or is a series of the same kind, which is described
 *                anew: nothing of it is saved, and images over it show the new one
 *   framebuffer  any image that can be read and written. Its size, description and hints are those of the
 *                planes. It must outlive the series; it is used by its whole extent, and may be looked at in
 *                between
 *   lut          of TIFF and BMP files with a colour map: an image that receives it beside the indices; null,
 *                or for other formats: colours come as colours. BMP files: hint BGR in the order of the file,
 *                RGB exchanged
 *   pattern      the files' path: every '?' in it, from the right, is replaced by a digit of the number
 *   bufsize      bytes of the files' blocks, rounded up to a power of two; 0 for 64 KiB
 *   first, last  numbers of the files, both included; not negative
 *   writeback    not 0: changed frames are saved
 *   locking      not 0: a lock, one for the process and all series of the format, is held while pixels are
 *                moved, frames loaded and saved, and commands obeyed, so that several threads may use copies
 *                of the record
 *
 * A file of other colours, type or bits than the frame buffer is converted; one of another size is refused
 * (-10). Pages behind the first are not shown, and are lost when the frame is saved. A frame is saved with
 * what the file said beside its pixels (qvimagefileinfo), into a file that replaces the old one when it is
 * whole: a failure or a crash leaves either. Where the pattern has too few '?' to tell the numbers apart,
 * frames are not saved (-57).
 *
 * The image serves ioset as the frame buffer does, along x, y and z, with and without wrap; block transfers;
 * no mapping. Runs along z load a file a pixel. Device names are "BTIFFSEQ", "BBMPSEQ", "BBINSEQ", and
 * "BJPGSEQ" for JPEG, FITS and PGM.
 *
 * What fails in a transfer is kept: it moves the pixels before. A file that cannot be read leaves the frame
 * before it as it was; one that cannot be saved has lost its changes. Where the frame buffer takes no pixels
 * (-7, or its own code), there is no frame in memory afterwards. aeiou of the image:
 *   'e'          the code that was kept, else what the frame buffer answers; arg1 other than 0 clears both.
 *                The codes are those of the format's functions that read and write, -13 for a file that is
 *                not there, -10 for another size, -57 for names that are shared, -19 for double precision in
 *                FITS
 *   'f'          saves the frame in memory if it was changed: 0, or the code
 *   'p'          loads frame arg1 (from 0): 0, or the code
 *   'r'          saves the frame in memory, if it was changed, and renames the file whose path is in buffer
 *                to that of frame arg1, which it replaces: 0; -1 where that has no file, or the renaming
 *                fails; -2; or the code of the saving
 *
 * Codes of the constructors, which leave the null image: -1 null pointers but for lut, first beyond last,
 * negative bufsize; -2 memory; -64 *h is a series of another kind. No file is touched by them. */
int32_t qvimage3_buftiffseq(seqhandle **h, qvimage3 *image, qvimage *framebuffer, qvimage *lut,
                            const char *pattern, int64_t bufsize, int32_t first, int32_t last,
                            uint8_t writeback, uint8_t locking);
int32_t qvimage3_bufbmpseq(seqhandle **h, qvimage3 *image, qvimage *framebuffer, qvimage *lut,
                           const char *pattern, int64_t bufsize, int32_t first, int32_t last,
                           uint8_t writeback, uint8_t locking);
int32_t qvimage3_bufjpegseq(seqhandle **h, qvimage3 *image, qvimage *framebuffer, qvimage *lut,
                            const char *pattern, int64_t bufsize, int32_t first, int32_t last,
                            uint8_t writeback, uint8_t locking);
int32_t qvimage3_buffitsseq(seqhandle **h, qvimage3 *image, qvimage *framebuffer, qvimage *lut,
                            const char *pattern, int64_t bufsize, int32_t first, int32_t last,
                            uint8_t writeback, uint8_t locking);
int32_t qvimage3_bufpgmseq(seqhandle **h, qvimage3 *image, qvimage *framebuffer, qvimage *lut,
                           const char *pattern, int64_t bufsize, int32_t first, int32_t last,
                           uint8_t writeback, uint8_t locking);
int32_t qvimage3_bufbinseq(seqhandle **h, qvimage3 *image, qvimage *framebuffer, qvimage *lut,
                           const char *pattern, int64_t bufsize, int32_t first, int32_t last,
                           uint8_t writeback, uint8_t locking);

/* Ends a series: frees the handle, sets *h to null and makes the image, which may be null, a null image. The
 * frame in memory is not saved: ask for it by 'f' before. 0; -1 without a handle; -64 for a handle of another
 * kind. */
int32_t qvimage3_buftiffseqdone(seqhandle **h, qvimage3 *image);
int32_t qvimage3_bufbmpseqdone(seqhandle **h, qvimage3 *image);
int32_t qvimage3_bufjpegseqdone(seqhandle **h, qvimage3 *image);
int32_t qvimage3_buffitsseqdone(seqhandle **h, qvimage3 *image);
int32_t qvimage3_bufpgmseqdone(seqhandle **h, qvimage3 *image);
int32_t qvimage3_bufbinseqdone(seqhandle **h, qvimage3 *image);

/* The colour maps of a series' files as an image of their own ("BTIFFSQL", "BBMPSQL"): plane z is that of
 * file z. lut is the image that the series was given. 0; -1 for another image, or a series without colour
 * maps. */
int32_t qvimage3_buftifflutseq(qvimage3 *lutseq, qvimage3 *seq, qvimage *lut);
int32_t qvimage3_bufbmplutseq(qvimage3 *lutseq, qvimage3 *seq, qvimage *lut);

QVIM_END_DECLS

#endif
