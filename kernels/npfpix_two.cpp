// Pixel operation kernels from run to run.
#include <qvimage/npfpix.h>

#include "kernels/pixel/arithmetic.hpp"
#include "kernels/pixel/bits.hpp"
#include "kernels/pixel/curves.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

template <class T, class Operation>
QVIM_INLINE void two_runs(const void *src, void *dst, int64_t srcstride, int64_t dststride, uint64_t count,
                          const void *operand) {
  if (!count) return;
  with_operation<Operation>(
      operand, [=](const auto &operation) __attribute__((always_inline)) {
        run<T, T>(src, dst, srcstride, dststride, count, operation);
      });
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_PIX_TWO(name, T, from, to, operation)                                                  \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, [[maybe_unused]] int64_t srcstride, \
                                    [[maybe_unused]] int64_t dststride, uint64_t count,             \
                                    const void *operand) {                                          \
    qvim::two_runs<T, qvim::operation<T>>(src, dst, from, to, count, operand);                      \
  }
#include <qvimage/members/npfpix.inc>
