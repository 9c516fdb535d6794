/* Colour kernels: runs of pixels from one colour interpretation to another. kernel.h says what holds for all
 * kernels and what the arguments are; the members are in members/npfclx.inc, one a line, and every one of
 * them is declared here.
 *
 * Names: npfclx<width>_<conversion>; the width is 1, 2 or 4 (unsigned integers of so many bytes), f (float)
 * or d (double). Components are numbered in the order in which the conversion's name lists them. Only the
 * components that are named are written, so a fourth one stays as it is.
 *
 *   RGBxtoBGRx_2n    components 0 and 2 exchanged; also in place
 *   YCrCbtoYCbCr     components 1 and 2 exchanged. Called with the same run as source and destination it
 *                    returns without doing so: give it another buffer
 *   BGRLut3toBGRx    one index a pixel becomes the palette's entry of that number; param: the palette, 3
 *                    components of the kernel's width an entry, with an entry for every index that occurs */
#ifndef QVIMAGE_NPFCLX_H
#define QVIMAGE_NPFCLX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

#define QVIM_MEMBER(name, form) form name;
#include <qvimage/members/npfclx.inc>

QVIM_END_DECLS

#endif
