// Sizes of the pieces in which a codec gets its input and room: mostly a few bytes, now and then hundreds or
// thousands, some empty; the same ones for the same seed.
#pragma once

#include <cstddef>
#include <cstdint>

class piece_sizes {
 public:
  explicit piece_sizes(uint32_t seed) : state_(seed) {}

  size_t operator()() {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    const uint32_t r = uint32_t(state_ >> 40), size = r / 16;
    return r % 16 == 0 ? size % 20000 : r % 16 < 5 ? size % 700 : size % 12;
  }

 private:
  uint64_t state_;
};
