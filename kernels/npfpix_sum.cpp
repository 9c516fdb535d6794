// Kernels of frame averages: pixies added to 32-bit sums, and sums made pixies again.
#include <qvimage/npfpix.h>

#include "kernels/pixel/means.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

template <class T>
QVIM_INLINE void add_to_sums(const void *pixies, uint32_t *sums, uint64_t count) {
  auto src = static_cast<const char *>(pixies);
  auto dst = reinterpret_cast<char *>(sums);
  QVIM_INDEPENDENT
  for (uint64_t i = 0; i < count; ++i)
    store(dst + 4 * i, load<uint32_t>(dst + 4 * i) + load<T>(src + i * sizeof(T)));
}

template <class T, class Operation>
QVIM_INLINE void finish(const uint32_t *sums, void *pixies, uint64_t count, const void *operand) {
  if (!count) return;
  auto src = reinterpret_cast<const char *>(sums);
  auto dst = static_cast<char *>(pixies);
  with_operation<Operation>(
      operand, [=](const auto &operation)
                   __attribute__((always_inline)) { run_dense<uint32_t, T>(src, dst, count, operation); });
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_PIX_ADD(name, T)                                                             \
  extern "C" void QVIM_KERNEL(name)(const void *pixies, uint32_t *sums, uint64_t count) { \
    qvim::add_to_sums<T>(pixies, sums, count);                                            \
  }
#define QVIM_PIX_FINISH(name, T, operation)                                                       \
  extern "C" void QVIM_KERNEL(name)(const uint32_t *sums, uint64_t, void *pixies, uint64_t count, \
                                    const void *operand) {                                        \
    qvim::finish<T, qvim::operation<T>>(sums, pixies, count, operand);                            \
  }
#define QVIM_PIX_NOTHING(name, form)
#include <qvimage/members/npfpix.inc>
