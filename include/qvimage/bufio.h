/* Buffered byte stream: a file, or a store in memory that grows, as one array of bytes with a 64-bit
 * position.
 *
 * One block of the stream is resident at a time: `bufsize` bytes (a power of two) that begin at a multiple of
 * `bufsize`, in memory that begins at a page. A transfer copies between it and the caller's memory, and
 * flushes and loads it at each crossing of a block's boundary; whole blocks in one call go straight between
 * the file and the caller. Codecs work inside the block through bufio_ptr and bufio_ptr2.
 *
 * Failures latch in the record; no transfer returns one. What cannot be read is delivered as zeros, what
 * cannot be written is dropped, the position advances all the same (but not when a store in memory cannot
 * grow), and bufio_err tells once, after a whole header or picture. A block whose read failed is never
 * written back. A write beyond the length fills the gap with zeros.
 *
 * The caller owns the record (160 bytes, naturally aligned) and may read all of its fields, but sets `pos`
 * only, which is how one seeks, and `locking`. It may be moved or embedded, but not while its mutex is held.
 * Between bufio_init and bufio_done it owns a block's memory or the store's, a FILE and the queued writes.
 *
 * A record serves one thread at a time. Threads that share one bracket each group of seek and transfers with
 * bufio_EnterCritical and bufio_LeaveCritical. Directions are the characters 'r' and 'w'.
 * A null record is harmless everywhere but in the tare operations and bufio_ptr2truncate. */
#ifndef QVIMAGE_BUFIO_H
#define QVIMAGE_BUFIO_H

#include <pthread.h>
#include <stdio.h>

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

/* Mode flags of bufio_init. */
#define BUFIO_LIMIT32 0x001u /* a length above 0xFFFFFFFF latches ioerr, for formats with 32-bit offsets */
#define BUFIO_MEMORY 0x002u  /* no file: the bytes live in memory blocks, made as the store grows */
#define BUFIO_NOZERO 0x004u  /* size in bytes; what of a block lies beyond the data is not zero-filled */
#define BUFIO_LOCKED 0x200u  /* make the mutex and lock it in bufio_EnterCritical */

typedef struct bufio {
  uint64_t pos;          /* current position; store into it to seek, every transfer advances it */
  uint64_t bufpos;       /* position of the resident block, a multiple of bufsize */
  uint64_t filelen;      /* length of the data: the file's when opened, raised by writes beyond it */
  uint8_t *bufp;         /* the resident block's bytes */
  void *bufmem;          /* allocation that holds bufp (files only) */
  uint64_t bufsize;      /* block size in bytes, a power of two */
  uint64_t bufshift;     /* its logarithm to base 2 */
  void *memblocks;       /* BUFIO_MEMORY: the store's blocks */
  uint64_t memcap;       /* BUFIO_MEMORY: bytes of all blocks */
  FILE *fp;              /* stream that bufio_init opened; its own buffer is never used */
  int32_t fd;            /* its descriptor */
  void *wqueue;          /* queued writes */
  uint64_t tare;         /* base of relative positions */
  pthread_mutex_t mutex; /* for bufio_EnterCritical, with BUFIO_LOCKED */
  uint8_t locking;       /* non-zero while the mutex is to be used */
  uint32_t modeflags;    /* flags given to bufio_init, without BUFIO_NOZERO when the size was 0 */
  uint8_t dirty;         /* the resident block holds bytes not yet in the file */
  uint8_t valid;         /* the resident block is that of bufpos */
  uint8_t ioerr;    /* latched: I/O failed, file shorter than its length, position or 32-bit limit passed */
  uint8_t eoferr;   /* latched: a read asked for bytes beyond filelen */
  uint8_t memerr;   /* latched: an allocation failed */
  uint8_t chainerr; /* latched: the memory store lacks a block within its length */
  uint8_t ownsfp;   /* fp was opened by bufio_init */
} bufio;
/* 160 bytes where the mutex has 40 (x86-64), 168 where it has 48 (aarch64); 104 before it on both. */
QVIM_ASSERT(sizeof(bufio) == 120 + sizeof(pthread_mutex_t));
QVIM_ASSERT(offsetof(bufio, mutex) == 104);

