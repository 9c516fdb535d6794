// Colour kernels: conversions of runs of pixels.
#include <qvimage/npfclx.h>

#include "convert/run.hpp"

namespace qvim {
namespace {

template <class T>
struct pixel {
  T c[3];
};

// Pixel by pixel, each read before it is written, so that a run may be converted where it lies.
template <class S, class D>
QVIM_INLINE void pixels(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, uint64_t count,
                        const auto &conversion) {
  auto from = static_cast<const char *>(src);
  auto to = static_cast<char *>(dst);
  for (uint64_t i = 0; i < count; ++i)
    store<D>(to + i * dststride, conversion(load<S>(from + i * srcstride)));
}

template <class T>
struct exchange_0_2 {
  static constexpr bool leaves_same_run = false;
  using source = pixel<T>;
  QVIM_INLINE explicit exchange_0_2(const void *) {}
  QVIM_INLINE pixel<T> operator()(pixel<T> p) const { return {p.c[2], p.c[1], p.c[0]}; }
};

template <class T>
struct exchange_1_2 {
  static constexpr bool leaves_same_run = true;  // by definition: called in place it does nothing
  using source = pixel<T>;
  QVIM_INLINE explicit exchange_1_2(const void *) {}
  QVIM_INLINE pixel<T> operator()(pixel<T> p) const { return {p.c[0], p.c[2], p.c[1]}; }
};

template <class T>
struct palette_of_3 {
  static constexpr bool leaves_same_run = false;
  using source = T;
  const char *table;
  QVIM_INLINE explicit palette_of_3(const void *param) : table(static_cast<const char *>(param)) {}
  QVIM_INLINE pixel<T> operator()(T index) const {
    return load<pixel<T>>(table + uint64_t(index) * sizeof(pixel<T>));
  }
};

template <class T, class Conversion>
QVIM_INLINE void convert_pixels(const void *src, void *dst, uint64_t srcstride, uint64_t dststride,
                                uint64_t count, const void *param) {
  if (Conversion::leaves_same_run && src == dst && srcstride == dststride) return;
  pixels<typename Conversion::source, pixel<T>>(src, dst, srcstride, dststride, count, Conversion(param));
}

}  // namespace
}  // namespace qvim

#define QVIM_CLX(name, T, conversion)                                                           \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t srcstride, \
                                                uint64_t dststride, uint64_t count, uint32_t,   \
                                                const void *param) {                            \
    qvim::convert_pixels<T, qvim::conversion<T>>(src, dst, srcstride, dststride, count, param); \
  }
#include <qvimage/members/npfclx.inc>
