// Loops outside the kernel families that the compiler makes in one version for each processor level; the
// loader chooses. (The families have tables of their own: levels.hpp.) The tests compile them again for a
// single level: QVIM_CLONE_LEVEL is then the suffix that sets those functions apart.
#pragma once

#include "kernels/level.hpp"

#if defined(QVIM_CLONE_LEVEL)
#define QVIM_CLONES
#define QVIM_CLONE_JOIN_(a, b) a##b
#define QVIM_CLONE_JOIN(a, b) QVIM_CLONE_JOIN_(a, b)
#define QVIM_CLONE(name) QVIM_CLONE_JOIN(name, QVIM_CLONE_LEVEL)
#else
#if QVIM_HAVE_CLONES
#define QVIM_CLONES __attribute__((target_clones("default", "arch=x86-64-v3", "arch=x86-64-v4")))
#else
#define QVIM_CLONES
#endif
#define QVIM_CLONE(name) name
#endif
