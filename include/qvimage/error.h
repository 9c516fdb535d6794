/* Error codes. Every function that can fail returns one of these negative numbers; zero and positive results
 * are successes, often counts. Operations in several steps return the worst (most negative) code they met. */
#ifndef QVIMAGE_ERROR_H
#define QVIMAGE_ERROR_H

#include <qvimage/base.h>

/* The codes that this library produces by itself; qverrnomesg knows the text of these and of all others. */
enum {
  QVERR_USAGE = -1,        /* bad arguments */
  QVERR_MEMORY = -2,       /* allocation failed, or a size that cannot be had */
  QVERR_LOGIC = -5,        /* a view over itself, a broken chain */
  QVERR_IO = -7,           /* a file could not be read or written */
  QVERR_FORMAT = -10,      /* the file is not what it says it is */
  QVERR_UNSUPPORTED = -11, /* valid, but not provided here */
  QVERR_NOTFOUND = -13,    /* no such file */
  QVERR_NOTCREATED = -14,  /* the file cannot be created */
  QVERR_SPACE = -15,       /* a table or an extent is too small */
  QVERR_DATATYPE = -19,    /* this data type is not served */
  QVERR_COLOUR = -21,      /* this selection of components is not served */
  QVERR_HANDLE = -64       /* the handle is of another kind, or destroyed */
};

QVIM_BEGIN_DECLS

/* The English message of a code: static text, never freed. Null for codes >= 0; "Unknown error" for a
 * negative code without a message of its own. A code whose magnitude has bit 0x4000 set is looked up without
 * it. */
const char *qverrnomesg(int32_t code);

QVIM_END_DECLS

#endif
