/* The access record: the one shape in which every kind of image is used.
 *
 * A program provides the memory of a record, a constructor of some kind fills it, and from then on the
 * program calls the functions in the record's slots, whatever holds the pixels: memory, a file, a chain of
 * views over another image. Positions are relative to the record's window. This is the order of calls:
 *
 *   1. a constructor, such as qvimage_memory. It returns 0 or a positive number, or a negative code (see
 *      qvimage/error.h) and then leaves the null image: a record that takes every call and does nothing
 *   2. if wanted, a window: im.xwind(&im, &window, 's'). It discards all set-ups
 *   3. runs of pixels: ioset once, then iolen, ioread and iorite as often as needed, then iowait before the
 *      buffer is used for something else
 *   4. scattered pixels: bxts once; then for each list bxtp and bxta, then bxtw
 *   5. direct access: imapset; if its answer has bit 0, imap for each position and imapr when done
 *
 * The three set-ups are independent of each other; each replaces the last one of its sort. They take
 *   mode         QVIM_YSCAN, QVIM_WRAP, ... (qvimage/types.h)
 *   datatype     the form of the pixies in the program's buffers: the image's pixie type, and flags
 *   colourmask   bit i selects pixie i; one run of bits. All pixies of n: (1 << n) - 1
 *
 *   qvimage im;  // a row of the first component, upside of 16-bit containers
 *   qvimage_memory(&im, ...);
 *   if (im.ioset(&im, QVIM_XSCAN, QVIM_UINT16 | QVIM_MSB, 1) == 1)
 *     n = im.ioread(&im, 0, row, width, 0, y);
 *
 * What holds for every kind:
 *   - a set-up that fails leaves its transfers moving nothing; a program that ignores codes moves 0 pixels
 *   - transfers return counts, never codes. A kind that can fail in a transfer keeps the code, and
 *     answers it to aeiou 'e'
 *   - positions outside the window move nothing, unless the set-up was told to trust them (QVIM_TRUST)
 *   - a record is bytes: a copy serves as well as the original, also after the original is gone. Records
 *     lie at any multiple of 4. Copies share the pixels, and set-ups of their sources
 *   - no transfer of a memory image or view allocates memory
 *   - one record, or two that share a source, must not be used by two threads at once. Records over the same
 *     memory may, for different pixels
 *   - nothing is freed through a record's slots: kinds that own something have a function for that
 *
 * aeiou codes (two characters: the first << 8 | the second). A kind answers 0 to codes that it does not know;
 * views pass those on to their source.
 *
 *   'B'             the longest list that one bxta takes
 *   'I'             the largest count that one ioread or iorite takes
 *   'i' 'm' 'b'     low 8 bits: the images in the chain, up to 255; above them: flags of their kinds
 *   'e'             the code of the first transfer that failed, 0 for none; arg1 other than 0 forgets it,
 *                   arg2 other than 0 asks the source, which most views do whatever it is
 *   '*' 'x'         saves the iostate to a buffer of 192 bytes, and answers non-zero when it has. When it has
 *                   not, the caller copies the bytes itself
 *   '*' 'X'         puts it back
 *
 * xwind letters. The window may be null, or be in the record; the result is a pointer to a window or null.
 *
 *   's'     makes the window given (null: the full extent) the current one, discards the set-ups and returns
 *           the record. A window outside the extent: returns null, and nothing but aeiou and xwind works
 *           until a valid window is set
 *   'w'     copies the current window to the one given, returns the record's own
 *   'i'     the same with the full extent
 *   other   null
 *
 * For those who write kinds: a source reference is the address of a record, or counts in records from the one
 * that holds it: a value v from -128 to -1 names the record (65 + v) * 452 bytes after it, so that arrays of
 * records can be copied as a block. Only references belong there: block transfers follow them to keep
 * set-ups. A kind must not keep a pointer into its own record. The last eight bytes of the iostate are for
 * what the library's own kinds note at ioset; other kinds leave them zero. */
#ifndef QVIMAGE_RECORD_H
#define QVIMAGE_RECORD_H

#include <qvimage/types.h>

typedef struct qvimage qvimage;
typedef struct qvimage3 qvimage3;

#pragma pack(push, 1)

/* Pixels that can be reached directly. Byte-packed, 28 bytes. */
typedef struct {
  uint32_t count;   /*  0: 1 for a mapping, 0 for none */
  uint64_t address; /*  4: of the pixel asked for */
  uint64_t step;    /* 12: bytes to the next pixel of the scan */
  uint64_t length;  /* 20: pixels that are reached so, this one included */
} qvimagemap;

/* The record of a 2-D image. Byte-packed, 452 bytes; the slots are not 8-aligned. */
struct qvimage {
  qvywindow wind; /*   0: the current window */
  uint32_t wind_zero[2];
  qvywindow imdim; /*  24: the full extent; nw is (0, 0) */
  uint32_t imdim_zero[2];
  char devname[8];      /*  48: name of the kind, NUL-padded; no NUL when all eight are used */
  uint8_t iostate[192]; /*  56: private; what the set-ups write */
  int64_t source[4];    /* 248: private; source references, 0 where there is none */
  uint8_t kind[4];      /* 280: private */
  qvimagedata d;        /* 284: what a pixel is made of */
  qvimagefacts f;       /* 312: derived from it */
  qvimagehints h;       /* 324: physical size of a pixel */

