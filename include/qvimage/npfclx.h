/* npfclx */
#ifndef QVIMAGE_NPFCLX_H
#define QVIMAGE_NPFCLX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

#define QVIM_MEMBER(name, form) form name;
#include <qvimage/members/npfclx.inc>

QVIM_END_DECLS

#endif
