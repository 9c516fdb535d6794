/* Allocation wrappers: every buffer that the library allocates or frees goes through them. */
#ifndef QVIMAGE_ALLOC_H
#define QVIMAGE_ALLOC_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

void *qvmalloc(uint64_t n);     void *qvmallocz(uint64_t n);    void *qvrealloc(void *p, uint64_t n);
void  qvfree(void *p);          void  qvfreep(void *pp);
void *qvmallocf16(uint64_t n);  void *qvmallocfapy(uint64_t n);
void  qvfreef16(void *p);       void  qvfreefapy(void *p);      void  qvfreef16p(void *pp);
char *qvmalstrdup(const char *s);

QVIM_END_DECLS

#endif
