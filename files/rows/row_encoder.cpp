// From an image's rows to those of a file.
#include "files/rows/row_encoder.hpp"

#include <cstring>

#include <qvimage/error.h>
#include <qvimage/npfbix.h>
#include <qvimage/npfclx.h>

#include "core/dimension.hpp"
#include "files/rows/samples.hpp"
#include "kernels/words.hpp"

namespace qvim {

namespace {

// Exchanges move samples and do not look at them, so their size is all that counts.
npfclx_fn *exchange_kernel(int bytes) {
  return bytes == 1   ? npfclx1_RGBxtoBGRx_2n
         : bytes == 2 ? npfclx2_RGBxtoBGRx_2n
         : bytes == 4 ? npfclx4_RGBxtoBGRx_2n
                      : npfclxd_RGBxtoBGRx_2n;
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

int32_t row_encoder::prepare(const qvimage &image, const row_form &r, const row_changes &changes) {
  width_ = r.width;
  height_ = uint32_t(height_of(image.wind));
  samples_ = int(r.samples);
  container_ = r.container();
  bits_ = r.bits;
  bytes_ = r.bytes();
  pixies_ = image.d.pixies;
  pixiesize_ = image.f.pixiesize;
  pixietype_ = image.d.pixietype;
  bitsused_ = image.d.i_bitsused;
  narrows_ = container_ < pixiesize_;
  drops_pad_ = samples_ < pixies_;
  exchanges_ = changes.exchanges_rgb && pixies_ > 2;
  chroma_ = changes.exchanges_chroma && pixies_ > 2;
  differences_ = changes.differences;
  inverts_ = changes.inverts;
  offset_ = changes.offset;
  packs_ = r.packed && bits_ != uint32_t(8 * container_);
  swaps_ = !packs_ && container_ > 1 && changes.order == std::endian::big;
  // Whole bytes follow the file's byte order; other depths are one stream of bits, most significant first.
  pack_mode_ = bits_ % 8 == 0 && changes.order == std::endian::little ? 2 : 3;

  const uint64_t row = uint64_t(width_) * uint64_t(pixies_) * uint64_t(pixiesize_);
  if (!fetched_.allocate_zeroed(row)) return QVERR_MEMORY;
  if ((narrows_ || drops_pad_ || chroma_ || differences_) && !work_.allocate_zeroed(row)) return QVERR_MEMORY;
  if (packs_ && !packed_.allocate_zeroed(bytes_)) return QVERR_MEMORY;
  return 0;
}

int32_t row_encoder::prepare_verbatim(uint64_t bytes) {
  bytes_ = bytes;
  return fetched_.allocate_zeroed(bytes) ? 0 : int32_t{QVERR_MEMORY};
}

bool row_encoder::fits(const qvimage &image) const {
  const bool integer = is_integer(image.d.pixietype);
  return (!integer || image.d.i_bitsused == bitsused_) && width_of(image.wind) == width_ &&
         height_of(image.wind) == height_ && image.d.pixietype == pixietype_ && image.d.pixies == pixies_ &&
         image.f.pixiesize == pixiesize_;
}

const uint8_t *row_encoder::encode(uint8_t *row) {
  if (narrows_) row = narrow(row);
  if (drops_pad_) row = drop_pad(row);
  if (exchanges_) row = exchange(row);
  if (chroma_) row = exchange_chroma(row);
  if (differences_) row = difference(row);
  if (inverts_) row = invert(row);
  if (offset_) row = shift_values(row);
  if (swaps_) row = swap_bytes(row);
  return packs_ ? pack(row) : row;
}

// Few bits in a wide pixie: from here on in the smallest container that holds them.
uint8_t *row_encoder::narrow(uint8_t *row) {
  auto *const kernel = container_ == 2 ? npfbix_4to2_i : pixiesize_ == 4 ? npfbix_4to1_i : npfbix_2to1_i;
  kernel(row, other(row), pixiesize_, container_, uint64_t(width_) * uint64_t(pixies_), 0, 0);
  return other(row);
}

uint8_t *row_encoder::drop_pad(uint8_t *row) {
  const int64_t from = pixies_ * container_, to = samples_ * container_;
  npfbix_zntozn_n(row, other(row), from, to, width_, uint32_t(to), 0);
  return other(row);
}

uint8_t *row_encoder::exchange(uint8_t *row) {
  const uint64_t pixel = uint64_t(samples_ * container_);
  exchange_kernel(container_)(row, row, pixel, pixel, width_, 0, nullptr);
  return row;
}

// The kernel moves three components and needs a second buffer; a fourth comes along with the copy.
uint8_t *row_encoder::exchange_chroma(uint8_t *row) {
  const uint64_t pixel = uint64_t(samples_ * container_);
  if (samples_ > 3) std::memcpy(other(row), row, pixel * width_);
  chroma_exchange(container_)(row, other(row), pixel, pixel, width_, 0, nullptr);
  return other(row);
}

uint8_t *row_encoder::difference(uint8_t *row) {
  auto *const subtract = container_ == 1 ? differences<uint8_t> : differences<uint16_t>;
  subtract(row, other(row), file_values(), samples_, bits_);
  return other(row);
}

uint8_t *row_encoder::invert(uint8_t *row) {
  invert_samples(row, container_, file_values(), bits_);
  return row;
}

uint8_t *row_encoder::shift_values(uint8_t *row) {
  add_to_samples(row, container_, file_values(), offset_);
  return row;
}

uint8_t *row_encoder::swap_bytes(uint8_t *row) {
  swap_samples(row, container_, file_values());
  return row;
}

const uint8_t *row_encoder::pack(const uint8_t *row) {
  auto *const stuff = container_ == 1 ? npfbit8_stuff : container_ == 2 ? npfbit16_stuff : npfbit32_stuff;
  stuff(row, packed_.data(), file_values(), bits_, pack_mode_);
  return packed_.data();
}

}  // namespace qvim
