/* Generic block transfer: scattered pixels of any kind of image in one call.
 *
 * A program that uses images calls the record's slots bxts, bxtp, bxta and bxtw (see qvimage/record.h) and
 * does not need this header. It is for kinds of image that have no block transfer of their own: such a kind
 * keeps a qvimbxtstate in its private bytes and fills the four slots with functions that pass it on,
 *
 *   static int32_t my_bxts(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
 *     return qvimbxts((qvimbxtstate *)(im->iostate + 64), im, mode, datatype, colourmask);
 *   }
 *
 * with the address computed at each call, so that copies of the record work.
 *
 * The transfer uses the image's mapping where one mapping spans the window (whole pixels, capability bits
 * 0x1, 0x4 and 0x8 of imapset), else runs of one pixel. While it is at work it sets up runs and mappings of
 * the image, which in turn sets up the images below; when it returns, the iostate and the slots ioread,
 * iorite, iowait, iolen, imapset, imap and imapr of the image and of every image below it (source references
 * 0 to 3) are what they were. It allocates nothing; an image needs about 300 bytes of stack. One record, or
 * two with a common source, must not be used by two threads at once.
 *
 * State and image must not be null. Functions whose names begin with qvim3 are those of 3-D images. */
#ifndef QVIMAGE_BLOCK_H
#define QVIMAGE_BLOCK_H

#include <qvimage/kernel.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* What qvimbxts leaves for qvimbxta. Byte-packed, 28 bytes; all zero before the first set-up. */
#pragma pack(push, 1)
typedef struct {
  uint32_t rdparam;     /*  0: shift count or mask of the read kernel */
  npfbixn_fn *rdkernel; /*  4: image's bits to caller's bits; null while nothing is set up */
  uint32_t wrparam;     /* 12: the same for writing */
  npfbixn_fn *wrkernel; /* 16 */
  uint16_t datatype;    /* 24: the request */
  uint8_t colourmask;   /* 26 */
  uint8_t colours;      /* 27: selected pixies */
} qvimbxtstate;
#pragma pack(pop)

QVIM_ASSERT(sizeof(qvimbxtstate) == 28);

/* Sets up block transfers for pixies in the form of the data type word. The mask selects one pixie or all of
 * them, none beyond the eighth. Of the mode only bit 0x10000 counts (2-D), which ioset receives.
 *
 * Returns the non-negative answer of the image's ioset, or, with nothing set up,
 *   QVERR_DATATYPE   another pixie type than the image's, or 64-bit integers
 *   QVERR_COLOUR     a selection that is not served
 *   what ioset answered when it refused */
int32_t qvimbxts(qvimbxtstate *state, qvimage *image, uint32_t mode, uint32_t datatype, uint32_t colourmask);
int32_t qvim3bxts(qvimbxtstate *state, qvimage3 *image, uint32_t mode, uint32_t datatype,
                  uint32_t colourmask);

/* Applies the operation (QVIM_OP_...) to every listed pixel, in the order of the list; a pixel that is listed
 * twice is worked on twice. The buffer holds the selected pixies of each entry, packed. It is written by
 * QVIM_OP_READ and QVIM_OP_EXCHANGE only; values are converted aside. Sums and differences of integers keep
 * the significant bits. Entries outside the window, and those whose pixel the image cannot give, leave image
 * and buffer alone but count.
 *
 * Returns count; 0 when nothing is set up or the image refuses now. The list is not changed. */
uint32_t qvimbxta(qvimbxtstate *state, qvimage *image, uint32_t mode, void *buffer, qvxyzcoord *list,
                  uint32_t count, uint32_t op);
uint32_t qvim3bxta(qvimbxtstate *state, qvimage3 *image, uint32_t mode, void *buffer, qvxyzcoord *list,
                   uint32_t count, uint32_t op);

/* There is no pointer form: returns 0, the list stays as it is. */
uint32_t qvimbxtp(qvimbxtstate *state, qvimage *image, uint32_t mode, void *buffer, qvxyzcoord *list,
                  uint32_t count, uint32_t op);
uint32_t qvim3bxtp(qvimbxtstate *state, qvimage3 *image, uint32_t mode, void *buffer, qvxyzcoord *list,
                   uint32_t count, uint32_t op);

/* Transfers are complete when qvimbxta returns: 1. */
int32_t qvimbxtw(qvimbxtstate *state, qvimage *image, uint32_t mode, void *buffer, qvxyzcoord *list,
                 uint32_t count, uint32_t op);
int32_t qvim3bxtw(qvimbxtstate *state, qvimage3 *image, uint32_t mode, void *buffer, qvxyzcoord *list,
                  uint32_t count, uint32_t op);

QVIM_END_DECLS

#endif
