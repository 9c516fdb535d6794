/* Null and no-op images: records whose transfers move nothing. */
#ifndef QVIMAGE_NULL_H
#define QVIMAGE_NULL_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

void    qvimage_defnull(qvimage *image);      void qvimage3_defnull(qvimage3 *image);
int32_t qvimage_defnop(qvimage *image, const int32_t imdim[2], const qvimagedata *data, const qvimagehints *hints);
void    qvimnullsafe(qvimage *image);         void qvim3nullsafe(qvimage3 *image);
void    qvimnullwind(qvimage *image);         void qvim3nullwind(qvimage3 *image);

uint32_t qvimnopio(qvimage *, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y);  
int32_t  qvimnopiowait(qvimage *, uint32_t mode, void *buffer);
int32_t  qvimnopioset(qvimage *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
uint32_t qvimnopiolen(qvimage *, uint32_t count, int32_t x, int32_t y);
int32_t  qvimnopbxts(qvimage *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
uint32_t qvimnopbxtp(qvimage *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
uint32_t qvimnopbxta(qvimage *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
int32_t  qvimnopbxtw(qvimage *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
int32_t  qvimnopimapset(qvimage *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
int32_t  qvimnopimap(qvimage *, qvimagemap *map, int32_t x, int32_t y);
int32_t  qvimnopimapr(qvimage *, qvimagemap *map);
uint32_t qvim3nopio(qvimage3 *, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y, int32_t z);
int32_t  qvim3nopiowait(qvimage3 *, uint32_t mode, void *buffer);
int32_t  qvim3nopioset(qvimage3 *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
uint32_t qvim3nopiolen(qvimage3 *, uint32_t count, int32_t x, int32_t y, int32_t z);
int32_t  qvim3nopbxts(qvimage3 *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
uint32_t qvim3nopbxtp(qvimage3 *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
uint32_t qvim3nopbxta(qvimage3 *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
int32_t  qvim3nopbxtw(qvimage3 *, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
int32_t  qvim3nopimapset(qvimage3 *, uint32_t mode, uint32_t datatype, uint32_t colourmask);
int32_t  qvim3nopimap(qvimage3 *, qvimagemap *map, int32_t x, int32_t y, int32_t z);
int32_t  qvim3nopimapr(qvimage3 *, qvimagemap *map);

QVIM_END_DECLS

#endif
