// What the strip codecs have in common, for tests and fuzz targets: the code is that of the slow coder, what
// was coded comes back, and neither depends on the pieces in which input and room come.
#pragma once

#include <random>
#include <string>

#include "tests/files/codec/slow_coders.hpp"
#include "tests/files/codec/strip_stream.hpp"

namespace strip_stream {

using shape = ptifprar_params;  // of the rows

inline size_t row_bytes(const shape &s) { return size_t(s.width) * size_t(s.samples) * (s.bits > 8 ? 2 : 1); }

inline bytes noise(size_t size, uint32_t seed, uint32_t values = 256) {
  std::mt19937 random(seed);
  bytes result(size);
  for (uint8_t &b : result) b = uint8_t(random() % values);
  return result;
}

struct codec {
  const char *name;
  int32_t (*init)(void **state, const shape *rows);
  int32_t (*reset)(void *);
  void (*done)(void **);
  coder encode, decode;
  bytes (*slow)(const bytes &rows, const shape &s);
  bool by_rows;  // the encoder takes whole rows
  bool ends;     // the decoder knows where the code ends
};

inline int32_t init_lzw(void **state, const shape *s) { return ptiflzw_stateinit(state, s); }
inline bytes slow_lzw(const bytes &rows, const shape &) { return slow::lzw_encoder().encode(rows); }
inline int32_t init_packbits(void **state, const shape *s) {
  const int32_t bytes_of_row = s ? int32_t(row_bytes(*s)) : 0;
  return ptifpabi_stateinit(state, s ? &bytes_of_row : nullptr);
}
inline bytes slow_packbits(const bytes &rows, const shape &s) { return slow::pack(rows, row_bytes(s)); }

inline const codec lzw = {"ptiflzw",         init_lzw,       ptiflzw_statereset,
                          ptiflzw_statedone, ptiflzw_encode, ptiflzw_decode,
                          slow_lzw,          false,          true};
inline const codec packbits = {"ptifpabi",
                               init_packbits,
                               ptifpabi_statereset,
                               ptifpabi_statedone,
                               ptifpabi_encode,
                               ptifpabi_decode,
                               slow_packbits,
                               true,
                               true};
inline const codec predictive = {"ptifprar",
                                 ptifprar_stateinit,
                                 ptifprar_statereset,
                                 ptifprar_statedone,
                                 ptifprar_encode,
                                 ptifprar_decode,
                                 slow::predict,
                                 false,
                                 false};

// A state of a codec, and runs of it.
class coding {
 public:
  coding(const codec &c, const shape &s) : codec_(c), shape_(s) { made = c.init(&state_, &s); }
  ~coding() { codec_.done(&state_); }
  coding(const coding &) = delete;
  coding &operator=(const coding &) = delete;
  void *state() { return state_; }

  outcome encode(const bytes &rows) { return encode(rows, constant(rows.size()), constant(1 << 14)); }
  outcome encode(const bytes &rows, const piece_size &in, const piece_size &room, bool late_end = false) {
    if (codec_.reset(state_) != 0) return {stuck, {}, 0};
    const size_t row = row_bytes(shape_);
    const auto whole_rows = [&] { return (in() + row - 1) / row * row; };
    return codec_.by_rows ? run(codec_.encode, state_, rows, whole_rows, room, late_end)
                          : run(codec_.encode, state_, rows, in, room, late_end);
  }
  // `most` for codecs that do not know their end.
  outcome decode(const bytes &code, size_t most = SIZE_MAX) {
    return decode(code, constant(code.size()), constant(1 << 14), false, most);
  }
  outcome decode(const bytes &code, const piece_size &in, const piece_size &room, bool late_end = false,
                 size_t most = SIZE_MAX) {
    if (codec_.reset(state_) != 0) return {stuck, {}, 0};
    return run(codec_.decode, state_, code, in, room, late_end, codec_.ends ? SIZE_MAX : most);
  }

  // "", or what the codec does not keep to.
  std::string broken(const bytes &rows, const bytes &code, const piece_size &in, const piece_size &room,
                     bool late_end) {
    const outcome coded = encode(rows, in, room, late_end);
    if (coded.result != 1 || coded.output != code) return "another code";
    if (coded.consumed != rows.size()) return "encoder's count";
    const outcome back = decode(code, in, room, late_end, rows.size());
    if (back.result != (codec_.ends ? 1 : enough)) return "no end";
    if (back.output != rows) return "other pixels";
    return !codec_.ends || back.consumed == code.size() ? "" : "decoder's count";
  }

  int32_t made;

 private:
  const codec &codec_;
  const shape shape_;
  void *state_ = nullptr;
};

}  // namespace strip_stream
