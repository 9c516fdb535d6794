// Predictive strip codec (TIFF Compression 32885): each sample is predicted from its neighbours, and what is
// left is coded with an adaptive model for each sample of a pixel.
#include <utility>

#include <qvimage/codec.h>
#include <qvimage/error.h>

#include "core/owned.hpp"
#include "files/codec/arith.hpp"
#include "files/codec/codec.hpp"

namespace qvim {
namespace {

constexpr int32_t most_bits = 12, most_samples = 4;
constexpr int32_t highest_frequency = 16384;

// One sample of the pixels: what came before, and how often each residual did.
class plane {
 public:
  [[nodiscard]] int32_t make(uint32_t bits, uint64_t width) {
    if (!above_.allocate(width)) return QVERR_MEMORY;
    start_ = 1u << (bits - 1);
    return residuals.make(1u << bits, highest_frequency, false);
  }
  void reset() {
    residuals.reset();
    left_ = start_;
  }

  // Of the sample in this column; the first row has nothing above.
  uint32_t prediction(uint64_t column, bool first_row) const {
    if (first_row || column == 0) return left_;
    return uint32_t(((int32_t(above_[column]) + int32_t(left_)) * 9 - int32_t(above_[column - 1]) * 8 + 5) /
                    10);
  }
  // The sample to the left is kept only now, so that prediction() still finds the row above in its place.
  void put(uint64_t column, uint32_t sample) {
    if (column > 0) above_[column - 1] = uint16_t(left_);
    left_ = sample;
  }
  void end_row() {
    above_[above_.size() - 1] = uint16_t(left_);
    left_ = start_;
  }

  arith::model residuals;

 private:
  array<uint16_t> above_;
  uint32_t left_ = 0, start_ = 0;
};

class strip_coder {
 public:
  [[nodiscard]] int32_t make(const ptifprar_params &p) {
    bits_ = uint32_t(p.bits);
    width_ = uint64_t(p.width);
    samples_ = uint32_t(p.samples);
    for (uint32_t i = 0; i < samples_; i++)
      if (const int32_t code = planes_[i].make(bits_, width_); code < 0) return code;
    reset();
    return 0;
  }
  void reset() {
    for (uint32_t i = 0; i < samples_; i++) planes_[i].reset();
    coder_ = arith::coder();
    first_row_ = true;
    column_ = sample_ = held_ = held_bytes_ = 0;
    failure_ = 0;
  }

  int32_t encode(codecstream &in, codecstream &out) {
    while (failure_ == 0) {
      if (!coder_.put_out(out)) return 0;
      if (coder_.finished()) return 1;
      uint32_t x;
      if (!read_sample(in, x)) {
        if (in.more > 0) return 0;
        if (held_bytes_) failure_ = QVERR_USAGE;  // half a sample
        coder_.finish();
        continue;
      }
      plane &p = planes_[sample_];
      if (!coder_.encode(p.residuals, (x - p.prediction(column_, first_row_)) & mask()))
        failure_ = QVERR_USAGE;
      put(x);
    }
    return failure_;
  }

  int32_t decode(codecstream &in, codecstream &out) {
    while (failure_ == 0) {
      if (!write_held(out)) return 0;
      if (out.next >= out.end || !coder_.take_in(in, in.more <= 0)) return 0;
      plane &p = planes_[sample_];
      const int32_t residual = coder_.decode(p.residuals);
      if (residual < 0) {
        failure_ = QVERR_USAGE;
        break;
      }
      held_ = (uint32_t(residual) + p.prediction(column_, first_row_)) & mask();
      held_bytes_ = bytes_per_sample();
      put(held_);
    }
    return failure_;
  }

 private:
  uint32_t mask() const { return (1u << bits_) - 1; }
  uint32_t bytes_per_sample() const { return bits_ < 9 ? 1 : 2; }

  // The next sample, least significant byte first. The input may end after its first byte, which is kept.
  bool read_sample(codecstream &in, uint32_t &x) {
    for (; held_bytes_ < bytes_per_sample(); held_bytes_++) {
      if (in.next >= in.end) return false;
      held_ |= uint32_t(*in.next) << 8 * held_bytes_;
      advance(in, 1);
    }
    x = std::exchange(held_, 0) & mask();
    held_bytes_ = 0;
    return true;
  }

  bool write_held(codecstream &out) {
    for (; held_bytes_ > 0; held_bytes_--) {
      if (out.next >= out.end) return false;
      *out.next = uint8_t(held_);
      advance(out, 1);
      held_ >>= 8;
    }
    return true;
  }

  void put(uint32_t x) {
    planes_[sample_].put(column_, x);
    if (++sample_ < samples_) return;
    sample_ = 0;
    if (++column_ < width_) return;
    column_ = 0;
    first_row_ = false;
    for (uint32_t i = 0; i < samples_; i++) planes_[i].end_row();
  }

  uint32_t bits_ = 0, samples_ = 0;
  uint64_t width_ = 0;
  plane planes_[most_samples];
  arith::coder coder_;
  bool first_row_ = true;
  uint64_t column_ = 0;
  uint32_t sample_ = 0;
  uint32_t held_ = 0, held_bytes_ = 0;  // of a sample that lies across two calls
  int32_t failure_ = 0;
};

strip_coder *coder_of(void *state) { return static_cast<strip_coder *>(state); }

bool in_range(const ptifprar_params &p) {
  return p.bits >= 1 && p.bits <= most_bits && p.width >= 1 && p.samples >= 1 && p.samples <= most_samples;
}

}  // namespace
}  // namespace qvim

using namespace qvim;

extern "C" {

int32_t ptifprar_stateinit(void **state, const ptifprar_params *params) {
  if (!state || *state || !params || !in_range(*params)) return QVERR_USAGE;
  owned<strip_coder> made = make_owned<strip_coder>();
  if (!made) return QVERR_MEMORY;
  const int32_t code = made->make(*params);
  if (code == 0) *state = made.release();
  return code;
}

int32_t ptifprar_statereset(void *state) {
  if (!state) return QVERR_USAGE;
  coder_of(state)->reset();
  return 0;
}

void ptifprar_statedone(void **state) {
  if (!state) return;
  const owned<strip_coder> freed(coder_of(*state));
  *state = nullptr;
}

int32_t ptifprar_encode(void *state, codecstream *in, codecstream *out) {
  return state && in && out ? coder_of(state)->encode(*in, *out) : QVERR_USAGE;
}

int32_t ptifprar_decode(void *state, codecstream *in, codecstream *out) {
  return state && in && out ? coder_of(state)->decode(*in, *out) : QVERR_USAGE;
}

}  // extern "C"
