// Loops outside the kernel families that the compiler makes in one version for each processor level; the loader
// chooses. (The families have tables of their own: levels.hpp.) The tests compile them again for a single level: QVIM_LEVEL is then the
// suffix that sets those functions apart.
#pragma once

#if defined(QVIM_LEVEL)
#define QVIM_CLONES
#define QVIM_JOIN_(a, b) a##b
#define QVIM_JOIN(a, b) QVIM_JOIN_(a, b)
#define QVIM_KERNEL(name) QVIM_JOIN(name, QVIM_LEVEL)
#else
#if QVIM_HAVE_CLONES
#define QVIM_CLONES __attribute__((target_clones("default", "arch=x86-64-v3", "arch=x86-64-v4")))
#else
#define QVIM_CLONES
#endif
#define QVIM_KERNEL(name) name
#endif

// What is compiled into a kernel must be part of it, or it would stay at the lowest level.
#define QVIM_INLINE [[gnu::always_inline]] inline

// The loop that follows does not carry values through memory from one round to the next. Clang finds out
// itself.
#ifdef __clang__
#define QVIM_INDEPENDENT
#else
#define QVIM_INDEPENDENT _Pragma("GCC ivdep")
#endif
