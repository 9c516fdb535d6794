/* npfclx */
#ifndef QVIMAGE_NPFCLX_H
#define QVIMAGE_NPFCLX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

QVIM_END_DECLS

#endif
