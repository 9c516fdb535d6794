// What a file says before its pixels, and where these are.
#pragma once

#include <cstdint>

#include <qvimage/bufio.h>

#include "core/owned.hpp"
#include "files/jpeg/markers.hpp"

namespace qvim::jpeg {

constexpr uint32_t table_slots = 4;         // of either class of Huffman tables
constexpr uint32_t quantisation_slots = 2;  // further ones are refused

struct component {
  uint8_t id, sampling, quantisation;  // quantisation: the slot of its table
  uint8_t dc, ac;                      // the slots of its Huffman tables
};

struct head {
  uint32_t width = 0, height = 0, components = 0, precision = 0;
  component part[4] = {};
  uint16_t quantisation[quantisation_slots][block_size];  // 8 * vertical + horizontal frequency
  bool has_quantisation[quantisation_slots] = {};
  huffman_description dc[table_slots], ac[table_slots];
  density pixels;
  bool has_quality = false;  // a comment says so
  int32_t quality = 0;       // in tenths
  uint16_t mode = 0;
  array<char> comments[comment_count];
  uint64_t data_begin = 0, data_end = 0;  // of the entropy-coded data, in the stream

  // Parses from the stream's position to the end of the picture. 0, or: -10: not such a file. -11: a sound
  // file that is not served. -2, -7. A file that ends within the data of its pixels is one all the same.
  [[nodiscard]] int32_t read(bufio &stream);
};

}  // namespace qvim::jpeg
