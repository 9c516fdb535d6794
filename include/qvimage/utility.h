/* Small helpers: integers of run-time width, bits, integer mathematics, time, numbered file names. */
#ifndef QVIMAGE_UTILITY_H
#define QVIMAGE_UTILITY_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

int64_t  intsget(const void *p, int32_t width);
uint64_t intuget(const void *p, int32_t width);
int32_t  intsput(void *p, int32_t width, int64_t value);
int32_t  intuput(void *p, int32_t width, uint64_t value);
int32_t  ltoint(int64_t v);
uint32_t ltouint(int64_t v);
int32_t  i0to1(int32_t v);  uint32_t ui0to1(uint32_t v);  int64_t l0to1(int64_t v);  uint64_t ul0to1(uint64_t v);

int32_t  pfbit_count(uint32_t v);
int32_t  pfbit_significant(uint32_t v);
int32_t  pfbit_scan(uint32_t v, int32_t dflt);
int32_t  pfmath_ilog2a(uint32_t v);  int32_t pfmath_ilog2b(uint32_t v);  int32_t pfmath_ilog2e(uint32_t v);
int32_t  pfmath_gcd(int32_t a, int32_t b);
int32_t  pfmath_lcm(int32_t a, int32_t b);

int32_t  systimeinit(int32_t x);
uint64_t systimemsec(void);
int32_t  pathseq(char *name, int32_t n, int32_t ch);
int32_t  pathseqcountrc(const char *name, int32_t ch);

QVIM_END_DECLS

#endif
