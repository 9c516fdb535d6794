// What a directory says about its page: the values of its tags, and what follows from them.
#pragma once

#include <array>
#include <cstdint>

#include "core/owned.hpp"
#include "files/rows/row_form.hpp"
#include "files/tiff/tags.hpp"

namespace qvim::tiff {

struct page {
  std::array<bool, tag_count> present{};
  std::array<uint64_t, tag_count> count{};              // values that the directory holds
  std::array<uint32_t, tag_count> scalar{};             // scalar tags, absent ones with their initial value
  std::array<std::array<uint16_t, 4>, 2> per_sample{};  // BitsPerSample, SampleFormat
  std::array<std::array<uint32_t, 2>, 2> resolution{};  // X, Y: numerator, denominator
  std::array<array<char>, 4> text;                      // terminated; order of text_index
  array<uint64_t> offsets;                              // of the strips, in the file
  array<uint64_t> byte_counts;
  array<uint32_t> colours;  // as in the file: all first components, all second, all third

  page() {
    for (int t = 0; t < tag_count; t++) scalar[t] = tags[t].initial;
    per_sample[0].fill(uint16_t(tags[BitsPerSample].initial));
    per_sample[1].fill(uint16_t(tags[SampleFormat].initial));
  }

  // Gives the directory a tag of so many values; a scalar tag with its value.
  void hold(tag t, uint64_t values) {
    present[t] = true;
    count[t] = values;
  }
  void set(tag t, uint32_t value) {
    hold(t, 1);
    scalar[t] = value;
  }

  uint32_t width() const { return scalar[ImageWidth]; }
  uint32_t height() const { return scalar[ImageLength]; }
  uint32_t samples() const { return scalar[SamplesPerPixel]; }
  std::array<uint16_t, 4> &bits() { return per_sample[0]; }
  const std::array<uint16_t, 4> &bits() const { return per_sample[0]; }
  std::array<uint16_t, 4> &sample_format() { return per_sample[1]; }
  const std::array<uint16_t, 4> &sample_format() const { return per_sample[1]; }
  bool differenced() const {
    return scalar[Predictor] == 2 && (scalar[Compression] == lzw || scalar[Compression] == arithmetic);
  }
  // The bits of every byte of its strips stand in the opposite order.
  bool bits_reversed() const { return scalar[FillOrder] == 2; }
  // The compression code that options and info records use.
  uint32_t compression_asked() const {
    return !differenced()               ? scalar[Compression]
           : scalar[Compression] == lzw ? lzw_differenced
                                        : arithmetic_differenced;
  }
};

constexpr int text_index(tag t) {
  return t == ImageDescription ? 0 : t == Software ? 1 : t == DateTime ? 2 : 3;
}
constexpr int per_sample_index(tag t) { return t == BitsPerSample ? 0 : 1; }
constexpr int resolution_index(tag t) { return t == XResolution ? 0 : 1; }

// How the rows of a page lie in its strips before compression: the predictive coder takes whole bytes,
// everything else packs samples.
inline row_form rows_of(const page &p) {
  return {p.width(), p.samples(), p.bits()[0], p.scalar[Compression] != arithmetic};
}

}  // namespace qvim::tiff
