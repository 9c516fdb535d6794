/* Data types, hints, units, their names; builders; kernel selectors of integer images. */
#ifndef QVIMAGE_DATA_H
#define QVIMAGE_DATA_H

#include <qvimage/kernel.h>
#include <qvimage/record.h>

QVIM_BEGIN_DECLS

int32_t qvimdatasize(uint32_t type);      int32_t qvimuintsizedata(int32_t bytes);  int32_t qvimfloatsizedata(int32_t bytes);
int32_t qvimdatabittype(int32_t bits);    uint32_t qvimtypemap(uint32_t type);
int32_t qviminitdata(qvimagedata *data, int32_t pixietype, int32_t bitsused, int32_t pixies, int32_t pixelhint);
void    qviminithints(qvimagehints *hints, uint8_t widthunits, uint8_t heightunits, uint8_t depthunits, float pixelwidth, float pixelheight, float pixeldepth);
int32_t qviminitfacts(qvimagefacts *facts, const qvimagedata *data);
int32_t qvimdatasupportedwoutconversion(const qvimage *image, uint32_t datatype);
int32_t qvim3datasupportedwoutconversion(const qvimage3 *image, uint32_t datatype);
int32_t qvimcolormap(int32_t pixies, uint32_t colourmask, int32_t *first);
int32_t qvimcolormaps(int32_t pixies, uint32_t colourmask, uint16_t *first);
int32_t qvimhintrgbtobgr(int32_t hint);
const char *qvimhinttostring(int32_t hint);   int32_t qvimstringtohint(const char *name);
const char *qvimunittostring(int32_t unit);   int32_t qvimstringtounit(const char *name);

npfbix_fn *qvimdatapackf16(uint32_t bytes);
npfbix_fn *qvimdatapackfapy(uint32_t bytes);
/* block variant: in-place kernels ?1; result = flag | swap; direction: only bit 0 counts (memory images pass the mode's low byte) */
uint32_t qvimdatauintmodexxf16(const qvimage *image, uint32_t direction, uint32_t datatype, npfbixn_fn **kernel, uint32_t *param);
uint32_t qvimdatauintmodexxfapy(const qvimage *image, uint32_t direction, uint32_t datatype, npfbixn_fn **kernel, uint32_t *param);
uint32_t qvimdatauintmodexxswabf16(const qvimage *image, uint32_t direction, uint32_t datatype, npfbixn_fn **kernel, uint32_t *param, npfbixn_fn **swap);
uint32_t qvimdatauintmodexxswabfapy(const qvimage *image, uint32_t direction, uint32_t datatype, npfbixn_fn **kernel, uint32_t *param, npfbixn_fn **swap);
/* run variant: two-buffer kernels */
uint32_t qvimdatauint2modexxf16(const qvimage *image, uint32_t direction, uint32_t datatype, npfbix_fn **kernel, uint32_t *param);
uint32_t qvimdatauint2modexxfapy(const qvimage *image, uint32_t direction, uint32_t datatype, npfbix_fn **kernel, uint32_t *param);
uint32_t qvimdatauint2modexxswabf16(const qvimage *image, uint32_t direction, uint32_t datatype, npfbix_fn **kernel, uint32_t *param, npfbix_fn **swap);
uint32_t qvimdatauint2modexxswabfapy(const qvimage *image, uint32_t direction, uint32_t datatype, npfbix_fn **kernel, uint32_t *param, npfbix_fn **swap);
/* 3-D twins that only the Conventions sentence asks for; records agree byte for byte, so these are aliases */
uint32_t qvim3datauintmodexxf16(const qvimage3 *image, uint32_t direction, uint32_t datatype, npfbixn_fn **kernel, uint32_t *param);
uint32_t qvim3datauintmodexxfapy(const qvimage3 *image, uint32_t direction, uint32_t datatype, npfbixn_fn **kernel, uint32_t *param);
uint32_t qvim3datauintmodexxswabf16(const qvimage3 *image, uint32_t direction, uint32_t datatype, npfbixn_fn **kernel, uint32_t *param, npfbixn_fn **swap);
uint32_t qvim3datauintmodexxswabfapy(const qvimage3 *image, uint32_t direction, uint32_t datatype, npfbixn_fn **kernel, uint32_t *param, npfbixn_fn **swap);
uint32_t qvim3datauint2modexxf16(const qvimage3 *image, uint32_t direction, uint32_t datatype, npfbix_fn **kernel, uint32_t *param);
uint32_t qvim3datauint2modexxfapy(const qvimage3 *image, uint32_t direction, uint32_t datatype, npfbix_fn **kernel, uint32_t *param);
uint32_t qvim3datauint2modexxswabf16(const qvimage3 *image, uint32_t direction, uint32_t datatype, npfbix_fn **kernel, uint32_t *param, npfbix_fn **swap);
uint32_t qvim3datauint2modexxswabfapy(const qvimage3 *image, uint32_t direction, uint32_t datatype, npfbix_fn **kernel, uint32_t *param, npfbix_fn **swap);
int32_t qvimselectpfbixfunc(int64_t srcstride, int64_t dststride, uint32_t srctype, uint32_t dsttype, uint32_t direction,
                            uint32_t srcbits, uint32_t dstbits, uint32_t mode, npfbix_fn **kernel, uint32_t *shift, uint32_t *mask);

QVIM_END_DECLS

#endif
