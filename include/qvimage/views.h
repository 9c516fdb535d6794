/* Views: an image presented in another way. */
#ifndef QVIMAGE_VIEWS_H
#define QVIMAGE_VIEWS_H

#include <qvimage/record.h>

QVIM_BEGIN_DECLS

int32_t qvimage_converter(qvimage *image, qvimage *source, const qvimagedata *data, uint8_t sharewindow, uint8_t maskundefined, uint8_t bits, uint8_t mode);
int32_t qvimage3_converter(qvimage3 *image, qvimage3 *source, const qvimagedata *data, uint8_t sharewindow, uint8_t maskundefined, uint8_t bits, uint8_t mode);
int32_t qvimage_def2from3(qvimage *image, qvimage3 *source, uint32_t xaxis, uint32_t yaxis, int32_t plane, uint8_t flags);

QVIM_END_DECLS

#endif
