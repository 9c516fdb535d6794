/* npfpix */
#ifndef QVIMAGE_NPFPIX_H
#define QVIMAGE_NPFPIX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

QVIM_END_DECLS

#endif
