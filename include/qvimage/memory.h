/* Memory images: pixels in a buffer of the caller.
 *
 *   uint16_t frame[480][640];
 *   const int32_t dims[2] = {640, 480};
 *   qvimage im;
 *   qvimage_memory(&im, frame, dims, 0, QVIM_UINT16, 12, 1, QVIM_HINT_GREY, 0);
 *
 * makes im a 12-bit grey image over frame. Pixel (x, y, z) starts at byte z * planepitch + y * pitch + x *
 * pixelsize of the buffer; its pixies follow each other without gaps. A pixie with fewer significant bits
 * than its container has keeps them at the least significant end unless the description says otherwise.
 *
 * The image does not own the buffer (but see the memmalloc functions) and keeps nothing else: the record may
 * be copied byte for byte or forgotten at any time. Several records may share one buffer; threads may use
 * different records over it at once while they touch different pixels.
 *
 * Beyond what qvimage/record.h says of every kind:
 *   - runs: every scan, selection, justification and byte order is served. 64-bit pixies are moved as
 *     they are or byte-swapped; a request that would shift or mask them answers QVERR_DATATYPE
 *   - byte order and justification flags do not count for floating pixies: they move in the host's order
 *   - mappings: imapset answers 0x4005, or 0x400D for a run with wrap when the window's lines (and
 *     planes) follow each other without a gap
 *   - block transfers: bxtp rewrites each list entry into the byte offset of its pixel (64 bits, in place
 *     of x and y; all ones for a position outside the window). bxta with QVIM_LIST in its mode does so
 *     first: the list is changed, and a further call on it must leave QVIM_LIST out. bxta converts the
 *     values to be stored in the caller's buffer itself: after any operation but QVIM_OP_READ and
 *     QVIM_OP_EXCHANGE the buffer may hold them in the image's form. Sums and differences wrap in the
 *     pixie's container. 64-bit integers are not served
 *   - aeiou: 'I' answers (2^32 - 1) / pixelsize, 'B' 357913941, 'i', 'm' and 'b' chaininfo + 1, others 0
 *   - trusted positions (QVIM_TRUST) outside the window reach memory outside the buffer
 *
 * Arguments that the constructors share:
 *   imdim        the extents along x and y (and z), each at least 1
 *   pitch        bytes from a line to the next, 0 for packed lines; not checked: a smaller pitch than the
 *                bytes of a line makes lines overlap
 *   pixietype    QVIM_UINT8 to QVIM_FLOAT64
 *   bitsused     significant bits of an integer pixie, 0 for all
 *   pixies       components of a pixel, 1 to 32
 *   pixelhint    QVIM_HINT_...
 *   chaininfo    what the kind contributes to the answers of aeiou; 0 for the usual 512
 *   units        QVIM_UNIT_... of pixelwidth and pixelheight; depthunits: of pixeldepth
 *
 * Constructors return 0, or after leaving the null image in the record
 *   QVERR_USAGE    a null image (nothing is written then), buffer, imdim or data; an extent below 1; a
 *                  description that is not valid; a buffer smaller than its last line needs
 *   QVERR_MEMORY   packed lines or planes of 4 GiB or more */
#ifndef QVIMAGE_MEMORY_H
#define QVIMAGE_MEMORY_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* --- over a buffer of the caller --- */

/* From complete descriptions, which are copied. size is the buffer's in bytes, 0 if unknown: pitch * ydim
 * (planepitch * zdim) must not exceed it. planepitch: bytes from a plane to the next, 0 for pitch * ydim.
 * hints may be null. */
int32_t qvimage_memdata(qvimage *image, void *buffer, uint64_t size, const int32_t imdim[2], uint32_t pitch,
                        const qvimagedata *data, const qvimagehints *hints, uint32_t chaininfo);
int32_t qvimage3_memdata(qvimage3 *image, void *buffer, uint64_t size, const int32_t imdim[3], uint32_t pitch,
                         uint32_t planepitch, const qvimagedata *data, const qvimagehints *hints,
                         uint32_t chaininfo);

