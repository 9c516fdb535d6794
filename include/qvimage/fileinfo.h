/* What a file says about an image in it: filled by the formats' readers, taken by their writers as options,
 * so that what was read can be written back like it was.
 *
 * The caller owns the record (600 bytes, naturally aligned). A reader clears it first and fills the common
 * head and its own format's fields; all others stay 0. Strings and texts belong to the record once it is
 * filled: the format's done function (qvimage_tiffinfodone, ...) frees them, and leaves records of other
 * formats alone. Writers read the fields that their format has and free nothing; a record that is all 0 means
 * the defaults. */
#ifndef QVIMAGE_FILEINFO_H
#define QVIMAGE_FILEINFO_H

#include <qvimage/progress.h>
#include <qvimage/types.h>

QVIM_BEGIN_DECLS

typedef struct qvimagefileinfo {
  /* Common head. */
  qvywindow wind;         /* (0, 0) to (width, height) */
  uint32_t width, height; /* in pixels */
  uint32_t pagecount;     /* pages or frames of the file, at most 0x7FFFFFFF; 1 for BMP and JPEG */
  qvimagedata data;       /* what the pixels of an image over the page are made of */
  qvimagehints hints;     /* the size of a pixel, where the file says it */
  char type[4];           /* "tif", "btf" (BigTIFF), "bmp", "ico", "jpg", "fts", "pgm", "avi" */

  /* TIFF. */
  uint32_t xres[2], yres[2]; /* resolution in pixels per unit: numerator, denominator; 0 / 0 when unknown */
  uint32_t resunit;          /* 1 none (a ratio), 2 inch, 3 centimetre; 0 when the file does not say */
  uint32_t compression; /* 1 none, 5 LZW, 32773 PackBits, 32885 predictive arithmetic coding; of horizontal
                         * differences: 517 LZW, 33397 arithmetic coding */
  uint32_t reserved0;
  uint64_t stripsize;       /* bytes of the largest strip in the file, all ones when there is only one;
                             * writing: bytes of a strip before compression, 0 for 65536 */
  uint32_t bits[4];         /* of each sample of a pixel */
  uint16_t sampleformat[4]; /* of each sample: 1 unsigned integer, 3 floating point */
  uint32_t palette;         /* 1 when the page has a colour map */
  uint32_t pagecount2;      /* pages of the file, not cut to 31 bits */
  uint32_t page;            /* the page that is described, from 0; FITS: the frame */
  uint32_t version;         /* 42 classic, 43 BigTIFF */

  /* Texts, null when there is none; also of PGM and AVI. */
  char *datetime; /* "YYYY:MM:DD hh:mm:ss" */
  char *software;
  char *description;
  char *copyright;

  /* BMP. */
  uint32_t bmp_planes;
  uint32_t bmp_bits;
  uint32_t bmp_palettekind; /* 0 none, 1 colour, 2 grey ramp */
  uint32_t bmp_compression;
  int32_t bmp_xppm, bmp_yppm; /* pixels per metre; AVI writes them into its format header, too */

  /* JPEG, and AVI with the handler "MJPG". */
  int32_t jpg_quality; /* in tenths: 750 is quality 75; 0: not known; see qvimage/jpeg.h */
  uint16_t jpg_xdensity, jpg_ydensity;
  uint8_t jpg_densityunit;
  uint8_t jpg_reserved;    /* 1: the quality is known, also when it is 0 */
  uint16_t jpg_encodemode; /* 105: integer arithmetic */
  uint32_t jpg_reserved2;
  char *jpg_comment[3];

  /* FITS. */
  uint32_t fts_layout; /* bit 0: components interleaved; bit 1: no colour axis for one pixie; bit 2: no AXIS
                          cards */
  int32_t fts_bitpix;  /* as read; not an option */
  char *fts_date, *fts_observer, *fts_object, *fts_origin, *fts_date_obs, *fts_comment, *fts_history;
  double fts_datamin, fts_datamax, fts_bzero, fts_bscale; /* as read; not options */

  /* AVI. */
  uint32_t avi_ratenum, avi_rateden; /* frames per second = ratenum / rateden; 0 means 25 / 1 */
  char avi_handler[4];               /* "DIB " (also when all 0) or "MJPG" */
  uint32_t avi_bits;                 /* as read */
  uint32_t avi_compression;          /* as read */

  /* PGM. */
  uint32_t pgm_magic;    /* '4', '5' or '6' as read */
  uint32_t pgm_maxvalue; /* the highest value */

  uint32_t reserved1;
  uint64_t reserved[28]; /* 0 */
} qvimagefileinfo;
QVIM_ASSERT(sizeof(qvimagefileinfo) == 600);
QVIM_ASSERT(offsetof(qvimagefileinfo, type) == 72);
QVIM_ASSERT(offsetof(qvimagefileinfo, xres) == 76);
QVIM_ASSERT(offsetof(qvimagefileinfo, stripsize) == 104);
QVIM_ASSERT(offsetof(qvimagefileinfo, datetime) == 152);
QVIM_ASSERT(offsetof(qvimagefileinfo, bmp_planes) == 184);
QVIM_ASSERT(offsetof(qvimagefileinfo, jpg_quality) == 208);
QVIM_ASSERT(offsetof(qvimagefileinfo, fts_layout) == 248);
QVIM_ASSERT(offsetof(qvimagefileinfo, fts_date) == 256);
QVIM_ASSERT(offsetof(qvimagefileinfo, avi_ratenum) == 344);
QVIM_ASSERT(offsetof(qvimagefileinfo, reserved) == 376);

QVIM_END_DECLS

#endif
