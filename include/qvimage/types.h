/* Coordinates, windows and the records that describe pixels, with the words used in requests.
 *
 * Every record here is byte-packed and has the same layout in C, C++ and Java. */
#ifndef QVIMAGE_TYPES_H
#define QVIMAGE_TYPES_H

#include <qvimage/base.h>

/* Data type word: a pixie type, and in requests any of the flags below it. */
enum {
  /* How one pixie (one component of a pixel) is stored. No other code is valid. */
  QVIM_UINT8 = 1,    /* unsigned 8-bit integer */
  QVIM_UINT16 = 2,   /* unsigned 16-bit integer */
  QVIM_UINT32 = 4,   /* unsigned 32-bit integer */
  QVIM_UINT64 = 8,   /* unsigned 64-bit integer; only plain reads, writes and byte swaps serve it */
  QVIM_FLOAT32 = 16, /* IEEE single precision */
  QVIM_FLOAT64 = 32, /* IEEE double precision */

  /* Flags; they count for integer pixies only. */
  QVIM_MSB = 0x100,    /* significant bits at the most significant end of each container */
  QVIM_LSB = 0x200,    /* significant bits at the least significant end; neither flag: as stored */
  QVIM_DIRTY = 0x400,  /* read: unused bits may hold anything; write: they do */
  QVIM_SWAPPED = 0x800 /* the caller's pixies are in the reverse of the host's byte order */
};

/* Mode word of a request. */
enum {
  QVIM_XSCAN = 0x00,  /* runs go along rows */
  QVIM_YSCAN = 0x02,  /* runs go down columns */
  QVIM_ZSCAN = 0x04,  /* runs go from plane to plane (3-D only) */
  QVIM_WRAP = 0x40,   /* a run goes on with the next line of the window */
  QVIM_LIST = 0x80,   /* block transfers: the list holds coordinates (see qvimage/block.h) */
  QVIM_STEP = 0x400,  /* mapping: a step other than one pixel is welcome */
  QVIM_TRUST = 0x2000 /* positions are inside the window: do not check them */
};

/* Operations of a block transfer on each listed pixel p with the buffer's value v. */
enum {
  QVIM_OP_EXCHANGE = 0, /* buffer receives p, image receives v */
  QVIM_OP_ADD = 1,      /* p + v; integers wrap */
  QVIM_OP_READ = 2,     /* buffer receives p */
  QVIM_OP_WRITE = 3,    /* image receives v */
  QVIM_OP_COMBINE = 4,  /* integers: p exclusive-or v; floating pixies: p times v */
  QVIM_OP_SUBTRACT = 5  /* p - v; integers wrap */
};

/* Pixel hints: what the components of a pixel mean (names: qvimhinttostring). The low four bits of a colour
 * hint are its component count. */
enum {
  QVIM_HINT_UNKNOWN = 0,
  QVIM_HINT_GREY = 1,
  QVIM_HINT_COMPLEX = 2,
  QVIM_HINT_BGR = 3,
  QVIM_HINT_BGRPAD = 4,
  QVIM_HINT_INDEX = 17,
  QVIM_HINT_CBYCRY = 18,
  QVIM_HINT_YCRCB = 19,
  QVIM_HINT_YCRCBPAD = 20,
  QVIM_HINT_BAYER = 33,
  QVIM_HINT_YCBYCR = 34,
  QVIM_HINT_BSH = 35,
  QVIM_HINT_RGBPAD = 36,
  QVIM_HINT_CRYCBY = 50,
  QVIM_HINT_BAYER4 = 52,
  QVIM_HINT_YCRYCB = 66,
  QVIM_HINT_RGB = 67,
  QVIM_HINT_CMYK = 68,
  QVIM_HINT_BGRG = 82,
  QVIM_HINT_YIQ = 83,
  QVIM_HINT_RGGB = 98,
  QVIM_HINT_CMY = 99,
  QVIM_HINT_RGBG = 114
};

/* Units of the physical pixel size (names: qvimunittostring). */
enum {
  QVIM_UNIT_UNKNOWN = 0,
  QVIM_UNIT_METER = 109,
  QVIM_UNIT_RATIO = 114,
  QVIM_UNIT_SECOND = 131,
  QVIM_UNIT_CENTIMETER = 171,
  QVIM_UNIT_MILLIMETER = 183,
  QVIM_UNIT_FOOT = 184,
  QVIM_UNIT_INCH = 188
};

#pragma pack(push, 1)

/* A position or an extent, in pixels. */
typedef struct {
  int32_t x, y;
} qvxypoint;
typedef struct {
  int32_t x, y, z;
} qvxyzpoint;

/* An entry of a block-transfer list; 2-D images ignore z. */
typedef struct {
  int32_t x, y, z;
} qvxyzcoord;

/* A window spans [nw, se): nw is its first pixel, se lies one beyond its last on every axis. A window whose
 * corners agree on some axis is empty but valid. */
typedef struct {
  qvxypoint nw, se;
} qvywindow;
typedef struct {
  qvxyzpoint nw, se;
} qvyzwindow;

/* What a pixel is made of. Build one with qviminitdata. */
typedef struct {
  int32_t pixietype; /* QVIM_UINT8 .. QVIM_FLOAT64 */
  int32_t pixies;    /* components per pixel, 1 to 32 */
  int32_t pixelhint; /* QVIM_HINT_...: what the components mean */
  __extension__ union {
    __extension__ struct {  /* integer pixie types */
      int32_t i_bitsused;   /* significant bits of a pixie, 1 to 8 x its size */
      int32_t i_bitsxsb;    /* where they sit: 0x300 all bits used, 0x200 low end, 0x100 high end */
      uint16_t i_dirtyread; /* 0x400: unused bits of stored pixies may hold anything; else 0 */
      uint16_t i_dirtyrite; /* 0x400: anything may be written into the unused bits; else 0 */
      uint16_t i_endian;    /* 0x800: stored in the reverse of the host's byte order; else 0 */
      uint16_t i_zero;
    };
    __extension__ struct { /* floating pixie types */
      float r_minvalue;    /* nominal range of the values, 0.0 */
      float r_maxvalue;    /* to 1.0 unless set otherwise */
      uint32_t r_zero[2];
    };
  };
} qvimagedata;

/* Derived from qvimagedata by qviminitfacts, never set by hand. */
typedef struct {
  int32_t pixiesize; /* bytes of a pixie */
  int32_t pixelsize; /* bytes of a pixel */
  uint8_t flags;     /* bit 0: integer pixies, bit 1: floating pixies */
  uint8_t zero[3];
} qvimagefacts;

/* Physical size of a pixel; 0 when unknown. */
typedef struct {
  float pixelwidth, pixelheight, pixeldepth;
  uint8_t widthunits, heightunits, depthunits; /* QVIM_UNIT_... */
  uint8_t zero;
} qvimagehints;

#pragma pack(pop)

QVIM_ASSERT(sizeof(qvywindow) == 16);
QVIM_ASSERT(sizeof(qvyzwindow) == 24);
QVIM_ASSERT(sizeof(qvimagedata) == 28);
QVIM_ASSERT(sizeof(qvimagefacts) == 12);
QVIM_ASSERT(sizeof(qvimagehints) == 16);

#endif
