// What models of image access are made of: where choices come from, guarded memory, numbers in containers,
// and one way to call records of either dimension.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <qvimage/qvimage.h>

namespace access_model {

static_assert(std::endian::native == std::endian::little);

// Where the scenario's decisions come from: a random generator or a fuzzer's bytes.
class choices {
 public:
  virtual ~choices() = default;
  virtual uint32_t below(uint32_t n) = 0;
  bool one_in(uint32_t n) { return below(n) == 0; }
};

inline void check(bool right, const std::string &what) {
  if (!right) throw what;
}

using bytes = std::vector<uint8_t>;
using position = std::array<int32_t, 3>;

constexpr int guard = 32;

// A block of bytes with guards on both sides. Under a sanitizer the block is all there is, so that it sees a
// touch outside.
class guarded {
 public:
  explicit guarded(size_t size) : size_(size), memory_(new uint8_t[size + 2 * margin]) {
    std::memset(memory_.get(), 0xA5, size + 2 * margin);
  }
  uint8_t *data() { return memory_.get() + margin; }
  size_t size() const { return size_; }
  bytes content() { return bytes(data(), data() + size_); }
  bool is_intact() const {
    for (int i = 0; i < margin; i++)
      if (memory_[i] != 0xA5 || memory_[margin + size_ + i] != 0xA5) return false;
    return true;
  }

 private:
#ifdef __SANITIZE_ADDRESS__
  static constexpr int margin = 0;
#else
  static constexpr int margin = guard;
#endif
  size_t size_;
  std::unique_ptr<uint8_t[]> memory_;
};

// How a pixie lies in its container: which bits count, and in which byte order.
struct form {
  int size = 1;  // bytes
  int bits = 8;  // that count
  int low = 0;   // place of the least significant of them
  bool reversed = false;

  uint64_t mask() const { return bits == 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1; }
  uint64_t container() const { return size == 8 ? ~uint64_t{0} : (uint64_t{1} << 8 * size) - 1; }
  uint64_t number(const uint8_t *at) const {
    uint8_t host[8] = {};
    std::memcpy(host, at, size);
    if (reversed) std::reverse(host, host + size);
    uint64_t n;
    std::memcpy(&n, host, 8);
    return n;
  }
  void put(uint8_t *at, uint64_t n) const {
    uint8_t host[8];
    std::memcpy(host, &n, 8);
    if (reversed) std::reverse(host, host + size);
    std::memcpy(at, host, size);
  }
  uint64_t value(uint64_t number) const { return number >> low & mask(); }
  uint64_t unused() const { return container() & ~(mask() << low); }
};

inline bool is_real(const qvimagedata &d) { return d.pixietype & 0x30; }

inline form image_form(const qvimagedata &d) {
  const int size = qvimdatasize(d.pixietype);
  if (is_real(d)) return {size, 8 * size, 0, false};
  return {size, d.i_bitsused, d.i_bitsxsb == QVIM_MSB ? 8 * size - d.i_bitsused : 0, d.i_endian != 0};
}

// The form in which a caller with that data type word has pixies. Who asks for both ends gets the one that
// the image does not use.
inline form caller_form(const qvimagedata &d, uint32_t datatype) {
  form f = image_form(d);
  if (is_real(d)) return f;
  const int high = 8 * f.size - f.bits;
  const uint32_t ends = datatype & (QVIM_MSB | QVIM_LSB);
  if (ends == QVIM_MSB) f.low = high;
  if (ends == QVIM_LSB) f.low = 0;
  if (ends == (QVIM_MSB | QVIM_LSB)) f.low = f.low ? 0 : high;
  f.reversed = datatype & QVIM_SWAPPED;
  return f;
}

template <class Record>
constexpr int axes_of = std::is_same_v<Record, qvimage> ? 2 : 3;

// Calls of a record of either dimension with a position of three coordinates.
inline uint32_t read(qvimage *im, void *b, uint32_t n, position p) {
  return im->ioread(im, 0, b, n, p[0], p[1]);
}
inline uint32_t read(qvimage3 *im, void *b, uint32_t n, position p) {
  return im->ioread(im, 0, b, n, p[0], p[1], p[2]);
}
inline uint32_t write(qvimage *im, const void *b, uint32_t n, position p) {
  return im->iorite(im, 0, b, n, p[0], p[1]);
}
inline uint32_t write(qvimage3 *im, const void *b, uint32_t n, position p) {
  return im->iorite(im, 0, b, n, p[0], p[1], p[2]);
}
inline uint32_t length(qvimage *im, uint32_t n, position p) { return im->iolen(im, n, p[0], p[1]); }
inline uint32_t length(qvimage3 *im, uint32_t n, position p) { return im->iolen(im, n, p[0], p[1], p[2]); }
inline int32_t map(qvimage *im, qvimagemap *m, position p) { return im->imap(im, m, p[0], p[1]); }
inline int32_t map(qvimage3 *im, qvimagemap *m, position p) { return im->imap(im, m, p[0], p[1], p[2]); }
inline int32_t supported(qvimage *im, uint32_t t) { return qvimdatasupportedwoutconversion(im, t); }
inline int32_t supported(qvimage3 *im, uint32_t t) { return qvim3datasupportedwoutconversion(im, t); }
inline int32_t generic_set(qvimbxtstate *s, qvimage *im, uint32_t t, uint32_t m) {
  return qvimbxts(s, im, 0, t, m);
}
inline int32_t generic_set(qvimbxtstate *s, qvimage3 *im, uint32_t t, uint32_t m) {
  return qvim3bxts(s, im, 0, t, m);
}
inline uint32_t generic_act(qvimbxtstate *s, qvimage *im, void *b, qvxyzcoord *l, uint32_t n, uint32_t op) {
  return qvimbxta(s, im, QVIM_LIST, b, l, n, op);
}
inline uint32_t generic_act(qvimbxtstate *s, qvimage3 *im, void *b, qvxyzcoord *l, uint32_t n, uint32_t op) {
  return qvim3bxta(s, im, QVIM_LIST, b, l, n, op);
}

}  // namespace access_model
