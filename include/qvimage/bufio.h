/* Buffered byte stream over a file or a growing memory store. */
#ifndef QVIMAGE_BUFIO_H
#define QVIMAGE_BUFIO_H

#include <pthread.h>
#include <stdio.h>
#include <qvimage/base.h>

QVIM_BEGIN_DECLS

#define BUFIO_LIMIT32 0x001u
#define BUFIO_MEMORY 0x002u
#define BUFIO_NOZERO 0x004u
#define BUFIO_LOCKED 0x200u

typedef struct bufio {              /* 160 bytes with glibc's 40-byte mutex, natural alignment */
  uint64_t        pos, bufpos, filelen;      /*   0,   8,  16 */
  uint8_t        *bufp;                      /*  24 */
  void           *bufmem;                    /*  32 */
  uint64_t        bufsize, bufshift;         /*  40,  48 */
  void           *memblocks;                 /*  56 */
  uint64_t        memcap;                    /*  64 */
  FILE           *fp;                        /*  72 */
  int32_t         fd;                        /*  80 (4 bytes of padding follow) */
  void           *wqueue;                    /*  88 */
  uint64_t        tare;                      /*  96 */
  pthread_mutex_t mutex;                     /* 104 */
  uint8_t         locking;                   /* 144 (3 bytes of padding follow) */
  uint32_t        modeflags;                 /* 148 */
  uint8_t         dirty, valid, ioerr, eoferr, memerr, chainerr, ownsfp;   /* 152..158 */
} bufio;
QVIM_ASSERT(sizeof(bufio) == 160);
QVIM_ASSERT(offsetof(bufio, mutex) == 104);

int32_t  bufio_init(bufio *b, const char *path, const char *fopenmode, uint64_t size, uint32_t flags);
void     bufio_io(bufio *b, void *data, uint64_t count, int32_t dir);
void     bufio_flush(bufio *b);
void     bufio_seekplus(bufio *b, uint64_t delta);
int32_t  bufio_getc(bufio *b);
int32_t  bufio_ungetc(bufio *b);
void     bufio_putc(bufio *b, uint8_t c);
uint8_t *bufio_ptr(bufio *b, uint64_t count, int32_t dir);
uint64_t bufio_ptr2(bufio *b, uint64_t count, int32_t dir, uint8_t **out);
void     bufio_ptr2truncate(bufio *b, uint64_t len);
void     bufio_tareset(bufio *b, uint64_t t);
void     bufio_tareclr(bufio *b);
void     bufio_inctare(bufio *b, uint64_t d);
void     bufio_dectare(bufio *b, uint64_t d);
int32_t  bufio_queuewrite(bufio *b, uint64_t relpos, const void *data, uint64_t count);
void     bufio_queueflush(bufio *b);
int32_t  bufio_err(bufio *b);
void     bufio_errclear(bufio *b);
void     bufio_EnterCritical(bufio *b);
void     bufio_LeaveCritical(bufio *b);
void     bufio_done(bufio *b);

QVIM_END_DECLS

#endif
