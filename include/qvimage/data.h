/* Data types, hints and units with their names; the functions that fill and question the description of
 * pixels; the selectors of kernels for what a request needs.
 *
 * Nothing here keeps state: any thread may call. Pointers must not be null unless a function says so. */
#ifndef QVIMAGE_DATA_H
#define QVIMAGE_DATA_H

#include <qvimage/kernel.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* --- data types --- */

/* Bytes of a pixie of that type; the flags of a data type word do not count. 0 for a code that is none. */
int32_t qvimdatasize(uint32_t type);

/* The unsigned integer type of 1, 2, 4 or 8 bytes; 0 for other sizes. */
int32_t qvimuintsizedata(int32_t bytes);

/* The floating type of 4 or 8 bytes; 0 for other sizes. */
int32_t qvimfloatsizedata(int32_t bytes);

/* The smallest unsigned integer type with at least so many bits; 0 for more than 64. */
int32_t qvimdatabittype(int32_t bits);

/* The type itself: every type is native. */
uint32_t qvimtypemap(uint32_t type);

/* --- descriptions --- */

/* Describes pixels of so many pixies (1 to 32) of a type. bitsused counts the significant bits of an integer
 * pixie, 0 for all; fewer than all sit at the least significant end. Floating pixies get the nominal range
 * 0.0 to 1.0. Everything is clean and in the host's byte order; set i_bitsxsb, i_dirtyread, i_dirtyrite or
 * i_endian afterwards for other images.
 *
 * Returns 1, or 0 with the description all zero when type, pixies or bitsused are none of these. */
int32_t qviminitdata(qvimagedata *data, int32_t pixietype, int32_t bitsused, int32_t pixies,
                     int32_t pixelhint);

/* Fills in the physical size of a pixel; units are QVIM_UNIT_... */
void qviminithints(qvimagehints *hints, uint8_t widthunits, uint8_t heightunits, uint8_t depthunits,
                   float pixelwidth, float pixelheight, float pixeldepth);

/* Derives sizes and flags from a description; to be called whenever it changes. Bits 2 to 7 of the flags are
 * kept. Returns the size of a pixie. */
int32_t qviminitfacts(qvimagefacts *facts, const qvimagedata *data);

/* Can pixies in the form of that data type word be copied from and to the image byte for byte? 1 or 0. */
int32_t qvimdatasupportedwoutconversion(const qvimage *image, uint32_t datatype);
int32_t qvim3datasupportedwoutconversion(const qvimage3 *image, uint32_t datatype);

/* A colour mask's selection: bit i selects pixie i, and the bits must be one run inside the pixel. Returns
 * how many are selected and stores the number of the first, unless that pointer is null; 0, with nothing
 * stored, for a mask that selects nothing, has gaps or reaches beyond the pixies. */
int32_t qvimcolormap(int32_t pixies, uint32_t colourmask, int32_t *first);
int32_t qvimcolormaps(int32_t pixies, uint32_t colourmask, uint16_t *first);

/* --- hints and units --- */

/* The hint with red and blue exchanged: RGB and BGR, with and without padding; other hints unchanged. */
int32_t qvimhintrgbtobgr(int32_t hint);

/* The English name of a hint or unit: static text; null for codes without one. */
const char *qvimhinttostring(int32_t hint);
const char *qvimunittostring(int32_t unit);

/* The code of a name, whatever its case; -1 for null and for names that are none. A name that two hints have
 * is that of QVIM_HINT_BAYER. */
int32_t qvimstringtohint(const char *name);
int32_t qvimstringtounit(const char *name);

/* --- kernel selectors --- */

/* The kernel that copies items of so many bytes between strided runs. It takes the size as its shift
 * argument, which only the one for 9 bytes and more needs. 0 bytes: a kernel that does nothing. Two names,
 * one function. */
npfbix_fn *qvimdatapackf16(uint32_t bytes);
npfbix_fn *qvimdatapackfapy(uint32_t bytes);

/* What an integer image's pixies need to take the form of a request (direction 0, reading), or the request's
 * to take the image's (direction 1, writing; only bit 0 of the direction counts).
 *
 * The answer is 0 for nothing, 8 for a shift left, 16 for a shift right, 32 for a mask, plus 64 when the byte
 * order differs. Pixies must be in the host's byte order while they are shifted or masked: an image or a
 * caller whose order is the reversed one has the swap on its own side. A request for both ends of the
 * container gets the end that the image does not use. Floating images need nothing.
 *
 * kernel receives the kernel for the change without the swap (one that does nothing if there is none), param
 * the shift count or mask to call it with, swap the kernel that reverses the byte order of pixies of this
 * size; each pointer may be null. There are no kernels for the bits of 64-bit pixies. Names that end in fapy
 * are the same functions as those that end in f16. */