  /* Moves pixels from the image to the buffer: up to count of them, from the position given, along the scan
   * that ioset was given, in the caller's form, packed. Returns how many, 0 when none; never a code. `mode`
   * is 0 unless a kind says otherwise. */
  uint32_t (*ioread)(qvimage *, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y);

  /* The same from the buffer to the image. */
  uint32_t (*iorite)(qvimage *, uint32_t mode, const void *buffer, uint32_t count, int32_t x, int32_t y);

  /* 1 when every transfer that was started on the buffer is complete. Call it before the buffer is reused. */
  int32_t (*iowait)(qvimage *, uint32_t mode, void *buffer);

  /* Sets up runs. Returns 1, or with nothing set up QVERR_DATATYPE, QVERR_COLOUR (a selection that is not one
   * run of pixies inside the pixel), QVERR_UNSUPPORTED (a scan that the image has not), or another code of
   * the kind. A record without a window answers 0. */
  int32_t (*ioset)(qvimage *, uint32_t mode, uint32_t datatype, uint32_t colourmask);

  /* How many pixels, count at most, one ioread or iorite from there can move; 0 outside the window. */
  uint32_t (*iolen)(qvimage *, uint32_t count, int32_t x, int32_t y);

  /* Sets up block transfers. Returns 1 or another non-negative number, or a code as ioset does. */
  int32_t (*bxts)(qvimage *, uint32_t mode, uint32_t datatype, uint32_t colourmask);

  /* With QVIM_LIST: rewrites the list into the kind's own form, if it has one, and returns non-zero: bxta
   * then takes the list without QVIM_LIST. 0: the list stays as it is, and bxta takes it with QVIM_LIST. */
  uint32_t (*bxtp)(qvimage *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);

  /* Applies the operation (QVIM_OP_...) to every pixel of a list, whose values lie packed in the buffer.
   * Returns the entries worked on, those outside the window counted although nothing happens to them; 0 when
   * nothing is set up. */
  uint32_t (*bxta)(qvimage *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);

  /* 1 when every block transfer that was started on the buffer is complete. */
  int32_t (*bxtw)(qvimage *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);

  /* Sets up mappings. Returns a positive word of capabilities - 0x1: imap gives addresses; 0x8: one
   * mapping spans the lines of the window - or a code, checked in this order: QVERR_DATATYPE (pixels are not
   * stored exactly so), QVERR_COLOUR (not all pixies selected), QVERR_USAGE (a scan that the image has not),
   * QVERR_UNSUPPORTED (no mapping, or a step that was not welcome: QVIM_STEP). */
  int32_t (*imapset)(qvimage *, uint32_t mode, uint32_t datatype, uint32_t colourmask);

  /* Fills the descriptor for a pixel and returns 1; 0, with count 0, when there is nothing to map. */
  int32_t (*imap)(qvimage *, qvimagemap *map, int32_t x, int32_t y);

  /* Ends a mapping: sets the descriptor's count to 0. Always 0. */
  int32_t (*imapr)(qvimage *, qvimagemap *map);

  /* Questions and control, by code: see the top of this file. */
  uint32_t (*aeiou)(qvimage *, uint32_t code, int32_t arg1, int32_t arg2, void *buffer);

  /* The window, by letter: see the top of this file. */
  void *(*xwind)(qvimage *, qvywindow *window, int32_t letter);
};

/* The record of a 3-D image: the same offsets, the same slots with a z. Lists of block transfers hold (x, y,
 * z). */
struct qvimage3 {
  qvyzwindow wind;      /*   0 */
  qvyzwindow imdim;     /*  24 */
  char devname[8];      /*  48: name of the kind, NUL-padded; no NUL when all eight are used */
  uint8_t iostate[192]; /*  56: private; what the set-ups write */
  int64_t source[4];    /* 248: private; source references, 0 where there is none */
  uint8_t kind[4];      /* 280: private */
  qvimagedata d;        /* 284: what a pixel is made of */
  qvimagefacts f;       /* 312: derived from it */
  qvimagehints h;       /* 324: physical size of a pixel */
  uint32_t (*ioread)(qvimage3 *, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y,
                     int32_t z);
  uint32_t (*iorite)(qvimage3 *, uint32_t mode, const void *buffer, uint32_t count, int32_t x, int32_t y,
                     int32_t z);
  int32_t (*iowait)(qvimage3 *, uint32_t mode, void *buffer);
  int32_t (*ioset)(qvimage3 *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
  uint32_t (*iolen)(qvimage3 *, uint32_t count, int32_t x, int32_t y, int32_t z);
  int32_t (*bxts)(qvimage3 *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
  uint32_t (*bxtp)(qvimage3 *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
  uint32_t (*bxta)(qvimage3 *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
  int32_t (*bxtw)(qvimage3 *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
  int32_t (*imapset)(qvimage3 *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
  int32_t (*imap)(qvimage3 *, qvimagemap *map, int32_t x, int32_t y, int32_t z);
  int32_t (*imapr)(qvimage3 *, qvimagemap *map);
  uint32_t (*aeiou)(qvimage3 *, uint32_t code, int32_t arg1, int32_t arg2, void *buffer);
  void *(*xwind)(qvimage3 *, qvyzwindow *window, int32_t letter);
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
