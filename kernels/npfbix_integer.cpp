// Integer to integer kernels of different widths or with an operation.
#include "kernels/operations.hpp"
#include "kernels/run.hpp"

#define QVIM_INTEGER(name, S, D, from, to, operation)                                                   \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, [[maybe_unused]] int64_t srcstride,     \
                                    [[maybe_unused]] int64_t dststride, uint64_t count, uint32_t shift, \
                                    uint32_t mask) {                                                    \
    qvim::run<S, D>(src, dst, from, to, count, qvim::operation<S, D>(shift, mask));                     \
  }
#define QVIM_TWO_RUNS(name, T, operation)                                                             \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, int64_t srcstride, int64_t dststride, \
                                    uint64_t count) {                                                 \
    qvim::run<T, T>(src, dst, srcstride, dststride, count, qvim::operation<T, T>(0, 0));              \
  }
#include <qvimage/members/npfbix.inc>
