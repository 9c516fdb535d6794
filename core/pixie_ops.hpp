// The operations of block transfers on single pixies, for every pixie type.
#pragma once

#include <cstdint>
#include <type_traits>

#include <qvimage/types.h>

#include "core/byte_order.hpp"
#include "core/pixel.hpp"

namespace qvim {

// Each works on a pixie p of the image and a value v of the caller; says which of the two it needs and
// changes. Integers keep the bits of the mask.
struct exchange_op {
  static constexpr bool reads_image = true, uses_value = true, changes_image = true, changes_value = true;
  template <class T>
  static void apply(T &p, T &v, T) {
    const T old = p;
    p = v;
    v = old;
  }
};
struct read_op {
  static constexpr bool reads_image = true, uses_value = false, changes_image = false, changes_value = true;
  template <class T>
  static void apply(T &p, T &v, T) {
    v = p;
  }
};
struct write_op {
  static constexpr bool reads_image = false, uses_value = true, changes_image = true, changes_value = false;
  template <class T>
  static void apply(T &p, T &v, T) {
    p = v;
  }
};
struct add_op {
  static constexpr bool reads_image = true, uses_value = true, changes_image = true, changes_value = false;
  template <class T>
  static void apply(T &p, T &v, T mask) {
    if constexpr (std::is_integral_v<T>)
      p = T(T(p + v) & mask);
    else
      p = p + v;
  }
};
struct combine_op {
  static constexpr bool reads_image = true, uses_value = true, changes_image = true, changes_value = false;
  template <class T>
  static void apply(T &p, T &v, T) {
    if constexpr (std::is_integral_v<T>)
      p = T(p ^ v);
    else
      p = p * v;
  }
};
struct subtract_op {
  static constexpr bool reads_image = true, uses_value = true, changes_image = true, changes_value = false;
  template <class T>
  static void apply(T &p, T &v, T mask) {
    if constexpr (std::is_integral_v<T>)
      p = T(T(p - v) & mask);
    else
      p = p - v;
  }
};

// Calls f with the operation of that number; false when there is none.
template <class F>
bool with_pixie_operation(uint32_t op, F f) {
  switch (op) {
    case QVIM_OP_EXCHANGE: return f(exchange_op{}), true;
    case QVIM_OP_ADD: return f(add_op{}), true;
    case QVIM_OP_READ: return f(read_op{}), true;
    case QVIM_OP_WRITE: return f(write_op{}), true;
    case QVIM_OP_COMBINE: return f(combine_op{}), true;
    case QVIM_OP_SUBTRACT: return f(subtract_op{}), true;
    default: return false;
  }
}

// Calls f with a value of that pixie type; false for the types without block transfers.
template <class F>
bool with_pixie_type(int32_t pixietype, F f) {
  switch (pixietype) {
    case QVIM_UINT8: return f(uint8_t{}), true;
    case QVIM_UINT16: return f(uint16_t{}), true;
    case QVIM_UINT32: return f(uint32_t{}), true;
    case QVIM_FLOAT32: return f(float{}), true;
    case QVIM_FLOAT64: return f(double{}), true;
    default: return false;
  }
}

// Reals have the host's byte order.
inline float swapped(float v) { return v; }
inline double swapped(double v) { return v; }

// One pixel of an image and its values: op on each of its pixies. Pixies of the image may be stored in
// reversed byte order; values are in the host's.
template <class T, bool Reversed = false, class Op>
void apply_to_pixel(Op, uint8_t *pixel, uint8_t *values, int pixies, T mask) {
  for (int i = 0; i < pixies; i++, pixel += sizeof(T), values += sizeof(T)) {
    T p{};
    if constexpr (Op::reads_image) p = Reversed ? swapped(load_value<T>(pixel)) : load_value<T>(pixel);
    T v{};
    if constexpr (Op::uses_value) v = load_value<T>(values);
    Op::apply(p, v, mask);
    if constexpr (Op::changes_image) store_value(pixel, Reversed ? swapped(p) : p);
    if constexpr (Op::changes_value) store_value(values, v);
  }
}

}  // namespace qvim
