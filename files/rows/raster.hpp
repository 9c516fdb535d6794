// Rows that stand in a file sample by sample, equally far apart: those of formats without compression. Any
// pixel is found at once, and nothing is allocated.
#pragma once

#include <cstdint>

#include "files/rows/row_source.hpp"
#include "files/rows/row_steps.hpp"

namespace qvim {

class raster : public row_source {
 public:
  struct layout {
    row_form form;
    row_steps::changes changes;  // no differences
    uint32_t height;
    uint64_t pitch;  // bytes from a row to the one that follows it in the file
    bool bottom_up;  // the file begins with the lowest row
    // Bytes from a sample to the next one of its pixel, where samples of a kind make pictures of their own:
    // rows of those have the pitch. 0: side by side.
    uint64_t component_pitch = 0;
  };

  [[nodiscard]] int32_t select(uint64_t plane) final { return find(plane, &begin_); }
  uint32_t width() const final { return layout_.form.width; }
  uint32_t height() const final { return layout_.height; }
  [[nodiscard]] int32_t read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) final;
  [[nodiscard]] int32_t read_rows(uint32_t y, uint32_t rows, uint8_t *to, uint32_t *done) final;
  [[nodiscard]] int32_t view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels) final;
  bool finds_pixels() const final { return true; }

 protected:
  explicit raster(bufio *file) : row_source(file), file_(file) {}
  ~raster() = default;

  // All planes are laid out like this.
  void set_layout(const layout &l);
  // Where a plane begins in the file: 0, or the code for which it does not.
  [[nodiscard]] virtual int32_t find(uint64_t plane, uint64_t *begin) = 0;

 private:
  uint64_t position(uint32_t y) const {
    return begin_ + (layout_.bottom_up ? layout_.height - 1 - y : y) * layout_.pitch;
  }
  int32_t read_samples(uint64_t position, uint64_t count, uint8_t *to);
  int32_t unpack(uint64_t position, uint64_t count, uint8_t *to);
  int32_t gather(uint64_t position, uint32_t n, uint8_t *to);

  static constexpr uint32_t part_bytes = 2048;

  bufio *file_;
  layout layout_{};
  row_steps steps_;
  uint64_t pixel_bytes_ = 1;   // as they are delivered
  uint64_t stored_bytes_ = 8;  // of 8 pixels in the file: always whole
  uint64_t begin_ = 0;         // of the plane
  uint8_t packed_[part_bytes], part_[part_bytes];
};

}  // namespace qvim
