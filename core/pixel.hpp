// Questions about the pixels of a record, and single pixies read and written at any address.
#pragma once

#include <cstdint>
#include <cstring>

#include <qvimage/data.h>

#include "kernels/words.hpp"

namespace qvim {

// Are the pixies stored in the reverse of the host's byte order? Only integers have a byte order.
inline bool is_reversed(const qvimagedata &d) { return is_integer(d.pixietype) && d.i_endian & QVIM_SWAPPED; }
// Does a request deal in pixies of reversed byte order?
inline bool is_reversed(const qvimagedata &d, uint32_t datatype) {
  return is_integer(d.pixietype) && datatype & QVIM_SWAPPED;
}

inline bool supported_without_conversion(const qvimage *im, uint32_t datatype) {
  return qvimdatasupportedwoutconversion(im, datatype);
}
inline bool supported_without_conversion(const qvimage3 *im, uint32_t datatype) {
  return qvim3datasupportedwoutconversion(im, datatype);
}

// Bytes of a pixie of that type; 0 for what is no type, or more than one.
inline int32_t size_of_type(int32_t pixietype) {
  return type_word(uint32_t(pixietype)).type() == uint32_t(pixietype) ? qvimdatasize(uint32_t(pixietype)) : 0;
}

// Does the description say what pixels are made of?
inline bool is_valid(const qvimagedata &d) {
  const int32_t size = size_of_type(d.pixietype);
  if (size == 0 || d.pixies < 1 || d.pixies > 32) return false;
  return is_real(d.pixietype) || (d.i_bitsused >= 1 && d.i_bitsused <= 8 * size);
}

// The colour mask that selects every pixie.
inline constexpr int32_t most_pixies = 32;
constexpr uint32_t all_pixies(int32_t pixies) {
  return pixies >= most_pixies ? 0xFFFFFFFFu : pixies <= 0 ? 0 : (1u << pixies) - 1;
}

template <class T>
T load_value(const void *from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}
template <class T>
void store_value(void *to, T value) {
  std::memcpy(to, &value, sizeof value);
}

}  // namespace qvim
