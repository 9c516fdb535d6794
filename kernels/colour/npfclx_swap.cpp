// Components copied or exchanged, and indices replaced by palette entries.
#include "kernels/colour/exchange.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

template <class T>
QVIM_INLINE void exchange_0_2(const void *src, void *dst, uint64_t srcstride, uint64_t dststride,
                              uint64_t count) {
  exchange<T, 0, 2>(src, dst, srcstride, dststride, count);
}

// By definition it does nothing when called in place.
template <class T>
QVIM_INLINE void exchange_1_2(const void *src, void *dst, uint64_t srcstride, uint64_t dststride,
                              uint64_t count) {
  if (src != dst || srcstride != dststride) exchange<T, 1, 2>(src, dst, srcstride, dststride, count);
}

// A pad on both sides, or doubles that are not packed, are what exchanges are good at.
template <class T>
QVIM_INLINE void copy_3(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, uint64_t count) {
  constexpr uint64_t packed = 3 * sizeof(T), padded = 4 * sizeof(T);
  const bool both_padded = srcstride == padded && dststride == padded,
             both_packed = srcstride == packed && dststride == packed;
  if (moved_alone<T> ? !both_packed : QVIM_LANES && both_padded)
    return exchange<T, 0, 0>(src, dst, srcstride, dststride, count);
  move_pixels<3 * sizeof(T)>(static_cast<const char *>(src), static_cast<char *>(dst), int64_t(srcstride),
                             int64_t(dststride), count);
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_CLX_MOVE(name, T, operation)                                                               \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, \
                                    uint64_t count, uint32_t, const void *) {                           \
    qvim::operation<T>(src, dst, srcstride, dststride, count);                                          \
  }
#define QVIM_CLX_PACKED(name, T, components)                                                             \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t, uint64_t, uint64_t count,      \
                                    uint32_t, const void *) {                                            \
    qvim::exchange_packed<T, components, 0, 2>(static_cast<const char *>(src), static_cast<char *>(dst), \
                                               count);                                                   \
  }
#include <qvimage/members/npfclx.inc>