/* Clears the record and opens a file with fopen(path, fopenmode), or an empty memory store (BUFIO_MEMORY;
 * path and fopenmode are ignored). `size` is the logarithm to base 2 of the block size; with BUFIO_NOZERO it
 * is the block size in bytes, rounded up to a power of two; 0 stands for 64 KiB and drops BUFIO_NOZERO. 0,
 * or: -1 null record, path or mode, or blocks over 2^47 bytes; -2 no memory for the block (the file has not
 * been touched then); -14 the file cannot be opened and the mode begins with 'w'; -13 it cannot be opened
 * otherwise. After a failure the record holds nothing. */
int32_t bufio_init(bufio *b, const char *path, const char *fopenmode, uint64_t size, uint32_t flags);

/* Moves `count` bytes between `data` and the stream at `pos`, which advances by `count`. Bytes read from
 * beyond the length are zeros and latch eoferr; bytes written there extend it. Null data only makes the block
 * of `pos` resident (for 'r', eoferr when pos + count lies beyond the length) and, for 'w' in memory, lets
 * the store grow to pos + count. Non-null data with count 0 does nothing. */
void bufio_io(bufio *b, void *data, uint64_t count, int32_t dir);

/* Writes the resident block to the file if it is dirty, never beyond the length. */
void bufio_flush(bufio *b);

/* Advances `pos`; a wrap past 2^64 latches ioerr. */
void bufio_seekplus(bufio *b, uint64_t delta);

/* The byte at `pos`, 0 to 255, and one step forward; -1 at or beyond the length, which latches nothing. */
int32_t bufio_getc(bufio *b);

/* One step back: 0, or -1 at position 0. */
int32_t bufio_ungetc(bufio *b);

/* Writes one byte. */
void bufio_putc(bufio *b, uint8_t c);

/* Pointer to `count` bytes at `pos` inside the resident block, without any I/O, and `pos` advances by count;
 * null when the block of `pos` is not resident, when the bytes do not fit before its end, or, for 'r', before
 * the length. For 'w' the bytes count as written: fill them. Valid until the next call that may load a block.
 */
uint8_t *bufio_ptr(bufio *b, uint64_t count, int32_t dir);

/* Makes the block of `pos` resident and sets *out to its bytes at `pos`. Returns how many were taken, by
 * which `pos` advances: for 'w' count or what is left of the block, to be filled by the caller (or given back
 * through bufio_ptr2truncate); for 'r' all that is left of the block or of the data, whatever count says. 0,
 * and *out untouched, for a null record, at or beyond the length for 'r', and when the block could not be had
 * (latched). */
uint64_t bufio_ptr2(bufio *b, uint64_t count, int32_t dir, uint8_t **out);

/* Sets `pos` and the length. The file takes this length at bufio_done; bytes that were cut off never come
 * back, and bytes that a greater length adds are zeros. */
void bufio_ptr2truncate(bufio *b, uint64_t len);

/* The tare is the base of relative positions, such as the start of a picture inside a container. */
void bufio_tareset(bufio *b, uint64_t t); /* pos = tare = t */
void bufio_tareclr(bufio *b);             /* tare = 0, pos stays */
void bufio_inctare(bufio *b, uint64_t d); /* pos = tare += d */
void bufio_dectare(bufio *b, uint64_t d); /* pos = tare -= d */

/* Keeps a copy of the bytes, to be written at tare + relpos (of now) by bufio_queueflush or bufio_done.
 * 0; -1 for a null record, for null data, or when tare + relpos passes 2^64 (which also latches ioerr); -2
 * when memory is short. */
int32_t bufio_queuewrite(bufio *b, uint64_t relpos, const void *data, uint64_t count);

/* Writes and drops all queued writes, oldest first; `pos` stays. */
void bufio_queueflush(bufio *b);

/* What has failed since bufio_init or bufio_errclear, also after bufio_done: -1 null record; -7 ioerr; -10
 * eoferr; -2 memerr; -5 chainerr; the first of these that applies, else 0. */
int32_t bufio_err(bufio *b);

/* Clears ioerr and eoferr; memerr and chainerr stay latched. */
void bufio_errclear(bufio *b);

/* Lock and unlock the record's mutex while `locking` is set, as BUFIO_LOCKED does. The mutex is recursive: a
 * thread that holds it may go on to read and write images over the stream. */
void bufio_EnterCritical(bufio *b);
void bufio_LeaveCritical(bufio *b);

/* Writes queued writes and the dirty block, gives the file its length, closes it and frees
 * all memory. The error flags stay and include what failed here; ask bufio_err. A second call does nothing.
 */
void bufio_done(bufio *b);

QVIM_END_DECLS

#endif
