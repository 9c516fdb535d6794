// Pixel operation kernels.
#include <qvimage/npfpix.h>

#include "convert/run.hpp"

namespace qvim {
namespace {

// What a kernel finds in word i of its operand block: a value of the pixie's width.
template <class T>
QVIM_INLINE T operand_value(const void *operand, int i) {
  return T(load<uint32_t>(static_cast<const char *>(operand) + 4 * i));
}

template <class T>
struct neg {
  T maximum;
  QVIM_INLINE explicit neg(const void *operand) : maximum(operand_value<T>(operand, 0)) {}
  QVIM_INLINE T operator()(T v) const { return T(maximum - v); }
};

}  // namespace
}  // namespace qvim

#define QVIM_PIX(name, T, operation)                                                              \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(void *buffer, uint64_t count, uint32_t, uint32_t, \
                                                const void *operand) {                            \
    if (!count) return;                                                                           \
    qvim::run_dense<T, T>(static_cast<char *>(buffer), static_cast<char *>(buffer), count,        \
                          qvim::operation<T>(operand));                                           \
  }
#define QVIM_PIX_NOTHING(name, form) \
  extern "C" void QVIM_KERNEL(name)(const void *, uint32_t *, uint64_t) {}
#include <qvimage/members/npfpix.inc>
