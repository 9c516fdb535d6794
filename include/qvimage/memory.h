/* Memory images: pixels in a buffer of the caller. */
#ifndef QVIMAGE_MEMORY_H
#define QVIMAGE_MEMORY_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

int32_t  qvimage_memdata(qvimage *image, void *buffer, uint64_t size, const int32_t imdim[2], uint32_t pitch, const qvimagedata *data, const qvimagehints *hints, uint32_t chaininfo);
int32_t  qvimage_memory(qvimage *image, void *buffer, const int32_t imdim[2], uint32_t pitch, int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint, uint32_t chaininfo);
int32_t  qvimage_memory2(qvimage *image, void *buffer, const int32_t imdim[2], uint32_t pitch, int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint, uint32_t chaininfo,
                         uint8_t units, float pixelwidth, float pixelheight);
int32_t  qvimage_memory3(qvimage *image, void *buffer, uint64_t size, const int32_t imdim[2], uint32_t pitch, int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint, uint32_t chaininfo,
                         uint8_t units, float pixelwidth, float pixelheight);
int32_t  qvimage_memmalloc(qvimage *image, void *bufferpointer, const int32_t imdim[2], int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint);
int32_t  qvimage_memfree(qvimage *image, void *bufferpointer);
qvimage *qvimage_memmalloc2(void *buffer, int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint, int32_t xdim, int32_t ydim, uint8_t units, float pixelwidth, float pixelheight);
int32_t  qvimage_memfree2(qvimage *image, int32_t keepbuffer);

int32_t  qvimage3_memdata(qvimage3 *image, void *buffer, uint64_t size, const int32_t imdim[3], uint32_t pitch, uint32_t planepitch, const qvimagedata *data, const qvimagehints *hints, uint32_t chaininfo);
int32_t  qvimage3_memory(qvimage3 *image, void *buffer, const int32_t imdim[3], uint32_t pitch, int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint, uint32_t chaininfo);
int32_t  qvimage3_memory2(qvimage3 *image, void *buffer, const int32_t imdim[3], uint32_t pitch, int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint, uint32_t chaininfo,
                          uint8_t units, uint8_t depthunits, float pixelwidth, float pixelheight, float pixeldepth);
int32_t  qvimage3_memory3(qvimage3 *image, void *buffer, uint64_t size, const int32_t imdim[3], uint32_t pitch, int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint, uint32_t chaininfo,
                          uint8_t units, uint8_t depthunits, float pixelwidth, float pixelheight, float pixeldepth);
int32_t  qvimage3_memmalloc(qvimage3 *image, void *bufferpointer, const int32_t imdim[3], int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint);
int32_t  qvimage3_memfree(qvimage3 *image, void *bufferpointer);
qvimage3 *qvimage3_memmalloc2(void *buffer, int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint, int32_t xdim, int32_t ydim, uint8_t units, int32_t zdim, uint8_t depthunits,
                              float pixelwidth, float pixelheight, float pixeldepth);
int32_t  qvimage3_memfree2(qvimage3 *image, int32_t keepbuffer);

QVIM_END_DECLS

#endif
