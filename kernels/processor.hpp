// Processor levels by name and number, lowest first, and which of them is in use. Needs nothing of the
// library, so that the tool and the benchmarks say what the library has chosen.
#pragma once

#include <cstdlib>
#include <cstring>
#include <iterator>

namespace qvim {

// Calls a macro with each level, lowest first, and what else it takes.
#if defined(__x86_64__)
#define QVIM_EACH_LEVEL(of, ...) \
  of(sse2, __VA_ARGS__) of(avx2, __VA_ARGS__) of(avx512, __VA_ARGS__) of(avx512vbmi, __VA_ARGS__)
#elif defined(__aarch64__)
#define QVIM_EACH_LEVEL(of, ...) of(neon, __VA_ARGS__)
#else
#define QVIM_EACH_LEVEL(of, ...) of(plain, __VA_ARGS__)
#endif

#define QVIM_LEVEL_NAME(level, ...) #level,
inline constexpr const char *level_names[] = {QVIM_EACH_LEVEL(QVIM_LEVEL_NAME, )};
inline constexpr int level_count = int(std::size(level_names));

#if defined(__x86_64__)

// The highest level that this processor, and its operating system, have.
inline int highest_level() {
  __builtin_cpu_init();
#define QVIM_HAS(feature) (__builtin_cpu_supports(feature) != 0)
  if (!(QVIM_HAS("avx2") && QVIM_HAS("bmi") && QVIM_HAS("bmi2") && QVIM_HAS("fma"))) return 0;
  if (!(QVIM_HAS("avx512f") && QVIM_HAS("avx512bw") && QVIM_HAS("avx512cd") && QVIM_HAS("avx512dq") &&
        QVIM_HAS("avx512vl")))
    return 1;
  return QVIM_HAS("avx512vbmi") && QVIM_HAS("avx512vbmi2") && QVIM_HAS("avx512vnni") && QVIM_HAS("gfni") ? 3
                                                                                                         : 2;
#undef QVIM_HAS
}
#else
inline int highest_level() { return 0; }
#endif

// The highest level up to the one that the environment variable QVIMAGE_LEVEL names; another name limits
// nothing.
inline int level_in_use() {
  const int highest = highest_level();
  if (const char *limit = std::getenv("QVIMAGE_LEVEL"))
    for (int i = 0; i < highest; ++i)
      if (!std::strcmp(limit, level_names[i])) return i;
  return highest;
}

}  // namespace qvim
