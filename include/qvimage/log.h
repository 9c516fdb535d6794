/* Tracing: one line a call, with the values of chosen arguments, in a file that the environment names.
 *
 * Nothing is written while logging is off, and a traced call costs a load and a branch. The file is
 * opened and closed around every line, and a line is one write: lines of several threads and processes do not
 * mix, and the file may be removed at any time. Every failure is silent: a line that cannot be written or has
 * no memory is lost, nothing else happens. errno stays as it is.
 *
 * All functions may be called from any thread, but from no signal handler, and on both sides of a fork.
 * Programs that run with more rights than their caller never log: the caller's environment must not name
 * files for them. */
#ifndef QVIMAGE_LOG_H
#define QVIMAGE_LOG_H

#include <qvimage/base.h>

QVIM_BEGIN_DECLS

/* 0 while logging is off, else the level given to liblog_setup, plus 1. To be read only; QVIMAGE_TRACE reads
 * it in the way that other threads need. */
extern int32_t liblog_active;

/* An empty string, for callers whose line has no values. */
extern const char *const liblog_null;

/* What liblog_setup does, in this order; other bits are ignored. */
#define LIBLOG_REGISTER 0x0800 /* each name that is not known yet is copied from the argument, unless null */
#define LIBLOG_ENABLE 0x0001   /* unless a file is known: the file that the environment names, if any */
#define LIBLOG_HEADER 0x4000  /* when on: an empty line, and when the library was built and what time it is */
#define LIBLOG_DISABLE 0x0008 /* off; the file is forgotten */
#define LIBLOG_UNREGISTER \
  0x8000 /* forgets names that equal the arguments; off when none of the three is left */

/* Turns logging on and off. The variable of the environment is the registered `envname`, else
 * QUORLAN_LOGGING. Its value is the file's path; it is opened for appending as a test, and when that fails
 * logging stays off. `level`: only lines with at least so many "!" in their fields are written. `appname` and
 * `keypath` are kept and compared, nothing else. All strings may be null and are copied. LIBLOG_UNREGISTER
 * makes `flags` negative: cast it. */
void liblog_setup(int16_t flags, const char *appname, const char *keypath, const char *envname,
                  uint32_t level);

/* Writes the time stamp, 13 digits of milliseconds since 1970 and ": ", and the text as printf makes it; no
 * newline is added. When logging is off, it is turned on from the environment for this call, with the header.
 * Nothing for a null format. */
void liblog_printf(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* Writes a line: time stamp, `function` and `label` (either may be null), values. After `fields` stand a
 * return value (int), if the fields ask for one, then for each value a pointer to it and its size in bytes,
 * of which 32 bits count, then a null pointer (cast it: NULL alone may be an int). Where a field has b and s,
 * the same again follows for the second line: pairs, and a null pointer.
 *
 * `fields` (null: none) is read from left to right:
 *
 *   X...   nothing is written
 *   {      when logging is off, it is turned on from the environment, with the header unless that was written
 *          before; a "}" at the end turns it off again if this call turned it on
 *   !...   the more of them, the higher the line's level: see liblog_setup
 *   A +A   function in 24 columns and label in 10; with "+", or for a longer label, both share 35 columns,
 *          the label to the right. No label leaves them to the function. The same holds without an "A"
 *   R rR   rR: there is a return value; it is shown before the values
 *
 * and then a field a value: any of these letters in small, the last one as a capital. "*" is the field before
 * once more. Values beyond the fields are shown as by a field without letters: as b, "(NULL)" for a size of
 * 0. Fields beyond the values are passed over. Letters work from left to right; k, l, r and z say how, the
 * others what is shown:
 *
 *   d   the signed number of that size, in decimal, exactly (beyond 1024 bytes as b)
 *   j   the unsigned number in hexadecimal, and "h"
 *   f   a float (4 bytes) or double (8) as by "%g", always with a point; other sizes as b
 *   b   two hexadecimal digits a byte
 *   s   the bytes as they are; with b: below each pair of digits, in a second line, the character and "^", or
 *       "??" where it cannot be printed
 *   k   the size first
 *   l   the size is that of the string that begins there
 *   z   the bytes from the last to the first
 *   r   "ret=" first: a value that the function returned */
void liblog_aasrbz(const char *function, const char *label, const char *fields, ...);

/* The same for bytes or a string: with `bytes`, `size` bytes as by "B"; else, with `string`, the number
 * `size` and the string, as by "D" and "lS"; else no value. Bit 0 of `options` puts "{" before the fields,
 * bit 3 "}" behind them. */
void liblog_aabzso(const char *function, const char *label, const void *bytes, uint64_t size,
                   const char *string, uint32_t options);

/* A traced place: a load and a branch while logging is off. Arguments of liblog_aasrbz; a "{" has no effect.
 *   QVIMAGE_TRACE("grab", "entry", "ADJ", &width, sizeof width, &flags, sizeof flags, (void *)0); */
#define QVIMAGE_TRACE(...)                                                           \
  do {                                                                               \
    if (__builtin_expect(__atomic_load_n(&liblog_active, __ATOMIC_RELAXED) != 0, 0)) \
      liblog_aasrbz(__VA_ARGS__);                                                    \
  } while (0)

QVIM_END_DECLS

#endif
