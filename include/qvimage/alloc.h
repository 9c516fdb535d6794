/* Allocation wrappers: every buffer that the library allocates or frees goes through them. A buffer handed to
 * the caller is freed by the wrapper that the function's documentation names.
 *
 * All functions here may be called from any thread. None aborts: memory that cannot be had is a null pointer,
 * which functions with a result code turn into QVERR_MEMORY. */
#ifndef QVIMAGE_ALLOC_H
#define QVIMAGE_ALLOC_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

/* n bytes, uninitialised; null for n = 0 (not a failure) and when they cannot be had. Freed by qvfree. */
void *qvmalloc(uint64_t n);

/* The same, filled with zeros. */
void *qvmallocz(uint64_t n);

/* Changes the size of what p points to (null: allocates) and returns its new place; null when that cannot be
 * done, p is then unchanged and still the caller's. n = 0 with a null p answers null; n = 0 with another p
 * does what the C library's realloc does with 0: do not rely on it. */
void *qvrealloc(void *p, uint64_t n);

/* Frees what qvmalloc, qvmallocz, qvrealloc or qvmalstrdup returned; null is welcome. */
void qvfree(void *p);

/* Frees what the pointer at address pp points to and sets that pointer to null. Nothing for a null pp. */
void qvfreep(void *pp);

/* Pixel buffers: as qvmalloc, aligned to 16 bytes, which suits every pixie type. The two are the same
 * function under two names, as are the two that free. */
void *qvmallocf16(uint64_t n);
void *qvmallocfapy(uint64_t n);

/* Frees what qvmallocf16 or qvmallocfapy returned; null is welcome. */
void qvfreef16(void *p);
void qvfreefapy(void *p);

/* Frees the pixel buffer that the pointer at address pp points to and sets that pointer to null. */
void qvfreef16p(void *pp);

/* A copy of the string, freed by qvfree; null for a null string and when memory is short. */
char *qvmalstrdup(const char *s);

QVIM_END_DECLS

#endif
