/* Raw files: pixels of an image one after another, row by row, without a header. A file, or any stream, of
 * such pixels is an image that is read and written where it lies, whatever its size.
 *
 * Pixel (x, y) of an image W pixels wide begins at byte (y * W + x) * pixelsize of the stream; its components
 * follow each other, each in the bytes, byte order and justification that the description says. A window is
 * read and written in its place; nothing is loaded but the stream's block. A stream's tare at the time when
 * the image is made (bufio_tareset) is where pixels begin: a header before them is left out. Foreign byte
 * order is said by i_endian of the description.
 *
 * Access: runs along x and y of any neighbouring components in every justification and byte order that
 * qvimage/memory.h names; block transfers; mappings, along x, of streams in memory that hold the whole image,
 * until the stream grows or ends. Pixels beyond the stream's length read as 0, and the stream latches -10;
 * writing extends it, with zeros where nothing was written. Failures of the stream do not end a transfer:
 * aeiou 'e' answers bufio_err, and clears it when arg1 is not 0. Over a stream that locks (BUFIO_LOCKED, as
 * that of qvimage_file does), several images may be used by several threads. */
#ifndef QVIMAGE_RAW_H
#define QVIMAGE_RAW_H

#include <qvimage/bufio.h>
#include <qvimage/progress.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* Makes an open stream an image of that size (width and height) and description, which is copied. Device name
 * "QVIMFIB". The stream stays the caller's, may serve other purposes in between, and must outlive the image.
 * 0, or after leaving the null image in the record
 *   QVERR_USAGE   a null pointer (a null image is not touched), a description that is not valid
 *   QVERR_LOGIC   an extent of 0 or above 2^31 - 1, or more bytes than a stream can have */
int32_t qvimage_filebufio(qvimage *image, bufio *b, const uint32_t size[2], const qvimagedata *d);

/* Opens a file as such an image. Type, bits and hint are those of qviminitdata.
 *
 *   h          *h is null, and receives a stream for qvimage_filedone; it may be used as any stream.
 *              It locks (BUFIO_LOCKED)
 *   fopenmode  null is "wb": a new file. Modes that write read, too ("w+b"); "rb" and "r+b" open what is
 *              there
 *   bufsize    bytes of the stream's block, rounded up to a power of two; 0: 64 KiB, or the width if that is
 *              more
 *
 * 0, or, with the null image in the record and *h null,
 *   QVERR_USAGE                        null image, h or path, *h in use, pixels that qviminitdata refuses
 *   QVERR_LOGIC                        as above; the file is not touched then
 *   QVERR_MEMORY                       no memory for the stream; the file is not touched then
 *   QVERR_NOTFOUND, QVERR_NOTCREATED   the file cannot be opened, or created */
int32_t qvimage_file(qvimage *image, bufio **h, const char *path, const char *fopenmode,
                     const uint32_t size[2], uint32_t pixietype, uint32_t bitsused, uint32_t pixies,
                     uint32_t pixelhint, uint32_t bufsize);

/* Writes what is left, closes the file and makes image and *h null. Either pointer may be null. Always 0: ask
 * bufio_err of the stream before, or aeiou 'e' of the image after a bufio_flush, when it matters. */
int32_t qvimage_filedone(qvimage *image, bufio **h);

/* Writes the image's window as a raw file, in the image's own type with significant bits at the low end.
 *
 *   callback   hears of each row before it is read, by its index from 0 and the number of rows, and stops the
 *              writing with any answer but 0, which is the result; null: the thread's progress callback
 *   fopenmode  null: a new file that takes the path's name when all is written, so that a file that stood
 *              there survives every failure. Others begin with 'w' or "r+" and work on the file itself
 *   bufsize    bytes of the stream's block, 0 for 64 KiB
 *
 * After a failure no file stays that this call created or emptied. 0, the callback's answer, or
 *   QVERR_USAGE                        null image or path, a mode that does not write
 *   QVERR_MEMORY                       no memory for a row
 *   QVERR_NOTFOUND, QVERR_NOTCREATED   the file cannot be opened, or created
 *   QVERR_IO                           it cannot be written
 *   what the image answers to its set-up, or keeps of a row that stopped short */
int32_t qvimage_filewrite(qvimagecallback callback, qvimage *image, const char *path, const char *fopenmode,
                          uint32_t bufsize);

QVIM_END_DECLS

#endif
