/* Small helpers: integers of run-time width, bits, integer mathematics, time, numbered file names.
 *
 * None of them keeps state: any thread may call. Pointers must not be null unless a function says so. */
#ifndef QVIMAGE_UTILITY_H
#define QVIMAGE_UTILITY_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

/* Integers of 1, 2, 4 or 8 bytes at any address, in the host's byte order. Any other width reads as 0, stores
 * nothing and returns 0. */

/* The integer stored at p, sign-extended or zero-extended. */
int64_t intsget(const void *p, int32_t width);
uint64_t intuget(const void *p, int32_t width);

/* Stores the value's low bytes at p. Returns 1 when the width holds the value, 0 when it lost bits (they are
 * stored cut off all the same). */
int32_t intsput(void *p, int32_t width, int64_t value);
int32_t intuput(void *p, int32_t width, uint64_t value);

/* The nearest value that fits 32 bits: -2147483648 to 2147483647, and 0 to 4294967295. */
int32_t ltoint(int64_t v);
uint32_t ltouint(int64_t v);

/* The argument, or 1 in place of 0: a divisor that is safe. */
int32_t i0to1(int32_t v);
uint32_t ui0to1(uint32_t v);
int64_t l0to1(int64_t v);
uint64_t ul0to1(uint64_t v);

/* The number of bits that are set. */
int32_t pfbit_count(uint32_t v);

/* The number of bits needed to write v: one more than the index of the highest set bit; 0 for 0. */
int32_t pfbit_significant(uint32_t v);

/* The index of the lowest set bit among bits 0 to 15; dflt when those are all clear, whatever lies above. */
int32_t pfbit_scan(uint32_t v, int32_t dflt);

/* Binary logarithms: rounded down (0 for v < 2); rounded up (0 for v < 2, 32 above 2^31); of exact powers of
 * two only (-1 for all others, 0 included). */
int32_t pfmath_ilog2a(uint32_t v);
int32_t pfmath_ilog2b(uint32_t v);
int32_t pfmath_ilog2e(uint32_t v);

/* Greatest common divisor by Euclid's algorithm; 0 when either argument is 0. With negative arguments its
 * sign is that of the last remainder of truncating division that was not 0. */
int32_t pfmath_gcd(int32_t a, int32_t b);

/* Least common multiple; 0 unless both arguments are positive, and when it is above 2^32 - 1. Cast the result
 * to uint32_t to read those above 2^31 - 1. */
int32_t pfmath_lcm(int32_t a, int32_t b);

/* Returns x; there is nothing to set up. */
int32_t systimeinit(int32_t x);

/* Milliseconds since the epoch by the wall clock, rounded. */
uint64_t systimemsec(void);

/* Numbers a file name: the decimal digits of n >= 0 replace the characters ch of name, the last of them the
 * lowest digit, zeros where n has no more digits; "frame####.tif" with 42 and '#' becomes "frame0042.tif".
 * Returns 1, or 0 when n has more digits than there were places (its low digits are written), or -1 for a
 * null or empty name and for a negative n (nothing is written). */
int32_t pathseq(char *name, int32_t n, int32_t ch);

/* The number of characters ch in name; 0 for a null name. */
int32_t pathseqcountrc(const char *name, int32_t ch);

QVIM_END_DECLS

#endif
