// What a kernel file knows about processors: it is compiled once for each level (cmake/levels.cmake), and
// QVIM_LEVEL is the suffix that sets the functions of that version apart.
#pragma once

#ifndef QVIM_LEVEL
#define QVIM_LEVEL no_level  // headers used elsewhere
#endif
#define QVIM_JOIN_(a, b) a##_##b
#define QVIM_JOIN(a, b) QVIM_JOIN_(a, b)
#define QVIM_KERNEL(name) QVIM_JOIN(name, QVIM_LEVEL)

// Can this version take any bytes of a vector of 64 to any places, reverse their bits, shift pairs of words
// and sum products of words?
#if defined(__AVX512VBMI__) && defined(__AVX512VBMI2__) && defined(__AVX512VNNI__) && defined(__GFNI__)
#define QVIM_HAVE_WIDE 1
#else
#define QVIM_HAVE_WIDE 0
#endif

// Functions of kernels are part of them: one that is shared by several files, as the linker would have it,
// could be one of a higher level than the processor's.
#define QVIM_INLINE [[gnu::always_inline]] inline

// The loop that follows does not carry values through memory from one round to the next. Clang finds out
// itself.
#ifdef __clang__
#define QVIM_INDEPENDENT
#else
#define QVIM_INDEPENDENT _Pragma("GCC ivdep")
#endif
