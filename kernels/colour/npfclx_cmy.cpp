// RGB to CMY and CMYK, and back.
#include "kernels/colour/exchange.hpp"
#include "kernels/colour/full_scale.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

// What full scale is, in the type that components are computed in.
template <class T>
struct scale {
  lane_of<T> full;
  QVIM_INLINE explicit scale(const void *bits) {
    if constexpr (std::is_floating_point_v<T>)
      full = 1;
    else
      full = lane_of<T>(full_scale<T>(bits));
  }
};

// Of a component, whichever it is.
template <class T>
struct complement {
  T full;
  QVIM_INLINE explicit complement(const void *bits) : full(T(scale<T>(bits).full)) {}
  QVIM_INLINE T operator()(T v) const { return T(full - v); }
  template <class Bytes>
  QVIM_INLINE Bytes bytes(Bytes v) const {
    typedef T components __attribute__((vector_size(sizeof(Bytes))));
    return (Bytes)(full - (components)v);
  }
};

template <class T, order o>
QVIM_INLINE void complement_pixels(const void *source, void *destination, uint64_t srcstride,
                                   uint64_t dststride, uint64_t run, const void *bits) {
  const complement<T> operation(bits);
  if constexpr (o == order::bgr)
    exchange<T, 0, 2>(source, destination, srcstride, dststride, run, operation);
  else
    packed_blocks<3 * sizeof(T), 3 * sizeof(T)>(
        source, destination, srcstride, dststride,
        run, [&](const char *src, char *dst, uint64_t count) __attribute__((always_inline)) {
          run_dense<T, T>(src, dst, 3 * count, operation);
        });
}

template <class T>
struct to_cmyk : scale<T> {
  static constexpr int inputs = 3, outputs = 4;
  using scale<T>::scale;
  QVIM_INLINE pixel<T, 4> operator()(pixel<T, 3> p) const {
    using lane = lane_of<T>;
    const auto [r, g, b] = p.c;
    const lane rg = g > r ? g : r, largest = b > rg ? b : rg, k = lane(this->full - largest);
    if constexpr (std::is_floating_point_v<T>)
      return {1 - r - k, 1 - g - k, 1 - b - k, k};
    else
      return {lane(largest - r), lane(largest - g), lane(largest - b), k};
  }
};

template <class T>
struct from_cmyk : scale<T> {
  static constexpr int inputs = 4, outputs = 3;
  using scale<T>::scale;
  QVIM_INLINE lane_of<T> component(lane_of<T> ink, lane_of<T> black) const {
    using lane = lane_of<T>;
    const auto sum = lane(ink + black);
    if constexpr (std::is_floating_point_v<T>) return sum > 1 ? 0 : 1 - sum;
    const bool beyond = sum < ink;  // the sum did not fit
    const lane limited = sum < this->full ? sum : this->full;
    return lane(beyond ? 0 : this->full - limited);
  }
  QVIM_INLINE pixel<T, 3> operator()(pixel<T, 4> p) const {
    return {component(p.c[0], p.c[3]), component(p.c[1], p.c[3]), component(p.c[2], p.c[3])};
  }
};

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_CLX_COMPLEMENT(name, T, o)                                                                 \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, \
                                    uint64_t count, uint32_t, const void *param) {                      \
    qvim::complement_pixels<T, qvim::order::o>(src, dst, srcstride, dststride, count, param);           \
  }
#define QVIM_CLX_CMYK(name, T, conversion, from, to)                                                    \
  extern "C" void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t srcstride, uint64_t dststride, \
                                    uint64_t count, uint32_t, const void *param) {                      \
    qvim::convert_pixels<T, qvim::conversion<T>, qvim::order::from, qvim::order::to>(                   \
        src, dst, srcstride, dststride, count, qvim::conversion<T>(param));                             \
  }
#include <qvimage/members/npfclx.inc>
