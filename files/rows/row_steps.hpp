// From the bytes of a stored row to its samples: unpacking, byte order, differences, inversion.
#pragma once

#include <bit>
#include <cstdint>

#include <qvimage/kernel.h>

#include "files/rows/row_form.hpp"

namespace qvim {

class row_steps {
 public:
  // What is done to samples besides unpacking: differences to the pixel before are summed up, values are
  // inverted within their bits.
  struct changes {
    std::endian order;  // of samples of several whole bytes, and of packed ones of three
    bool differenced, inverted;
    uint32_t offset = 0;  // added to integers of whole bytes, modulo their container
  };

  row_steps() = default;
  row_steps(const row_form &form, const changes &c);

  // Do samples take other room than the row's bytes? Then unpack() puts them into a second place.
  bool unpacks() const { return unstuff_ != nullptr; }
  void unpack(const uint8_t *row, uint8_t *samples) const { unpack(row, samples, values_); }
  void unpack(const uint8_t *bytes, uint8_t *samples, uint64_t count) const;

  // Is there anything for finish() to do?
  bool finishes() const { return swapped_bytes_ || differenced_ || inverted_ || offset_; }
  // In place, on samples of a whole row, or of part of one where there are no differences.
  void finish(uint8_t *samples, uint64_t count) const;

  int sample_bytes() const { return sample_bytes_; }
  uint64_t values() const { return values_; }  // samples of a row

 private:
  npfbitunstuff_fn *unstuff_ = nullptr;
  uint32_t bits_ = 0, stuff_mode_ = 0;
  int sample_bytes_ = 1;
  int samples_ = 1;  // of a pixel
  uint64_t values_ = 0;
  uint32_t offset_ = 0;
  bool swapped_bytes_ = false, differenced_ = false, inverted_ = false;
};

}  // namespace qvim
