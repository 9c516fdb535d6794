// Rows of 8-bit samples as other colours: indices through a palette, or pixels with their first and third
// component exchanged.
#pragma once

#include <cstdint>

#include "files/rows/row_source.hpp"

namespace qvim {

class recoloured_rows final : public row_source {
 public:
  recoloured_rows(bufio *stream, row_source &stored) : row_source(stream), stored_(stored) {}

  // Indices become the three bytes of their palette entries, which stay where they are.
  void expand(const uint8_t *entries);
  // Pixels of so many bytes, at least 3, have their first and third exchanged.
  void exchange(uint32_t pixel_bytes);

  [[nodiscard]] int32_t select(uint64_t plane) override { return stored_.select(plane); }
  uint32_t width() const override { return stored_.width(); }
  uint32_t height() const override { return stored_.height(); }
  [[nodiscard]] int32_t read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) override;
  [[nodiscard]] int32_t read_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done) override;
  [[nodiscard]] int32_t view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels) override;

 private:
  static constexpr uint32_t part_bytes = 2048;

  void recolour(const uint8_t *stored, uint8_t *to, uint32_t n) const;

  row_source &stored_;
  const uint8_t *entries_ = nullptr;  // null: components are exchanged
  uint32_t stored_bytes_ = 1, pixel_bytes_ = 3;
  uint8_t part_[part_bytes];
};

}  // namespace qvim
