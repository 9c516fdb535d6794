// Pieces of rows that are kept for the runs down a plane, or from plane to plane, beside the one they were
// read for: a row is decoded once for many columns, a page turned to once for many pixels.
#pragma once

#include <cstdint>

#include "core/owned.hpp"

namespace qvim {

class columns {
 public:
  // So much memory at most, for a page of 4000 x 3000 pixels of 4 bytes; it is taken when runs along y or z
  // are set up, and lives as long as the file is open. A small file may tell of many rows: with all else that
  // a reader needs it takes less than 64 MiB.
  static constexpr uint64_t most_bytes = uint64_t{48} << 20;
  // Bytes of a piece in runs from plane to plane, whose rows are far from each other.
  static constexpr uint64_t most_across_planes = 4096;

  // Room for the runs of an image: `lines` pixels each, side by side. When memory is short there is none.
  void reserve(uint32_t width, uint32_t lines, uint32_t pixel_bytes);

  // Which runs: their direction, the plane in which they go down or the row in which they go through, how
  // long they are, how many lie side by side.
  struct bundle {
    bool down;
    uint32_t fixed, lines, width, pixel_bytes;
    bool operator==(const bundle &) const = default;
  };
  // Turns to the runs around column x, and forgets all others; false when there is no room for them.
  [[nodiscard]] bool turn_to(const bundle &runs, uint32_t x);

  uint32_t first() const { return first_; }  // column of the pieces
  uint32_t width() const { return width_; }  // their pixels
  uint8_t *piece(uint32_t line) { return pixels_.data() + uint64_t(line) * width_ * runs_.pixel_bytes; }
  bool holds(uint32_t line) const { return held_[line / 8] >> line % 8 & 1; }
  void hold(uint32_t line) { held_[line / 8] |= uint8_t(1 << line % 8); }

 private:
  array<uint8_t> pixels_;
  array<uint8_t> held_;  // a bit a line
  bundle runs_{};
  uint32_t first_ = 0, width_ = 0;
};

}  // namespace qvim
