/* JPEG files: baseline (sequential DCT, Huffman codes), 8-bit samples, one component or three without
 * subsampling. Pixels of one component are grey levels; those of three are red, green, blue in this order
 * and stand in the file as Y, Cb, Cr (JFIF).
 *
 * A file is written in one call, or in three steps, of which the second codes the rows in bands, on as
 * many threads if wanted. The file is the same byte for byte however many bands there are, and on every
 * processor.
 *
 *   uint32_t first_rows[3] = {...};   multiples of 8
 *   code = qvimage_jpegwrite0(&c, 4, NULL, &image, first_rows, "frame.jpg", NULL, 0, NULL, &info);
 *   threads, one a band, each over a record of its own:  qvimage_jpegwrite1(&c, band, NULL, &record, rows);
 *   code = qvimage_jpegwrite2(&c, NULL, &image, "frame.jpg", NULL, code);
 *
 * The options and descriptions in a qvimagefileinfo, type "jpg":
 * - jpg_quality: in tenths, 750 for quality 75, from 10 to 1000; below 10 the coarsest tables. 0 means
 *   that the quality is not known, and quality 50 when writing, unless jpg_reserved is 1.
 * - jpg_encodemode: 105 codes in integer arithmetic, whose steps are powers of two: coarser pictures.
 * - jpg_xdensity, jpg_ydensity, jpg_densityunit: of the JFIF header; unit 0 a ratio, 1 an inch, 2 a
 *   centimetre; densities of 0 stand for 1.
 * - jpg_comment: up to three texts, cut to 65533 bytes.
 * Quality and mode are written as comments of their own ("CompressionQuality=750", "EncodeMode=105"), but
 * not into a caller's stream.
 *
 * Codes of the functions that write:
 * - -1: null or wrong pointers, a context that is set, no output, negative bufsize, a mode that does not
 *   write; a window of no pixels or of more than 65535 a side; bands that do not begin at multiples of 8 in
 *   rising order; rows that are not the next ones of their band; bands that were not coded to their ends.
 * - -2: memory. -7: the file could not be written. What the image answers to its set-up, or keeps of a row
 *   that stopped short (else -7).
 * - -14: the file cannot be created. -13: fopenmode begins with 'r' and there is no such file.
 * - -19: the image has not 1, 3 or 4 pixies (of 4 the first three are written) of unsigned 8 bits.
 * - -63: a coefficient that the codes do not reach.
 * - -64: a context of another kind.
 *
 * Codes of the functions that read:
 * - -1, -2, -64 as above; negative bufsize: -1. -13: no such file, or not readable. -7: it could not be
 *   read.
 * - -10: no JPEG file, or a broken one; it ends before its pixels; a second frame or scan; quantisation
 *   tables of other numbers than 0 and 1.
 * - -11: a sound file that is not served: subsampled components, progressive, lossless, hierarchical or
 *   arithmetic coding, other than 8 bits, 2 or 4 components, components in scans of their own, RGB instead
 *   of YCbCr, restart intervals, a picture without pixels.
 * qvimage_reason says which. */
#ifndef QVIMAGE_JPEG_H
#define QVIMAGE_JPEG_H

#include <qvimage/bufio.h>
#include <qvimage/fileinfo.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* A file being written, or being read. */
typedef struct jpegcontext jpegcontext;

/* Writes the image's window. `path` or `memory`, a stream of the caller's, is the output; fopenmode
 * null is "w+b"; bufsize is the file's block in bytes, rounded up to a power of two, 0 for 64 KiB. info
 * may be null. `stream` means nothing. With fopenmode null the file appears under its name when it is
 * whole, and what had the name before survives a failure; else a file that the call created or truncated is
 * removed when it fails. A caller's stream is written from its position on, and left open. 0 or a negative
 * code. */
int32_t qvimage_jpegwrite(void *stream, qvimage *image, const char *path, const char *fopenmode,
                          int64_t bufsize, bufio *memory, qvimagefileinfo *info);

