// The tables that a quality stands for.
#pragma once

#include <cstdint>

#include <qvimage/fileinfo.h>

#include "files/jpeg/markers.hpp"

namespace qvim::jpeg {

// What the options ask for, in tenths. A record that says 0 and not that it means that knows no quality.
inline int32_t quality_of(const qvimagefileinfo *options) {
  constexpr int32_t usual = 500;
  if (!options) return usual;
  return options->jpg_quality == 0 && !options->jpg_reserved ? usual : options->jpg_quality;
}

// The base table scaled for a quality in tenths; rows of equal vertical frequency.
inline void scale_table(const uint8_t *base, int32_t tenths, uint16_t *table) {
  const int32_t whole = tenths / 10, quality = whole > 100 ? 100 : whole;
  const int32_t percent = quality <= 0 ? 5000 : quality < 50 ? 5000 / quality : 200 - 2 * quality;
  for (uint32_t i = 0; i < block_size; i++) {
    const int32_t scaled = (base[i] * percent + 50) / 100;
    table[i] = uint16_t(scaled < 1 ? 1 : scaled > 255 ? 255 : scaled);
  }
}

}  // namespace qvim::jpeg
