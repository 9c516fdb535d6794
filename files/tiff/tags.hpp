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
  FillOrder,
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
  const char *name;
  kind what;
  field written;     // the type written; some widen with their values
  uint32_t initial;  // what an absent tag means (scalars, and every sample of per-sample tags)
};

// In the order of a directory: ascending ids.
inline constexpr std::array<tag_facts, tag_count> tags{{
    {254, "NewSubfileType", kind::scalar, field::long_, 0},
    {256, "ImageWidth", kind::scalar, field::short_, 0},
    {257, "ImageLength", kind::scalar, field::short_, 0},
    {258, "BitsPerSample", kind::per_sample, field::short_, 1},
    {259, "Compression", kind::scalar, field::short_, uncompressed},
    {262, "Photometric", kind::scalar, field::short_, black_is_zero},
    {266, "FillOrder", kind::scalar, field::short_, 1},
    {270, "ImageDescription", kind::text, field::ascii, 0},
    {273, "StripOffsets", kind::strips, field::long_, 0},
    {277, "SamplesPerPixel", kind::scalar, field::short_, 1},
    {278, "RowsPerStrip", kind::scalar, field::long_, 0xFFFFFFFF},
    {279, "StripByteCounts", kind::strips, field::long_, 0},
    {282, "XResolution", kind::rational, field::rational, 0},
    {283, "YResolution", kind::rational, field::rational, 0},
    {284, "PlanarConfiguration", kind::scalar, field::short_, 1},
    {296, "ResolutionUnit", kind::scalar, field::short_, 2},
    {305, "Software", kind::text, field::ascii, 0},
    {306, "DateTime", kind::text, field::ascii, 0},
    {317, "Predictor", kind::scalar, field::short_, 1},
    {320, "ColorMap", kind::colours, field::short_, 0},
    {338, "ExtraSamples", kind::constants, field::short_, 0},
    {339, "SampleFormat", kind::per_sample, field::short_, 1},
    {530, "YCbCrSubSampling", kind::constants, field::short_, 1},
    {33432, "Copyright", kind::text, field::ascii, 0},
}};

constexpr bool ascending() {
  for (int i = 1; i < tag_count; i++)
    if (tags[i].id <= tags[i - 1].id) return false;
  return true;
}
static_assert(ascending());
static_assert(tags[ColorMap].id == 320 && tags[Copyright].id == 33432);

}  // namespace qvim::tiff
