// From an image's rows to a page's rows.
#include "files/tiff/row_encoder.hpp"

#include <cstring>

#include <qvimage/data.h>
#include <qvimage/npfbix.h>
#include <qvimage/npfclx.h>

namespace qvim::tiff {

namespace {

npfclx_fn *exchange_kernel(int32_t pixietype) {
  switch (pixietype) {
    case QVIM_UINT8: return npfclx1_RGBxtoBGRx_2n;
    case QVIM_UINT16: return npfclx2_RGBxtoBGRx_2n;
    case QVIM_UINT32: return npfclx4_RGBxtoBGRx_2n;
    case QVIM_FLOAT32: return npfclxf_RGBxtoBGRx_2n;
    default: return npfclxd_RGBxtoBGRx_2n;
  }
}

npfclx_fn *chroma_kernel(int32_t pixietype) {
  switch (pixietype) {
    case QVIM_UINT8: return npfclx1_YCrCbtoYCbCr;
    case QVIM_UINT16: return npfclx2_YCrCbtoYCbCr;
    case QVIM_UINT32: return npfclx4_YCrCbtoYCbCr;
    case QVIM_FLOAT32: return npfclxf_YCrCbtoYCbCr;
    default: return npfclxd_YCrCbtoYCbCr;
  }
}

// Each value less the one a pixel before it, modulo 2^bits; the first pixel stays.
template <class T>
void differences(const uint8_t *from, uint8_t *to, uint64_t count, int samples, uint32_t bits) {
  const T *const values = reinterpret_cast<const T *>(from);
  T *const result = reinterpret_cast<T *>(to);
  const T mask = T((1u << bits) - 1);
  for (int i = 0; i < samples; i++) result[i] = values[i];
  for (uint64_t i = uint64_t(samples); i < count; i++)
    result[i] = T(values[i] - values[i - uint64_t(samples)]) & mask;
}

}  // namespace

int32_t row_encoder::prepare(const qvimage &image, const page &p, const format &f, const orders &o) {
  const rows r = rows_of(p);
  width_ = r.width;
  height_ = p.height();
  samples_ = int(r.samples);
  bits_ = r.bits;
  bytes_ = r.bytes();
  pixies_ = image.d.pixies;
  pixiesize_ = image.f.pixiesize;
  pixietype_ = image.d.pixietype;
  drops_pad_ = samples_ < pixies_;
  exchanges_ = o.rgb && pixies_ > 2;
  ycc_ = o.ycc && pixies_ > 2;
  differences_ = p.differenced();
  packs_ = r.packed && bits_ != uint32_t(8 * pixiesize_);
  swaps_ = r.packed && !packs_ && pixiesize_ > 1 && f.big_endian;
  // Whole bytes follow the file's byte order; other depths are one stream of bits, most significant first.
  pack_mode_ = bits_ % 8 == 0 && !f.big_endian ? 2 : 3;

  const uint64_t unpacked = uint64_t(width_) * uint64_t(pixies_) * uint64_t(pixiesize_);
  if (!fetched_.allocate(unpacked)) return -2;
  if ((drops_pad_ || ycc_ || differences_) && !work_.allocate(unpacked)) return -2;
  if (packs_ && !packed_.allocate(bytes_)) return -2;
  return 0;
}

bool row_encoder::fits(const qvimage &image) const {
  return int64_t(image.wind.se.x) - image.wind.nw.x == width_ &&
         int64_t(image.wind.se.y) - image.wind.nw.y == height_ && image.d.pixietype == pixietype_ &&
         image.d.pixies == pixies_ && image.f.pixiesize == pixiesize_;
}

const uint8_t *row_encoder::encode() {
  uint8_t *row = reorder();
  if (differences_) row = difference(row);
  if (swaps_) swap_bytes(row);
  return packs_ ? pack(row) : row;
}

uint8_t *row_encoder::reorder() {
  uint8_t *const row = fetched_.data();
  const uint64_t from = uint64_t(pixies_) * uint64_t(pixiesize_),
                 to = uint64_t(samples_) * uint64_t(pixiesize_);
  if (drops_pad_) {
    if (exchanges_)
      exchange_kernel(pixietype_)(row, work_.data(), from, to, width_, 0, nullptr);
    else
      npfbix_zntozn_n(row, work_.data(), int64_t(from), int64_t(to), width_, uint32_t(to), 0);
    return work_.data();
  }
  if (exchanges_) exchange_kernel(pixietype_)(row, row, from, from, width_, 0, nullptr);
  if (!ycc_) return row;
  // The kernel moves three components and needs a second buffer; a fourth comes along with the copy.
  if (samples_ > 3) std::memcpy(work_.data(), row, from * width_);
  chroma_kernel(pixietype_)(row, work_.data(), from, to, width_, 0, nullptr);
  return work_.data();
}

uint8_t *row_encoder::difference(uint8_t *row) {
  uint8_t *const other = row == fetched_.data() ? work_.data() : fetched_.data();
  const uint64_t count = uint64_t(width_) * uint64_t(samples_);
  if (pixiesize_ == 1)
    differences<uint8_t>(row, other, count, samples_, bits_);
  else
    differences<uint16_t>(row, other, count, samples_, bits_);
  return other;
}

void row_encoder::swap_bytes(uint8_t *row) const {
  const uint64_t count = uint64_t(width_) * uint64_t(samples_);
  if (pixiesize_ == 2) return void(npfbix2_swab(row, 2, count));
  if (pixiesize_ == 4) return void(npfbix4_swab(row, 4, count));
  for (uint64_t i = 0; i < count; i++) {
    uint64_t value;
    std::memcpy(&value, row + 8 * i, 8);
    value = __builtin_bswap64(value);
    std::memcpy(row + 8 * i, &value, 8);
  }
}

const uint8_t *row_encoder::pack(const uint8_t *row) {
  const uint64_t count = uint64_t(width_) * uint64_t(samples_);
  auto *const stuff = pixiesize_ == 1 ? npfbit8_stuff : pixiesize_ == 2 ? npfbit16_stuff : npfbit32_stuff;
  stuff(row, packed_.data(), count, bits_, pack_mode_);
  return packed_.data();
}

}  // namespace qvim::tiff
