/* What every public header starts with: fixed-width types, C linkage and symbol visibility. */
#ifndef QVIMAGE_BASE_H
#define QVIMAGE_BASE_H

#include <stddef.h>
#include <stdint.h>

/* Declarations between these two are C functions of the shared library. */
#ifdef __cplusplus
#define QVIM_BEGIN_DECLS \
  extern "C" {           \
  _Pragma("GCC visibility push(default)")
#define QVIM_END_DECLS          \
  _Pragma("GCC visibility pop") \
  }
#define QVIM_ASSERT(condition) static_assert(condition, #condition)
#else
#define QVIM_BEGIN_DECLS _Pragma("GCC visibility push(default)")
#define QVIM_END_DECLS _Pragma("GCC visibility pop")
#define QVIM_ASSERT(condition) _Static_assert(condition, #condition)
#endif

#endif
