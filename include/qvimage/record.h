/* The image access record: one shape for every kind of image, 2-D and 3-D. */
#ifndef QVIMAGE_RECORD_H
#define QVIMAGE_RECORD_H

#include <qvimage/types.h>

typedef struct qvimage  qvimage;
typedef struct qvimage3 qvimage3;

#pragma pack(push, 1)
typedef struct {                    /* 28 bytes, byte-packed */
  uint32_t count;                   /*  0: 1 mapped, 0 not */
  uint64_t address;                 /*  4 */
  uint64_t step;                    /* 12 */
  uint64_t length;                  /* 20 */
} qvimagemap;

/* slots at 340, 348, ... 444; every slot takes the record first */
struct qvimage {                    /* 452 bytes, byte-packed: slots lie at 340, not 8-aligned */
  qvywindow    wind;                /*   0 */
  uint32_t     wind_zero[2];        /*  16 */
  qvywindow    imdim;               /*  24 */
  uint32_t     imdim_zero[2];       /*  40 */
  char         devname[8];          /*  48 */
  uint8_t      iostate[192];        /*  56: first part of priv (228 bytes) */
  int64_t      source[4];           /* 248: address, or relative reference -128..-1 */
  uint8_t      kind[4];             /* 280: last 4 bytes of priv */
  qvimagedata  d;                   /* 284 */
  qvimagefacts f;                   /* 312 */
  qvimagehints h;                   /* 324 */
  uint32_t (*ioread)(qvimage *, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y);
  uint32_t (*iorite)(qvimage *, uint32_t mode, const void *buffer, uint32_t count, int32_t x, int32_t y);
  int32_t  (*iowait)(qvimage *, uint32_t mode, void *buffer);
  int32_t  (*ioset )(qvimage *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
  uint32_t (*iolen )(qvimage *, uint32_t count, int32_t x, int32_t y);
  int32_t  (*bxts  )(qvimage *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
  uint32_t (*bxtp  )(qvimage *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
  uint32_t (*bxta  )(qvimage *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
  int32_t  (*bxtw  )(qvimage *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
  int32_t  (*imapset)(qvimage *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
  int32_t  (*imap  )(qvimage *, qvimagemap *map, int32_t x, int32_t y);
  int32_t  (*imapr )(qvimage *, qvimagemap *map);
  uint32_t (*aeiou )(qvimage *, uint32_t code, int32_t arg1, int32_t arg2, void *buffer);
  void    *(*xwind )(qvimage *, qvywindow *window, int32_t letter);
};

struct qvimage3 {                   /* 452 bytes, same offsets */
  qvyzwindow   wind;                /*   0 */
  qvyzwindow   imdim;               /*  24 */
  char         devname[8];          /*  48 */
  uint8_t      iostate[192];        /*  56 */
  int64_t      source[4];           /* 248 */
  uint8_t      kind[4];             /* 280 */
  qvimagedata  d;                   /* 284 */
  qvimagefacts f;                   /* 312 */
  qvimagehints h;                   /* 324 */
  uint32_t (*ioread)(qvimage3 *, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y, int32_t z);
  uint32_t (*iorite)(qvimage3 *, uint32_t mode, const void *buffer, uint32_t count, int32_t x, int32_t y, int32_t z);
  int32_t  (*iowait)(qvimage3 *, uint32_t mode, void *buffer);
  int32_t  (*ioset )(qvimage3 *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
  uint32_t (*iolen )(qvimage3 *, uint32_t count, int32_t x, int32_t y, int32_t z);
  int32_t  (*bxts  )(qvimage3 *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
  uint32_t (*bxtp  )(qvimage3 *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
  uint32_t (*bxta  )(qvimage3 *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
  int32_t  (*bxtw  )(qvimage3 *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
  int32_t  (*imapset)(qvimage3 *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
  int32_t  (*imap  )(qvimage3 *, qvimagemap *map, int32_t x, int32_t y, int32_t z);
  int32_t  (*imapr )(qvimage3 *, qvimagemap *map);
  uint32_t (*aeiou )(qvimage3 *, uint32_t code, int32_t arg1, int32_t arg2, void *buffer);
  void    *(*xwind )(qvimage3 *, qvyzwindow *window, int32_t letter);
};
#pragma pack(pop)

QVIM_ASSERT(sizeof(qvimage) == 452);
QVIM_ASSERT(sizeof(qvimage3) == 452);
QVIM_ASSERT(offsetof(qvimage, imdim) == 24);
QVIM_ASSERT(offsetof(qvimage3, imdim) == 24);
QVIM_ASSERT(offsetof(qvimage, devname) == 48);
QVIM_ASSERT(offsetof(qvimage, iostate) == 56);
QVIM_ASSERT(offsetof(qvimage, source) == 248);
QVIM_ASSERT(offsetof(qvimage, kind) == 280);
QVIM_ASSERT(offsetof(qvimage, d) == 284);
QVIM_ASSERT(offsetof(qvimage, f) == 312);
QVIM_ASSERT(offsetof(qvimage, h) == 324);
QVIM_ASSERT(offsetof(qvimage, ioread) == 340);
QVIM_ASSERT(offsetof(qvimage3, ioread) == 340);
QVIM_ASSERT(offsetof(qvimage, xwind) == 444);
QVIM_ASSERT(sizeof(qvimagemap) == 28);

#endif
