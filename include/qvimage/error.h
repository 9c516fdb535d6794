/* Error codes. Every function that can fail returns one of these negative numbers; zero and positive results
 * are successes, often counts. Operations in several steps return the worst (most negative) code they met. */
#ifndef QVIMAGE_ERROR_H
#define QVIMAGE_ERROR_H

#include <qvimage/base.h>

/* QVERR_USAGE (-1) to QVERR_HANDLE (-64): the list tells their numbers, names and texts. */
enum {
#define QVIM_ERROR(number, name, text) name = number,
#include <qvimage/errors.inc>
#undef QVIM_ERROR
};

QVIM_BEGIN_DECLS

/* The English message of a code: static text, never freed. Null for codes >= 0; "Unknown error" for a
 * negative code without a message of its own. A code whose magnitude has bit 0x4000 set is looked up without
 * it. */
const char *qverrnomesg(int32_t code);

/* Bytes of the longest reason with its terminator. */
enum { QVIM_REASON_SIZE = 256 };

/* Why the calling thread's last call failed, in words: "page 3, strip 12 at byte 40960: LZW code 413 before
 * it is defined". Constructors and functions that work on files set it: after a failure it is never empty,
 * after a success it is "". A transfer (ioread, iorite, block transfers) that fails to read or write a file
 * sets it, too; one that succeeds leaves it, so that it can be asked for after a short count; see aeiou 'e'.
 * So do functions that only free, close or ask.
 *
 * Pages, strips, rows and samples count from 1 in these words, as people count them, and from 0 in all
 * arguments; bytes of a file count from 0 in both. The words are for people: they may change, the codes do
 * not.
 *
 * Never null, at most QVIM_REASON_SIZE bytes with the terminator, longer ones cut off. The text belongs to
 * the thread and is valid until its next call into the library. Allocates nothing. */
const char *qvimage_reason(void);

QVIM_END_DECLS

#endif
