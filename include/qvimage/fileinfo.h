/* What a file says about its images: filled by readers, taken by writers as their options. */
#ifndef QVIMAGE_FILEINFO_H
#define QVIMAGE_FILEINFO_H

#include <qvimage/types.h>

QVIM_BEGIN_DECLS

typedef struct qvimagefileinfo {    /* 600 bytes; common head, TIFF fields, then the other formats' */
  qvywindow    wind;                /*   0: (0,0)-(width,height) */
  uint32_t     width, height;       /*  16,  20 */
  uint32_t     pagecount;           /*  24: at most 0x7FFFFFFF; frames for FITS, PGM, AVI; 1 for BMP, JPEG */
  qvimagedata  data;                /*  28 */
  qvimagehints hints;               /*  56 */
  char         type[4];             /*  72: "tif" "btf" "bmp" "ico" "jpg" "fts" "pgm" ?3 "avi" */
  uint32_t     xres[2], yres[2];    /*  76,  84: numerator, denominator */
  uint32_t     resunit;             /*  92 */
  uint32_t     compression;         /*  96: 1, 5, 517, 32773, 32885, 33397 */
  uint32_t     reserved0;           /* 100 */
  uint64_t     stripsize;           /* 104: all ones = one strip */
  uint32_t     bits[4];             /* 112 */
  uint16_t     sampleformat[4];     /* 128 */
  uint32_t     palette;             /* 136 */
  uint32_t     pagecount2;          /* 140 */
  uint32_t     page;                /* 144: also the frame asked for in FITS */
  uint32_t     version;             /* 148: 42 or 43 */
  char        *datetime, *software, *description, *copyright;  /* 152..176: the four text strings; PGM and AVI use these too */
  /* BMP */
  uint32_t     bmp_planes;          /* 184 */
  uint32_t     bmp_bits;            /* 188 */
  uint32_t     bmp_palettekind;     /* 192: 0 none, 1 colour, 2 grey ramp */
  uint32_t     bmp_compression;     /* 196 */
  int32_t      bmp_xppm, bmp_yppm;  /* 200, 204: also "pixels per metre from the options" of AVI's strf */
  /* JPEG, also AVI with "MJPG" */
  int32_t      jpg_quality;         /* 208: tenths, 750 = quality 75; 0 = scale 5000 */
  uint16_t     jpg_xdensity, jpg_ydensity;   /* 212, 214 */
  uint8_t      jpg_densityunit;     /* 216 */
  uint8_t      jpg_reserved;        /* 217 */
  uint16_t     jpg_encodemode;      /* 218: 105 = integer encoder */
  uint32_t     jpg_reserved2;       /* 220 */
  char        *jpg_comment[3];      /* 224 */
  /* FITS */
  uint32_t     fts_layout;          /* 248: bit 0 interleaved, bit 1 no colour axis for 1 pixie, bit 2 no AXIS cards */
  int32_t      fts_bitpix;          /* 252: as read (information only) */
  char        *fts_date, *fts_observer, *fts_object, *fts_origin, *fts_date_obs, *fts_comment, *fts_history;  /* 256..304 */
  double       fts_datamin, fts_datamax, fts_bzero, fts_bscale;   /* 312..336: as read (information only) */
  /* AVI */
  uint32_t     avi_ratenum, avi_rateden;     /* 344, 348: frames per second = num / den; 0 = 25 / 1 */
  char         avi_handler[4];      /* 352: "DIB " (also when zero) or "MJPG" */
  uint32_t     avi_bits;            /* 356: as read */
  uint32_t     avi_compression;     /* 360: as read */
  /* PGM */
  uint32_t     pgm_magic;           /* 364: '4', '5' or '6' as read */
  uint32_t     pgm_maxvalue;        /* 368 */
  uint32_t     reserved1;           /* 372 */
  uint64_t     reserved[28];        /* 376..599: zero */
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

/* Progress callback ?4: non-zero stops the writing and becomes the result */
typedef int32_t (*qvimagecallback)(int64_t step, int64_t steps);

QVIM_END_DECLS

#endif
