// The rows of a picture, decoded eight at a time when they are asked for. Where each eight begin in the data
// is remembered, so that none need be decoded twice to get further.
#pragma once

#include <cstdint>

#include "core/owned.hpp"
#include "files/jpeg/block_reader.hpp"
#include "files/jpeg/head.hpp"

namespace qvim::jpeg {

class pixel_rows {
 public:
  // Tables and memory for this picture of the stream. -10, -2.
  [[nodiscard]] int32_t start(bufio *stream, const head &h);

  // Row y, until the next call. 0, or -10 when its data are broken or missing, or a code of the stream.
  [[nodiscard]] int32_t row(uint32_t y, const uint8_t **pixels);

 private:
  struct start_of_group {
    bit_reader::place at;
    int16_t predictors[most_components];
  };
  static constexpr uint32_t none = ~0u, mcus_at_once = 8;

  [[nodiscard]] int32_t decode(uint32_t group, bool wanted);
  void to_lines(uint32_t first, uint32_t count);

  bufio *stream_ = nullptr;
  uint64_t end_ = 0;
  uint32_t components_ = 0, mcus_ = 0, groups_ = 0;
  uint64_t pitch_ = 0;
  uint32_t known_ = 0;    // the group up to which the beginnings are known
  uint32_t held_ = none;  // the group whose lines are there
  array<start_of_group> begins_;
  array<uint8_t> lines_;
  array<huffman_table> tables_;  // DC and AC in turn, as they are in the head's slots
  component_tables of_[most_components] = {};
  factors scales_[quantisation_slots];
  const factors *scale_of_[most_components] = {};
  decoded_block blocks_[mcus_at_once * most_components];
  extent extents_[mcus_at_once * most_components];
};

}  // namespace qvim::jpeg
