/* TIFF and BigTIFF files. */
#ifndef QVIMAGE_TIFF_H
#define QVIMAGE_TIFF_H

#include <qvimage/fileinfo.h>
#include <qvimage/progress.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* An open TIFF file, of a reader or a writer. */
typedef struct tiffhandle tiffhandle;

/* For appendpage: after the last page, however many there are. */
#define QVIM_TIFF_END INT64_MAX

/* --- Writing ---------------------------------------------------------------------------------------------
 *
 * One page holds one 2-D image: its window, 1 to 4 pixies a pixel, unsigned integers of 1 to 32 bits or
 * floats of 32 or 64 bits. Options (null for none) are a file information record, such as a reader fills; of
 * its fields these count:
 * - version: 43 is BigTIFF, anything else a classic file, up to 4 GiB.
 * - compression: 0 or 1 none; 5 LZW; 517 LZW of horizontal differences (8- and 16-bit samples; others are
 *   written as 5); 32773 PackBits; 32885 predictive arithmetic coding (1 to 12 bits); 33397 the same of
 *   horizontal differences. Floats are written uncompressed only.
 * - stripsize: bytes that a strip is to hold before compression; 0 stands for 65536, all ones for one strip.
 * - xres, yres, resunit: the resolution, written where a numerator is not 0; a unit above 65535 is refused
 *   (-1).
 * - description, software, copyright, datetime: without a datetime the local time is written.
 *
 * Samples go to the file as the image's significant bits. Colour order is the caller's to name; each of these
 * asks for an exchange when it is not 0:
 * - rgborder: first and third component of pixels of 3 or more (images held in blue, green, red order);
 * - yccorder: second and third component of pixels of 3 or more (images held in Y, Cr, Cb order);
 * - swapmap: first and third component of the palette's entries.
 *
 * Pixels of 3 pixies with an RGB or BGR hint are written as RGB, with the hints 19 and 20 as YCbCr; of 4
 * pixies with an RGB or BGR hint as RGB without the pad, with hint 68 as CMYK; all others as grey. A palette
 * (null for none; for images of one integer pixie) is an image of at least 2^bits pixels of 3 components: the
 * page becomes an index image with that colour map, of 16-bit values (32-bit above 16 bits).
 *
 * path; bufsize, the bytes of the file's buffer block, rounded up to a power of two, 0 for 64 KiB;
 * appendpage: 0 writes a new file, N > 0 adds to an existing one after its first N pages, QVIM_TIFF_END after
 * its last, in the file's own byte order and form. Pages that followed these are then no longer linked.
 *
 * fopenmode, as fopen's; null stands for the best that there is:
 * - a new file, qvimage_tiffwrite and qvimage3_tiffwrite: a file beside the path, ".qvimage-...", takes the
 *   path's name once it is whole. What stands under the name until then survives every failure; its owner and
 *   permissions pass to the new file, symbolic links stay and lead to it (other hard links keep the old one).
 *   Where that cannot be - special files, links to nothing, folders that take no new file, owners that cannot
 *   be given - the path itself is written, as with "w+b".
 * - a new file, in steps: "w+b", the path itself.
 * - appending: "r+b".
 * Files opened so are closed when the process becomes another program. A mode that begins with 'w' truncates
 * what is there at once; it is opened as "w+b" with its letters 'x' (only a new file) and 'e' (closed as
 * above). "r+b" for a new file writes an existing file anew. Other modes, and 'w' to append, are refused.
 *
 * While it is appended to, a file is locked (flock) against other appends, of this process too; a call waits
 * for the lock for at most 10 seconds. So processes that append to the end of one file at once lose no page.
 *
 * Codes of all write functions; the worst code of all steps is returned:
 * - -1: bad arguments, an empty window, more than 4 pixies, a pixie type or compression that is not written,
 *   a palette with too few entries, a resunit above 65535, a mode that is refused, steps out of order.
 * - -2: memory.
 * - -7: the file could not be written, or the image did not deliver its pixels (an image that names its own
 *   reason through aeiou 'e' passes that on).
 * - -10: the file to append to is broken or has fewer pages; a classic file would pass 4 GiB.
 * - -13: the file to append to cannot be opened. -14: the file cannot be created; it is locked by another
 *   append.
 * - -64: not the handle of a TIFF file being written.
 * - A set-up code of the image (-11, -19, ...) is passed on.
 * qvimage_reason says more.
 *
 * Arguments are judged before the file is opened: what cannot be written leaves an existing file alone. When
 * writing fails later, a regular file that the call created or truncated is removed, through a symbolic link
 * its target; a link, a FIFO, a device or a file that was only opened never is, nor one that took over the
 * name meanwhile. A file appended to gets its former length and links back. A page becomes part of a file
 * only once all of it is written.
 *
 * Callbacks may be null: then the thread's progress callback hears of the steps (qvimage_progress). */

