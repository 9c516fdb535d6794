/* Null and no-op images: records whose transfers move nothing, and the slot functions that do so.
 *
 * The null image is what every failed constructor leaves in its record. Every call through it is safe, with
 * any arguments, and does nothing. */
#ifndef QVIMAGE_NULL_H
#define QVIMAGE_NULL_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

/* Makes a record the null image: all bytes zero but its name, "NULL2" ("NULL3"), and its slots, which are the
 * functions below. aeiou answers 'B' with 357913941, 'I' with 4294967295, all other codes with 0; xwind
 * answers 's' with the record and changes nothing. Nothing for a null pointer. */
void qvimage_defnull(qvimage *image);
void qvimage3_defnull(qvimage3 *image);

/* A null image with a description: extents (x, y), pixels and their physical size, each copied unless null.
 * Returns 0, or QVERR_USAGE for a null image. */
int32_t qvimage_defnop(qvimage *image, const int32_t imdim[2], const qvimagedata *data,
                       const qvimagehints *hints);

/* Sets all slots to those of the null image and leaves the rest of the record alone: makes a record safe
 * before it is filled. It must not be null. */
void qvimnullsafe(qvimage *image);
void qvim3nullsafe(qvimage3 *image);

/* Takes the window away: it becomes empty, and every slot but aeiou and xwind moves nothing until xwind sets
 * a valid window. What xwind does when it is given a window outside the image. Not for a null pointer. */
void qvimnullwind(qvimage *image);
void qvim3nullwind(qvimage3 *image);

/* --- slot functions that move nothing --- */

/* ioread, iorite: 0. (For iorite, whose buffer is constant, a record holds a function of its own type.) */
uint32_t qvimnopio(qvimage *image, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y);
uint32_t qvim3nopio(qvimage3 *image, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y,
                    int32_t z);

/* iowait: 1, there is nothing to wait for. The right function for every kind whose transfers are immediate.
 */
int32_t qvimnopiowait(qvimage *image, uint32_t mode, void *buffer);
int32_t qvim3nopiowait(qvimage3 *image, uint32_t mode, void *buffer);

/* ioset, iolen: 0. */
int32_t qvimnopioset(qvimage *image, uint32_t mode, uint32_t datatype, uint32_t colourmask);
int32_t qvim3nopioset(qvimage3 *image, uint32_t mode, uint32_t datatype, uint32_t colourmask);
uint32_t qvimnopiolen(qvimage *image, uint32_t count, int32_t x, int32_t y);
uint32_t qvim3nopiolen(qvimage3 *image, uint32_t count, int32_t x, int32_t y, int32_t z);

/* bxts, bxtp, bxta: 0. */
int32_t qvimnopbxts(qvimage *image, uint32_t mode, uint32_t datatype, uint32_t colourmask);
int32_t qvim3nopbxts(qvimage3 *image, uint32_t mode, uint32_t datatype, uint32_t colourmask);
uint32_t qvimnopbxtp(qvimage *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                     uint32_t op);
uint32_t qvim3nopbxtp(qvimage3 *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                      uint32_t op);
uint32_t qvimnopbxta(qvimage *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                     uint32_t op);
uint32_t qvim3nopbxta(qvimage3 *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                      uint32_t op);

/* bxtw: 1. */
int32_t qvimnopbxtw(qvimage *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                    uint32_t op);
int32_t qvim3nopbxtw(qvimage3 *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                     uint32_t op);

/* imapset: QVERR_UNSUPPORTED. */
int32_t qvimnopimapset(qvimage *image, uint32_t mode, uint32_t datatype, uint32_t colourmask);
int32_t qvim3nopimapset(qvimage3 *image, uint32_t mode, uint32_t datatype, uint32_t colourmask);

/* imap, imapr: 0, and 0 in the descriptor's count unless it is null. imapr serves every kind whose mappings
 * need no release. */
int32_t qvimnopimap(qvimage *image, qvimagemap *map, int32_t x, int32_t y);
int32_t qvim3nopimap(qvimage3 *image, qvimagemap *map, int32_t x, int32_t y, int32_t z);
int32_t qvimnopimapr(qvimage *image, qvimagemap *map);
int32_t qvim3nopimapr(qvimage3 *image, qvimagemap *map);

QVIM_END_DECLS

#endif
