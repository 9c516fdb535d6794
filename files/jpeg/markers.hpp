// What a JPEG file consists of: markers, most of them with a segment of data.
#pragma once

#include <cstdint>

#include "files/jpeg/tables.hpp"

namespace qvim::jpeg {

// Second bytes of markers, whose first one is all ones. (Table B.1)
enum marker : uint8_t {
  tem = 0x01,
  sof0 = 0xC0,
  sof1 = 0xC1,
  sof2 = 0xC2,
  sof3 = 0xC3,
  dht = 0xC4,
  sof5 = 0xC5,
  sof7 = 0xC7,
  jpg = 0xC8,
  sof9 = 0xC9,
  sof11 = 0xCB,
  dac = 0xCC,
  sof13 = 0xCD,
  sof15 = 0xCF,
  rst0 = 0xD0,
  rst7 = 0xD7,
  soi = 0xD8,
  eoi = 0xD9,
  sos = 0xDA,
  dqt = 0xDB,
  dnl = 0xDC,
  dri = 0xDD,
  dhp = 0xDE,
  exp = 0xDF,
  app0 = 0xE0,
  app14 = 0xEE,
  app15 = 0xEF,
  jpg0 = 0xF0,
  jpg13 = 0xFD,
  com = 0xFE,
  fill = 0xFF
};

constexpr uint8_t no_subsampling = 0x11;     // of both dimensions
constexpr uint32_t longest_segment = 65535;  // with the two bytes of its length
constexpr uint32_t comment_count = 3;
constexpr char quality_comment[] = "CompressionQuality=", mode_comment[] = "EncodeMode=";
constexpr uint16_t integer_mode = 105;
constexpr int32_t usual_quality = 50;

// "JFIF" segment: how densely the pixels lie.
struct density {
  uint8_t unit = 0;  // 0: x and y are a ratio; 1: pixels an inch; 2: pixels a centimetre
  uint16_t x = 1, y = 1;
};

}  // namespace qvim::jpeg
