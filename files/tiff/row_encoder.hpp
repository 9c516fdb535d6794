// From an image's rows to a page's rows: component order, differences, byte order, bit packing.
#pragma once

#include <cstdint>

#include <qvimage/record.h>

#include "core/owned.hpp"
#include "files/tiff/format.hpp"
#include "files/tiff/page.hpp"

namespace qvim::tiff {

// Orders of the components that the caller asks to exchange.
struct orders {
  bool rgb;  // first and third component: the image holds blue, green, red
  bool ycc;  // second and third: the image holds Y, Cr, Cb
};

class row_encoder {
 public:
  // Prepares for rows of images like this one: 0, or -2.
  [[nodiscard]] int32_t prepare(const qvimage &image, const page &p, const format &f, const orders &o);
  // Is this an image like the one prepared for?
  bool fits(const qvimage &image) const;

  // Are the image's bytes the page's bytes? Then rows may be fetched straight to where they belong.
  bool verbatim() const {
    return !narrows_ && !drops_pad_ && !exchanges_ && !ycc_ && !differences_ && !swaps_ && !packs_;
  }
  uint64_t bytes() const { return bytes_; }  // of a page's row

  // Where to fetch an image's row for encode(), which returns the page's row.
  uint8_t *row() { return fetched_.data(); }
  const uint8_t *encode();

 private:
  // Steps of encode(), each from the row where it is to where it leaves it.
  uint8_t *narrow(uint8_t *row);
  uint8_t *drop_pad(uint8_t *row);
  uint8_t *exchange(uint8_t *row);
  uint8_t *exchange_chroma(uint8_t *row);
  uint8_t *difference(uint8_t *row);
  uint8_t *swap_bytes(uint8_t *row);
  const uint8_t *pack(const uint8_t *row);

  uint8_t *other(const uint8_t *row) { return row == fetched_.data() ? work_.data() : fetched_.data(); }
  uint64_t file_values() const { return uint64_t(width_) * uint64_t(samples_); }

  // The image
  uint32_t width_ = 0, height_ = 0;
  int32_t pixietype_ = 0;
  int pixies_ = 0;
  int pixiesize_ = 0;
  // The page
  int samples_ = 0;
  int container_ = 0;  // bytes of a sample before it is packed
  uint32_t bits_ = 0;
  uint64_t bytes_ = 0;
  uint32_t pack_mode_ = 0;
  bool narrows_ = false, drops_pad_ = false, exchanges_ = false, ycc_ = false, differences_ = false;
  bool swaps_ = false, packs_ = false;
  array<uint8_t> fetched_, work_, packed_;
};

}  // namespace qvim::tiff