/* Writes the image's window as one page. The callback (null for none) hears of every row, from 1 to the
 * height; a non-zero answer stops the writing and becomes the result. Sets up the image's runs; the palette's
 * too. */
int32_t qvimage_tiffwrite(qvimagecallback callback, qvimage *image, qvimage *palette, const char *path,
                          const char *fopenmode, int64_t bufsize, int64_t appendpage,
                          qvimagefileinfo *options, uint32_t rgborder, uint32_t swapmap, uint32_t yccorder);

/* Writes every plane of the image's window as a page, in the order of z. The callback hears of planes, from 1
 * to their number, each before it is written. */
int32_t qvimage3_tiffwrite(qvimagecallback callback, qvimage3 *image, qvimage *palette, const char *path,
                           const char *fopenmode, int64_t bufsize, int64_t appendpage,
                           qvimagefileinfo *options, uint32_t rgborder, uint32_t swapmap, uint32_t yccorder);

/* The steps of the functions above, for pages of different images in one file, for many pages one by one
 * (each costs the same, however many there are; a call that appends walks along all pages before), and for
 * pages that several threads code: open, then for each page set-up, directory, data, end of directory, then
 * close and release.
 *
 * A page may be cut into bands, band i of n having the rows from i x height / n up to the next band's first.
 * The data of the bands may be written in any order and by different threads at once, each with an image
 * record of its own; all other steps belong to one thread. Bands after the first are coded in memory, and go
 * to the file when those before them are coded: many small bands need little memory.
 *
 * *h must be null; it is set when opening succeeds. size and d (width and height, and description of the
 * pages) serve to size the memory of the bands and may be null. */
int32_t qvimage_tiffwriteopen(tiffhandle **h, int32_t bands, const uint32_t size[2], const qvimagedata *d,
                              const char *path, const char *fopenmode, int64_t bufsize, int64_t appendpage,
                              qvimagefileinfo *options);

/* Takes over what the page is to be: the image's description and window, palette, options. newpage says that
 * it is not the first page; it makes no difference. */
int32_t qvimage_tiffwritesetup(tiffhandle **h, qvimage *image, qvimage *palette, qvimagefileinfo *options,
                               uint32_t rgborder, uint32_t swapmap, uint32_t yccorder, int32_t newpage);

/* Writes the page's directory, with placeholders for its strips, to the end of the file. */
int32_t qvimage_tiffwriteifdinit(tiffhandle **h);

/* Writes the rows of one band, numbered from 0, of an image like the one that was set up. The callback hears
 * of the page's rows, counted from 1. */
int32_t qvimage_tiffwritedata(tiffhandle **h, qvimagecallback callback, qvimage *image, int32_t band);

/* Completes the page and links it to the one before it. -1 also while rows of a band are missing. */
int32_t qvimage_tiffwriteifdfini(tiffhandle **h);

/* Closes the file; a page begun and not completed is dropped, and the link to it goes back. The result is the
 * worst that happened to it. */
int32_t qvimage_tiffclose(tiffhandle **h);

/* Closes the file if that was not done, releases everything and sets *h to null; bands as at opening. */
int32_t qvimage_tifffini(tiffhandle **h, int32_t bands);

/* The latched error of the file, or 0. */
int32_t qvimage_tifferror(tiffhandle **h);

/* 1 when this handle created or truncated a regular file, so that it is the caller's to remove if writing
 * fails; 0 for files that were only opened, and for special files. */
int32_t qvimage_tifffileopened(tiffhandle **h);

