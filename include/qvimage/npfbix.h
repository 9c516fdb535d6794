/* Data-type conversion kernels. */
#ifndef QVIMAGE_NPFBIX_H
#define QVIMAGE_NPFBIX_H

#include <qvimage/kernel.h>

QVIM_BEGIN_DECLS

#define QVIM_MEMBER(name, form) form name;
#include <qvimage/members/npfbix.inc>

npfbix_fn *npfbix_ztoz_n_func(uint32_t itemsize);
uint64_t npfbit8_count(const void *buffer, uint64_t bytes);
void npfbyte_pack(void *dst, const void *src, uint64_t itemsize, uint64_t count, int64_t dststride, int64_t srcstride);
void npfbyte_repl(void *dst, const void *pattern, uint64_t patternsize, uint64_t count);
void npfbyte_transpose(void *buffer, uint64_t rowsize, uint64_t rows, void *scratch);
void npfbyte_exchange(void *a, void *b, uint64_t length, uint64_t count, int64_t stridea, int64_t strideb);

QVIM_END_DECLS

#endif