/* From the values of a description, as qviminitdata takes them. Planes follow each other without gaps. */
int32_t qvimage_memory(qvimage *image, void *buffer, const int32_t imdim[2], uint32_t pitch,
                       int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                       uint32_t chaininfo);
int32_t qvimage3_memory(qvimage3 *image, void *buffer, const int32_t imdim[3], uint32_t pitch,
                        int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                        uint32_t chaininfo);

/* The same with the physical size of a pixel. */
int32_t qvimage_memory2(qvimage *image, void *buffer, const int32_t imdim[2], uint32_t pitch,
                        int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                        uint32_t chaininfo, uint8_t units, float pixelwidth, float pixelheight);
int32_t qvimage3_memory2(qvimage3 *image, void *buffer, const int32_t imdim[3], uint32_t pitch,
                         int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                         uint32_t chaininfo, uint8_t units, uint8_t depthunits, float pixelwidth,
                         float pixelheight, float pixeldepth);

/* The same with the buffer's size, checked as in memdata. */
int32_t qvimage_memory3(qvimage *image, void *buffer, uint64_t size, const int32_t imdim[2], uint32_t pitch,
                        int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                        uint32_t chaininfo, uint8_t units, float pixelwidth, float pixelheight);
int32_t qvimage3_memory3(qvimage3 *image, void *buffer, uint64_t size, const int32_t imdim[3], uint32_t pitch,
                         int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint,
                         uint32_t chaininfo, uint8_t units, uint8_t depthunits, float pixelwidth,
                         float pixelheight, float pixeldepth);

/* --- over a buffer of their own --- */

/* Allocates packed pixels, uninitialised, with qvmallocf16 and builds the image over them; chaininfo is 1.
 * bufferpointer is the address of a pointer of any type, null on entry; it receives the buffer, which the
 * caller frees with memfree or qvfreef16.
 *
 * Beyond the codes above: QVERR_USAGE for a null bufferpointer or one that is in use, QVERR_MEMORY when
 * memory is short, when the size does not fit 64 bits, and when it is 0 because the description is not valid.
 * The pointer is unchanged then. */
int32_t qvimage_memmalloc(qvimage *image, void *bufferpointer, const int32_t imdim[2], int32_t pixietype,
                          int32_t bitsused, int32_t pixies, int32_t pixelhint);
int32_t qvimage3_memmalloc(qvimage3 *image, void *bufferpointer, const int32_t imdim[3], int32_t pixietype,
                           int32_t bitsused, int32_t pixies, int32_t pixelhint);

/* Frees the buffer, clears the pointer to it (at address bufferpointer, which may be null: nothing is freed)
 * and leaves the null image in the record, which may be null too. Always 0. */
int32_t qvimage_memfree(qvimage *image, void *bufferpointer);
int32_t qvimage3_memfree(qvimage3 *image, void *bufferpointer);

/* Allocates the record too, and the pixels unless a buffer for them is given. Null when an argument is wrong
 * or memory is short. */
qvimage *qvimage_memmalloc2(void *buffer, int32_t pixietype, int32_t bitsused, int32_t pixies,
                            int32_t pixelhint, int32_t xdim, int32_t ydim, uint8_t units, float pixelwidth,
                            float pixelheight);
qvimage3 *qvimage3_memmalloc2(void *buffer, int32_t pixietype, int32_t bitsused, int32_t pixies,
                              int32_t pixelhint, int32_t xdim, int32_t ydim, uint8_t units, int32_t zdim,
                              uint8_t depthunits, float pixelwidth, float pixelheight, float pixeldepth);

/* Frees a record made by memmalloc2, and its pixels unless keepbuffer is not 0. Returns 0, also for a null
 * image; QVERR_USAGE, with nothing freed, for a record of another kind. */
int32_t qvimage_memfree2(qvimage *image, int32_t keepbuffer);
int32_t qvimage3_memfree2(qvimage3 *image, int32_t keepbuffer);

QVIM_END_DECLS

#endif
