/* Error codes. Every function that can fail returns one of these negative numbers; zero and positive results
 * are successes, often counts. Operations in several steps return the worst (most negative) code they met. */
#ifndef QVIMAGE_ERROR_H
#define QVIMAGE_ERROR_H

#include <qvimage/base.h>

/* The codes that this library produces by itself; qverrnomesg knows the text of these and of all others. */
enum {
  QVERR_USAGE = -1,         /* bad arguments */
  QVERR_MEMORY = -2,        /* allocation failed, or a size that cannot be had */
  QVERR_LOGIC = -5,         /* a view over itself, a broken chain */
  QVERR_IO = -7,            /* a file could not be read or written */
  QVERR_FORMAT = -10,       /* the file is not what it says it is */
  QVERR_UNSUPPORTED = -11,  /* valid, but not provided here */
  QVERR_NOTFOUND = -13,     /* no such file */
  QVERR_NOTCREATED = -14,   /* the file cannot be created */
  QVERR_SPACE = -15,        /* a table or an extent is too small */
  QVERR_DATATYPE = -19,     /* this data type is not served */
  QVERR_COLOUR = -21,       /* this selection of components is not served */
  QVERR_NOTINSTALLED = -27, /* what it stands on is not there */
  QVERR_X11 = -49,          /* pixels behind X11 could not be reached */
  QVERR_CODING = -63,       /* data that a code cannot express */
  QVERR_HANDLE = -64        /* the handle is of another kind, or destroyed */
};

QVIM_BEGIN_DECLS

/* The English message of a code: static text, never freed. Null for codes >= 0; "Unknown error" for a
 * negative code without a message of its own. A code whose magnitude has bit 0x4000 set is looked up without
 * it. */
const char *qverrnomesg(int32_t code);

/* Bytes of the longest reason with its terminator. */
enum { QVIM_REASON_SIZE = 256 };

/* Why the calling thread's last call failed, in words: "page 3, strip 12 at byte 40960: LZW code 413 before it is
 * defined". Constructors and functions that work on files set it: after a failure it is never empty, after a
 * success it is "". A transfer (ioread, iorite, block transfers) that fails to read or write a file sets it, too;
 * one that succeeds leaves it, so that it can be asked for after a short count; see aeiou 'e'. So do functions that
 * only free, close or ask.
 *
 * Pages, strips, rows and samples count from 1 in these words, as people count them, and from 0 in all arguments;
 * bytes of a file count from 0 in both. The words are for people: they may change, the codes do not.
 *
 * Never null, at most QVIM_REASON_SIZE bytes with the terminator, longer ones cut off. The text belongs to the thread
 * and is valid until its next call into the library. Allocates nothing. */
const char *qvimage_reason(void);

QVIM_END_DECLS

#endif
