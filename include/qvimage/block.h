/* Generic block transfer: scattered pixels of any kind of image in one call. */
#ifndef QVIMAGE_BLOCK_H
#define QVIMAGE_BLOCK_H

#include <qvimage/kernel.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

#pragma pack(push, 1)
typedef struct {                    /* qvimbxtstate: 28 bytes, byte-packed ?2 */
  uint32_t    rdparam;              /*  0 */
  npfbixn_fn *rdkernel;             /*  4 */
  uint32_t    wrparam;              /* 12 */
  npfbixn_fn *wrkernel;             /* 16 */
  uint16_t    datatype;             /* 24 */
  uint8_t     colourmask;           /* 26 */
  uint8_t     colours;              /* 27 */
} qvimbxtstate;
#pragma pack(pop)

QVIM_ASSERT(sizeof(qvimbxtstate) == 28);

int32_t  qvimbxts(qvimbxtstate *state, qvimage *image, uint32_t mode, uint32_t datatype, uint32_t colourmask);
uint32_t qvimbxta(qvimbxtstate *state, qvimage *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
uint32_t qvimbxtp(qvimbxtstate *state, qvimage *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
int32_t  qvimbxtw(qvimbxtstate *state, qvimage *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
int32_t  qvim3bxts(qvimbxtstate *state, qvimage3 *image, uint32_t mode, uint32_t datatype, uint32_t colourmask);
uint32_t qvim3bxta(qvimbxtstate *state, qvimage3 *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
uint32_t qvim3bxtp(qvimbxtstate *state, qvimage3 *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);
int32_t  qvim3bxtw(qvimbxtstate *state, qvimage3 *image, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count, uint32_t op);

QVIM_END_DECLS

#endif