/* --- Reading ---------------------------------------------------------------------------------------------
 *
 * A page of a TIFF or BigTIFF file is a read-only 2-D image (device name "TIFF"), all pages together are a
 * 3-D image ("TIFF3") with a plane a page; pixels are decoded as they are asked for. Memory does not depend
 * on the size of a page or the number of its strips: a file holds one block, and a row where samples are
 * compressed or packed (short compressed rows: up to 16 KiB of them); of a stack for each of the 8 pages read
 * last. Setting up runs along y or z takes up to 48 MiB once, for pixels beside the run: so columns read one
 * after the other decode each strip once, or once for every 48 MiB of a larger page. Without that memory they
 * are read one by one.
 *
 * Served are both byte orders; uncompressed, LZW, PackBits and predictive arithmetic coding (compressions 1,
 * 5, 32773, 32885), LZW and arithmetic coding with horizontal differences; 1 to 4 interleaved samples,
 * unsigned of 1 to 32 or 64 bits, or floating point of 32 or 64 bits; colour maps of up to 16 bits. What
 * arrives:
 * - unsigned samples: in the smallest pixie type that holds them, at the low end;
 * - grey: hint 1; WhiteIsZero is inverted, so that 0 is black (unsigned samples only);
 * - RGB and CMYK: hints 67 and 68;
 * - YCbCr, without subsampling: as Y, Cr, Cb, hint 19;
 * - pages with a colour map: as indices, hint 17, when a palette image is asked for, otherwise as RGB of the
 *   page's depth, hint 67;
 * - anything else: hint 0.
 *
 * Pixel size and units come from the resolution tags. FillOrder 2 has the bits of every byte reversed.
 * Orientation and tags that are not named here are passed over.
 *
 * Images serve ioset with x- and y-scan (z-scan in 3-D), any contiguous run of pixies, and all flags of the
 * data type word; bxts; no mapping (-11). ioread never returns a code: it moves the pixels before the fault,
 * and the fault is kept and answered by aeiou 'e' (arg1 other than 0 clears it): -10 for a strip that is
 * broken or cut off, -7 for a failed read, -2. The next row that is asked for is tried afresh. In 3-D images,
 * pages with other pixies than the last page's (type, bits, number, hint) move nothing and leave -10; smaller
 * pages have zeros beyond their sides, larger ones are cropped. Rows are fastest in order; a compressed row
 * that is not the next one of its strip has the strip decoded from its beginning.
 *
 * Several threads may read from one file at once, each with its own copy of the image record; a lock in the
 * handle is held during each ioread.
 *
 * Parameters: fopenmode null is "rbe"; bufsize is the file's block in bytes, rounded up to a power of two, 0
 * for 64 KiB; pages count from 0.
 *
 * Codes of all functions that open a file:
 * - -1: null image, info, path or handle address; a handle that is set; negative bufsize.
 * - -2: memory; a row longer than 16 MiB and 16 times the file.
 * - -7: the file could not be read.
 * - -10: not a TIFF file, no such page, a broken directory, tags that contradict each other, tiles, separate
 *   planes, rows longer than the file can hold.
 * - -11: a sound page that is not served: other compressions or sample formats, more samples, subsampled
 *   chroma.
 * - -13: no such file, or not readable. */

/* Opens one page. *h must be null and is set; it lives until qvimage_tiffreaddone, and the images read
 * through it. palette (null: colour maps are expanded) becomes a memory image of 2^bits entries when the page
 * has a colour map, else a null image. infoonly not 0: the page is described only; its pixels and palette are
 * not prepared, so that pages whose rows cannot be decoded open, too (reading prepares them then; the palette
 * stays null). On failure both images are null images. */
int32_t qvimage_tiffread(qvimage *image, qvimage *palette, tiffhandle **h, const char *path,
                         const char *fopenmode, int64_t bufsize, uint64_t page, uint32_t infoonly);

/* Closes the file, sets *h to null and makes both images null images (each may be null). 0; -1 without a
 * handle, -64 for a handle that is not a reader's. */
int32_t qvimage_tiffreaddone(qvimage *image, qvimage *palette, tiffhandle **h);

/* Opens all pages as planes. Every directory is read and checked, the first failure is the result; size and
 * description are those of the last page, the palette is the last page's. */
int32_t qvimage3_tiffread(qvimage3 *image, qvimage *palette, tiffhandle **h, const char *path,
                          const char *fopenmode, int64_t bufsize, uint32_t infoonly);

/* Closes what qvimage3_tiffread opened, as qvimage_tiffreaddone. */
int32_t qvimage3_tiffreaddone(qvimage3 *image, qvimage *palette, tiffhandle **h);

/* Fills the record from the page that the handle was opened for; of a 3-D image, from the page asked for. The
 * data description is that of the image. Pages are counted on the way: those before a break in the chain of
 * directories count. The record's strings are freed by qvimage_tiffinfodone. 0, -1, -2, -7, -10, -64; on
 * failure the record is cleared. */
int32_t qvimage_tiffreadinfo(tiffhandle *h, qvimagefileinfo *info, uint64_t page);

/* Opens a file, fills the record from one page (colour maps expanded), closes the file. A page whose
 * directory can be read but not its pixels (-11, or -10 for tags that contradict each other, tiles and
 * separate planes) is described, too: size, page number and count, data.pixies (samples of a pixel, perhaps
 * more than 4), bits, sampleformat, compression (the tag's value) and resolution are what the tags say,
 * data.pixietype is 0 where no pixie holds the samples, and there is nothing to free. After any other failure
 * the record is all 0. Pages before the one asked for need not be served. */
int32_t qvimage_tiffinfo(qvimagefileinfo *info, const char *path, const char *fopenmode, int64_t bufsize,
                         uint64_t page);

/* Fills up to n records from the pages from `first` on; pages outside of these need not be served. Returns
 * how many were filled, or the first failure: then no record holds anything to free. -2 also when texts and
 * strip tables that pages share come to more than 16 MiB and 16 times the file. */
int64_t qvimage_tiffinfoN(qvimagefileinfo *infos, int64_t n, const char *path, const char *fopenmode,
                          int64_t bufsize, int64_t first);

/* Frees the four strings of a record of type "tif" or "btf" and clears their pointers; other records are left
 * alone. */
void qvimage_tiffinfodone(qvimagefileinfo *info);

QVIM_END_DECLS

#endif
