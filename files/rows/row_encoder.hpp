// From an image's rows to those of a file: component order, differences, byte order, bit packing.
#pragma once

#include <bit>
#include <cstdint>

#include <qvimage/record.h>

#include "core/owned.hpp"
#include "files/rows/row_form.hpp"

namespace qvim {

// What happens to samples on their way beside taking the file's form.
struct row_changes {
  bool exchanges_rgb = false;     // first and third: the image holds blue, green, red
  bool exchanges_chroma = false;  // second and third: the image holds Y, Cr, Cb
  bool differences = false;       // each sample less the one a pixel before it
  bool inverts = false;           // within the samples' bits
  uint32_t offset = 0;            // added to integers, modulo their container
  // Of samples of whole bytes. Other depths are one stream of bits, most significant first.
  std::endian order = std::endian::little;
};

class row_encoder {
 public:
  // Prepares for rows of images like this one: 0, or -2. Of each pixel the first form.samples pixies are
  // taken. Buffers begin as zeros: what an image leaves alone is never former memory.
  [[nodiscard]] int32_t prepare(const qvimage &image, const row_form &form, const row_changes &changes);
  // Prepares for rows of so many bytes that are written as they are: 0, or -2.
  [[nodiscard]] int32_t prepare_verbatim(uint64_t bytes);
  // Is this an image like the one prepared for?
  bool fits(const qvimage &image) const;

  // Do the image's bytes become the file's without moving? Then rows may be fetched straight to where they
  // belong, and are encoded there.
  bool in_place() const { return !narrows_ && !drops_pad_ && !chroma_ && !differences_ && !packs_; }
  uint64_t bytes() const { return bytes_; }  // of a file's row

  // Where to fetch an image's row for encode(), which returns the file's row. Of rows elsewhere, only those
  // that stay in place are encoded.
  uint8_t *row() { return fetched_.data(); }
  const uint8_t *encode() { return encode(row()); }
  const uint8_t *encode(uint8_t *row);

 private:
  // Steps of encode(), each from the row where it is to where it leaves it.
  uint8_t *narrow(uint8_t *row);
  uint8_t *drop_pad(uint8_t *row);
  uint8_t *exchange(uint8_t *row);
  uint8_t *exchange_chroma(uint8_t *row);
  uint8_t *difference(uint8_t *row);
  uint8_t *invert(uint8_t *row);
  uint8_t *shift_values(uint8_t *row);
  uint8_t *swap_bytes(uint8_t *row);
  const uint8_t *pack(const uint8_t *row);

  uint8_t *other(const uint8_t *row) { return row == fetched_.data() ? work_.data() : fetched_.data(); }
  uint64_t file_values() const { return uint64_t(width_) * uint64_t(samples_); }

  // The image
  uint32_t width_ = 0, height_ = 0;
  int32_t pixietype_ = 0, bitsused_ = 0;
  int pixies_ = 0;
  int pixiesize_ = 0;
  // The file
  int samples_ = 0;
  int container_ = 0;  // bytes of a sample before it is packed
  uint32_t bits_ = 0;
  uint64_t bytes_ = 0;
  uint32_t pack_mode_ = 0;
  uint32_t offset_ = 0;
  bool narrows_ = false, drops_pad_ = false, exchanges_ = false, chroma_ = false, differences_ = false,
       inverts_ = false;
  bool swaps_ = false, packs_ = false;
  array<uint8_t> fetched_, work_, packed_;
};

}  // namespace qvim