/* Begins a file: opens the output and writes all that stands before the pixels. *c must be null and is
 * set; it lives until qvimage_jpegwrite2. bandrows has the first rows of all bands but the first one (null
 * for one band): multiples of 8, none below the one before. Bands from 1 to 246384. */
int32_t qvimage_jpegwrite0(jpegcontext **c, uint32_t bands, void *stream, qvimage *image,
                           const uint32_t *bandrows, const char *path, const char *fopenmode, int64_t bufsize,
                           bufio *memory, qvimagefileinfo *info);

/* Codes rows[0] to before rows[1] of the window, cut to the image: a band, or its next rows up to a
 * multiple of 8. Different bands may be coded at once by different threads, through records that do not
 * share a source. The callback, or the thread's (qvimage/progress.h), is told the row and rows[1] before
 * each eight rows; any answer but 0 stops the band and is the result. The image may be another than the
 * first call's, but has its size and pixels. Reads the eight rows before the band, too. */
int32_t qvimage_jpegwrite1(jpegcontext **c, uint32_t band, qvimagecallback callback, qvimage *image,
                           const int32_t rows[2]);

/* Joins the bands, ends the file and frees the context; *c becomes null. error is the negative code of what
 * the caller knows to have failed, else 0: when there is one, or the result of a band is not 0, the file is
 * given up, and removed if qvimage_jpegwrite0 created or truncated it. The result is the most negative of all
 * codes, or an answer of the callback. stream, image, path and fopenmode mean nothing. */
int32_t qvimage_jpegwrite2(jpegcontext **c, void *stream, qvimage *image, const char *path,
                           const char *fopenmode, int32_t error);

/* Opens a file, or reads from a caller's stream at its position, and makes `view` a read-only image
 * ("JPEG") over it: pixel type 1, all 8 bits used, 1 pixie of hint 1 or 3 of hint 67. *c must be null and
 * is set; it and a caller's stream live until qvimage_jpegreaddone. fopenmode null is "rbe".
 *
 * Pixels are decoded eight rows at a time when they are read; where rows begin in the data is remembered,
 * so that rows above the last one read are found at once. A file that is broken or ends early delivers the
 * rows before that; then transfers move less, and aeiou 'e' answers -10. Several threads may read through
 * copies of the record; a caller's stream is held by its own lock meanwhile. On failure the view is a null
 * image. */
int32_t qvimage_jpegread(qvimage *view, jpegcontext **c, const char *path, const char *fopenmode,
                         int64_t bufsize, bufio *stream);

/* Closes a file that qvimage_jpegread opened (never a caller's stream), frees the context, sets *c to
 * null and makes the view, which may be null, a null image. 0, -1 without a context, -64. */
int32_t qvimage_jpegreaddone(qvimage *view, jpegcontext **c);

/* Fills the record from an open file; its comments are freed by qvimage_jpeginfodone. Quality and mode
 * are 0 where the file does not say; jpg_reserved is 1 where it tells its quality, so that 0 is one. 0, -1,
 * -2, -64; on failure the record is cleared. */
int32_t qvimage_jpegreadinfo(jpegcontext *c, qvimagefileinfo *info);

/* Opens a file, fills the record, closes the file. 0 or the codes of reading; then the record is cleared. */
int32_t qvimage_jpeginfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize);

/* Frees the comments of a record of type "jpg" and clears their pointers; other records are left alone. */
void qvimage_jpeginfodone(qvimagefileinfo *info);

/* The Huffman codes that are written, Tables K.3 to K.6 of ISO/IEC 10918-1: code and length in bits by
 * symbol; length 0 where there is no code. Symbols of the DC tables are the bits of a difference (0 to
 * 11); those of the AC tables have the zeros before a coefficient in the high four bits and the
 * coefficient's bits in the low four. */
extern const uint16_t huffCodeLumaDC[12], huffSizeLumaDC[12], huffCodeLumaAC[256], huffSizeLumaAC[256];
extern const uint16_t huffCodeChromaDC[12], huffSizeChromaDC[12], huffCodeChromaAC[256],
    huffSizeChromaAC[256];

QVIM_END_DECLS

#endif
