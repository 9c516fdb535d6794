// How the samples of a row stand in a file.
#pragma once

#include <cstdint>

namespace qvim {

struct row_form {
  uint32_t width, samples, bits;  // pixels, samples of a pixel, bits of a sample
  bool packed;                    // samples follow each other bit by bit, otherwise each in whole bytes

  uint64_t values() const { return uint64_t(width) * samples; }
  int container() const {
    return bits <= 8 ? 1 : bits <= 16 ? 2 : bits <= 32 ? 4 : 8;
  }  // bytes of an unpacked sample
  uint64_t bytes() const { return packed ? (values() * bits + 7) / 8 : values() * uint64_t(container()); }
};

}  // namespace qvim
