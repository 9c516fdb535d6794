// The codec of a page's strips, chosen by its Compression.
#pragma once

#include <cstdint>
#include <utility>

#include <qvimage/codec.h>

#include "files/tiff/page.hpp"

namespace qvim::tiff {

class strip_codec {
 public:
  strip_codec() = default;
  strip_codec(strip_codec &&other) noexcept { *this = std::move(other); }
  strip_codec &operator=(strip_codec &&other) noexcept {
    std::swap(operations_, other.operations_);
    std::swap(state_, other.state_);
    return *this;
  }
  ~strip_codec() { stop(); }

  // Makes the state for pages of these rows: 0, -1 for rows that the codec does not serve, -2 for memory, -11
  // for another compression. Uncompressed pages have no codec and always succeed.
  [[nodiscard]] int32_t start(uint32_t compression, const row_form &r);
  void stop();

  explicit operator bool() const { return operations_ != nullptr; }
  [[nodiscard]] int32_t reset() { return operations_->reset(state_); }
  [[nodiscard]] int32_t encode(codecstream *in, codecstream *out) {
    return operations_->encode(state_, in, out);
  }
  [[nodiscard]] int32_t decode(codecstream *in, codecstream *out) {
    return operations_->decode(state_, in, out);
  }

 private:
  struct operations {
    uint32_t compression;
    int32_t (*start)(void **state, const row_form &r);
    int32_t (*reset)(void *state);
    void (*stop)(void **state);
    int32_t (*encode)(void *state, codecstream *in, codecstream *out);
    int32_t (*decode)(void *state, codecstream *in, codecstream *out);
  };
  static const operations all[];

  const operations *operations_ = nullptr;
  void *state_ = nullptr;
};

}  // namespace qvim::tiff
