/* npfpix */
#ifndef QVIMAGE_NPFPIX_H
#define QVIMAGE_NPFPIX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

#define QVIM_MEMBER(name, form) form name;
#include <qvimage/members/npfpix.inc>

QVIM_END_DECLS

#endif
