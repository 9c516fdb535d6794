/* BMP files, and the first image of icon files. */
#ifndef QVIMAGE_BMP_H
#define QVIMAGE_BMP_H

#include <qvimage/fileinfo.h>
#include <qvimage/progress.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* --- Reading ---------------------------------------------------------------------------------------------
 *
 * A file is a read-only image (device name "QVIMBMP") of 8-bit pixies:
 *   24 bits a pixel       3 components, blue, green, red (hint 3)
 *   32 bits a pixel       4 components, the last one a pad (hint 4)
 *   1, 4 or 8 bits        with a palette whose entry i is (i, i, i): 1 component of so many bits, grey; with
 *                         another palette, where a palette image is asked for: 1 component of so many bits,
 *                         indices (hint 17), beside that image; where none is: the colours of the palette, as
 *                         24 bits
 * rgborder (not 0) delivers colours, and the palette, in the order red, green, blue (hints 67 and 36). A
 * black and white palette of 1 bit is no such ramp: its pixels are indices.
 *
 * Files of both orders of rows are read, with 40-byte headers. A resolution becomes the size of a pixel in
 * metres.
 *
 * The image serves ioset with x- and y-scan, any contiguous run of pixies, and all flags of the data type
 * word; bxts; no mapping (-11). ioread never returns a code: it moves the pixels before the fault, which is
 * kept and answered by aeiou 'e' (arg1 other than 0 clears it): -7 for a failed read, -10 for a file that was
 * cut off. Any pixel is found at once. Several threads may read from one file at once, each with its own copy
 * of the image record.
 *
 * anycompression (not 0) opens files whose compression field is not 0: there is no decoder, rows are
 * delivered as if they were plain. icon (not 0) reads an icon file's first image, without its mask. fopenmode
 * null is "rb"; bufsize: bytes of the file's block, rounded up to a power of two, 0 for 64 KiB.
 *
 * Codes of all functions that open a file:
 *   -1    null image, info, path or handle address; a handle that is set; negative bufsize
 *   -2    memory
 *   -7    the file could not be read
 *   -10   headers that are none: another signature or header size, a file length that is not the file's, a
 *         side of 0 or above 2^31 - 1, more than 256 colours, a palette or rows beyond the file's end; icons
 *         of other colour counts than 2, 8 and 16
 *   -11   a compression; other bits a pixel
 *   -13   no such file, or not readable */

/* An open file. */
typedef struct bmphandle bmphandle;

/* Opens a file. *h must be null and is set; it lives until qvimage_bmpreaddone, and both images read through
 * it. palette (null: not wanted) becomes a memory image of 2^bits x 1 entries, or a null image where the
 * picture has no indices. On failure both are null images. */
int32_t qvimage_bmpread(qvimage *image, qvimage *palette, bmphandle **h, const char *path,
                        const char *fopenmode, int64_t bufsize, uint32_t rgborder, uint32_t anycompression,
                        uint32_t icon);

/* Closes the file, sets *h to null and makes both images null images (each may be null). 0; -1 without a
 * handle, -64 for memory that is none. */
int32_t qvimage_bmpreaddone(qvimage *image, qvimage *palette, bmphandle **h);

/* Fills the record: size, description, type "bmp" or "ico", bmp_planes, bmp_bits, bmp_palettekind,
 * bmp_compression, bmp_xppm, bmp_yppm. icon has no effect: the handle knows. 0, -1, -64. */
int32_t qvimage_bmpreadinfo(bmphandle *h, qvimagefileinfo *info, int32_t icon);

/* Opens a file, whatever its compression, fills the record, closes the file. */
int32_t qvimage_bmpinfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize,
                        uint32_t icon);

/* Nothing: these records hold no texts. */
void qvimage_bmpinfodone(qvimagefileinfo *info);

/* --- Writing ---------------------------------------------------------------------------------------------
 *
 * Writes the image's window, uncompressed, from the lowest row to the highest.
 *   1 component    of 1, 4 or 8 significant bits in 8: a file with a palette. Of 24 or 32 in 32: the number
 *                  is the pixel
 *   3 components   24 bits, in the order that they have
 *   4 components   24 bits, of the first three; with allow32 (not 0) 32 bits
 *
 *   callback    hears of each row, from 1 to the number of rows, and stops the writing with any answer but 0,
 *               which is the result; null: the thread's progress callback
 *   palette     of files with one: the first 2^bits entries of an image of 3 or more components, in the order
 *               that they have; palswap (not 0) exchanges the first and third component. Null, or a null
 *               image: greys
 *   fopenmode   null: a new file that takes the path's name when all is written, so that what stood there
 *               survives every failure. Others begin with 'w' or "r+" and work on the file itself
 *   bufsize     bytes of the file's block, rounded up to a power of two; 0 for 64 KiB
 *   info        null, or bmp_xppm and bmp_yppm, the pixels per metre
 *   rgborder    not 0: the image holds red, green, blue, which are exchanged
 *
 * After a failure no file stays that this call created. 0, the callback's answer, or
 *   -1          null image or path, an empty window, a palette with too few entries or components, a mode
 *               that does not write
 *   -2          memory
 *   -7          the file could not be written
 *   -11         other numbers of components or bits; a file of 4 GiB or more
 *   -13, -14    it cannot be opened, or created
 *   -19         components of other types than 8-bit integers
 *   what image and palette answer to their set-up, or the image keeps of a row that stopped short */
int32_t qvimage_bmpwrite(qvimagecallback callback, qvimage *image, qvimage *palette, const char *path,
                         const char *fopenmode, int64_t bufsize, qvimagefileinfo *info, uint32_t rgborder,
                         uint32_t palswap, uint32_t allow32);

QVIM_END_DECLS

#endif
