// The tags that are read and written, in one table for both directions.
#pragma once

#include <array>
#include <cstdint>

#include "files/tiff/format.hpp"

namespace qvim::tiff {

enum class kind : uint8_t {
  scalar,      // one unsigned integer of any type
  per_sample,  // one SHORT a sample, at most four
  rational,    // one RATIONAL
  constants,   // SHORTs that are all written as the initial value
  text,        // ASCII
  strips,      // one integer a strip
  colours,     // the colour map
};

// Index into the table.
enum tag : uint8_t {
  NewSubfileType,
  ImageWidth,
  ImageLength,
  BitsPerSample,
  Compression,
  Photometric,
  ImageDescription,
  StripOffsets,
  SamplesPerPixel,
  RowsPerStrip,
  StripByteCounts,
  XResolution,
  YResolution,
  PlanarConfiguration,
  ResolutionUnit,
  Software,
  DateTime,
  Predictor,
  ColorMap,
  ExtraSamples,
  SampleFormat,
  YCbCrSubSampling,
  Copyright,
  tag_count
};

struct tag_facts {
  uint16_t id;
  kind what;
  field written;     // the type written; some widen with their values
  uint32_t initial;  // what an absent tag means (scalars, and every sample of per-sample tags)
};

// In the order of a directory: ascending ids.
inline constexpr std::array<tag_facts, tag_count> tags{{
    {254, kind::scalar, field::long_, 0},
    {256, kind::scalar, field::short_, 0},
    {257, kind::scalar, field::short_, 0},
    {258, kind::per_sample, field::short_, 1},
    {259, kind::scalar, field::short_, uncompressed},
    {262, kind::scalar, field::short_, black_is_zero},
    {270, kind::text, field::ascii, 0},
    {273, kind::strips, field::long_, 0},
    {277, kind::scalar, field::short_, 1},
    {278, kind::scalar, field::long_, 0xFFFFFFFF},
    {279, kind::strips, field::long_, 0},
    {282, kind::rational, field::rational, 0},
    {283, kind::rational, field::rational, 0},
    {284, kind::scalar, field::short_, 1},
    {296, kind::scalar, field::short_, 2},
    {305, kind::text, field::ascii, 0},
    {306, kind::text, field::ascii, 0},
    {317, kind::scalar, field::short_, 1},
    {320, kind::colours, field::short_, 0},
    {338, kind::constants, field::short_, 0},
    {339, kind::per_sample, field::short_, 1},
    {530, kind::constants, field::short_, 1},
    {33432, kind::text, field::ascii, 0},
}};

constexpr bool ascending() {
  for (int i = 1; i < tag_count; i++)
    if (tags[i].id <= tags[i - 1].id) return false;
  return true;
}
static_assert(ascending());
static_assert(tags[ColorMap].id == 320 && tags[Copyright].id == 33432);

}  // namespace qvim::tiff
