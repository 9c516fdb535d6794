// One version of a kernel for each processor level, chosen when the library is loaded. Kernel files know
// nothing else about processors. The tests compile them again for a single level: QVIM_LEVEL is then the
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

// Is this the version for the library, on a processor that takes any bytes of a vector of 64 to any places,
// reverses their bits, shifts pairs of words and sums products of words? No processor level includes that, so
// the loops are functions of their own, of target QVIM_WIDE, beside the levels' versions, which the tests
// thus reach, too. Builds with a sanitizer, which have no levels, have them all the same.
#if !defined(QVIM_LEVEL) && defined(__x86_64__)
#define QVIM_HAVE_WIDE 1
#define QVIM_WIDE_TARGET "avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,avx512vnni,gfni"
#define QVIM_WIDE [[gnu::target(QVIM_WIDE_TARGET)]]
#define QVIM_IS_WIDE                                                                \
  (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&      \
   __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2") && \
   __builtin_cpu_supports("avx512vnni") && __builtin_cpu_supports("gfni"))
#else
#define QVIM_HAVE_WIDE 0
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
