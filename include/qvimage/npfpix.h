/* Pixel operation kernels: operations on the values of runs of pixies, in place or from run to run. kernel.h
 * says what holds for all kernels and what the arguments are; the members are in members/npfpix.inc, one a
 * line, and every one of them is declared here.
 *
 * Names: npfpix<width>_<operation>, the width in bytes of the unsigned pixies. w0, w1, ... are the words of
 * the operand block, of which kernels of narrower pixies use the low-order bytes; results are stored modulo
 * 2^(8 width).
 *
 *   neg          w0 - v, w0 being the largest value
 *
 * npftwo14_stub and npftwo24_stub do nothing. */
#ifndef QVIMAGE_NPFPIX_H
#define QVIMAGE_NPFPIX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

#define QVIM_MEMBER(name, form) form name;
#include <qvimage/members/npfpix.inc>

QVIM_END_DECLS

#endif