/* In place. */
uint32_t qvimdatauintmodexxf16(const qvimage *image, uint32_t direction, uint32_t datatype,
                               npfbixn_fn **kernel, uint32_t *param);
uint32_t qvim3datauintmodexxf16(const qvimage3 *image, uint32_t direction, uint32_t datatype,
                                npfbixn_fn **kernel, uint32_t *param);
uint32_t qvimdatauintmodexxswabf16(const qvimage *image, uint32_t direction, uint32_t datatype,
                                   npfbixn_fn **kernel, uint32_t *param, npfbixn_fn **swap);
uint32_t qvim3datauintmodexxswabf16(const qvimage3 *image, uint32_t direction, uint32_t datatype,
                                    npfbixn_fn **kernel, uint32_t *param, npfbixn_fn **swap);
uint32_t qvimdatauintmodexxfapy(const qvimage *image, uint32_t direction, uint32_t datatype,
                                npfbixn_fn **kernel, uint32_t *param);
uint32_t qvim3datauintmodexxfapy(const qvimage3 *image, uint32_t direction, uint32_t datatype,
                                 npfbixn_fn **kernel, uint32_t *param);
uint32_t qvimdatauintmodexxswabfapy(const qvimage *image, uint32_t direction, uint32_t datatype,
                                    npfbixn_fn **kernel, uint32_t *param, npfbixn_fn **swap);
uint32_t qvim3datauintmodexxswabfapy(const qvimage3 *image, uint32_t direction, uint32_t datatype,
                                     npfbixn_fn **kernel, uint32_t *param, npfbixn_fn **swap);

/* From one buffer to another. For floating pixies the kernel copies them. */
uint32_t qvimdatauint2modexxf16(const qvimage *image, uint32_t direction, uint32_t datatype,
                                npfbix_fn **kernel, uint32_t *param);
uint32_t qvim3datauint2modexxf16(const qvimage3 *image, uint32_t direction, uint32_t datatype,
                                 npfbix_fn **kernel, uint32_t *param);
uint32_t qvimdatauint2modexxswabf16(const qvimage *image, uint32_t direction, uint32_t datatype,
                                    npfbix_fn **kernel, uint32_t *param, npfbix_fn **swap);
uint32_t qvim3datauint2modexxswabf16(const qvimage3 *image, uint32_t direction, uint32_t datatype,
                                     npfbix_fn **kernel, uint32_t *param, npfbix_fn **swap);
uint32_t qvimdatauint2modexxfapy(const qvimage *image, uint32_t direction, uint32_t datatype,
                                 npfbix_fn **kernel, uint32_t *param);
uint32_t qvim3datauint2modexxfapy(const qvimage3 *image, uint32_t direction, uint32_t datatype,
                                  npfbix_fn **kernel, uint32_t *param);
uint32_t qvimdatauint2modexxswabfapy(const qvimage *image, uint32_t direction, uint32_t datatype,
                                     npfbix_fn **kernel, uint32_t *param, npfbix_fn **swap);
uint32_t qvim3datauint2modexxswabfapy(const qvimage3 *image, uint32_t direction, uint32_t datatype,
                                      npfbix_fn **kernel, uint32_t *param, npfbix_fn **swap);

/* The kernel that converts pixies between two types: the choice that converter images make.
 *
 *   srcstride, dststride   bytes between pixies: pixies side by side have faster kernels
 *   srctype, dsttype       data type words
 *   direction              0 reading (the source is the image), 1 writing (the source is the caller)
 *   srcbits, dstbits       significant bits on either side
 *   mode                   1: floating values are 0 to 1 for the full range of the integers; 0: they are the
 *                          integers' own values, clamped when they become integers
 *
 * Stores the kernel with its shift and mask arguments. Two floating types that are not float32 and float64
 * leave the kernel unchanged. Always 0. */
int32_t qvimselectpfbixfunc(int64_t srcstride, int64_t dststride, uint32_t srctype, uint32_t dsttype,
                            uint32_t direction, uint32_t srcbits, uint32_t dstbits, uint32_t mode,
                            npfbix_fn **kernel, uint32_t *shift, uint32_t *mask);

QVIM_END_DECLS

#endif
