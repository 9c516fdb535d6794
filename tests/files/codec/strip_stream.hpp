// Runs a strip codec over input and room in pieces. Each piece has a heap block of its own size, so that a
// sanitizer sees any access outside.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

#include <qvimage/codec.h>

#include "files/codec/codec.hpp"

namespace strip_stream {

using bytes = std::vector<uint8_t>;
using coder = int32_t (*)(void *, codecstream *, codecstream *);
using piece_size = std::function<size_t()>;

struct outcome {
  int32_t result = 0;
  bytes output;
  uint64_t consumed = 0;
};

constexpr int32_t enough = 2;    // result when there is as much output as was wanted
constexpr int32_t stuck = 1000;  // result of a codec that asks for more of what it was given plenty of

// A record over these bytes; `more` is 0.
inline codecstream over(uint8_t *begin, size_t size) {
  codecstream s{};
  s.start = s.next = begin;
  s.end = begin + size;
  return s;
}

inline piece_size constant(size_t size) {
  return [size] { return size; };
}

// With `late_end` the end of the input is announced only after all of it was consumed. Output ends at `most`.
// Bits that an encoder leaves are the last byte.
inline outcome run(coder code, void *state, const bytes &input, const piece_size &in_piece,
                   const piece_size &room, bool late_end = false, size_t most = SIZE_MAX) {
  outcome o;
  if (most == 0) return o.result = enough, o;
  codecstream in{}, out{};
  bytes window;
  size_t offered = 0;
  bool ended = !late_end && input.empty();
  for (int idle = 0; o.result == 0; idle++) {
    if (idle > 100) return o.result = stuck, o;
    if (in.next == in.end) {
      ended = offered == input.size();
      const size_t n = std::min(in_piece(), input.size() - offered);
      window.assign(input.begin() + std::ptrdiff_t(offered), input.begin() + std::ptrdiff_t(offered + n));
      window.shrink_to_fit();
      offered += n;
      if (!late_end) ended = offered == input.size();
      in.start = in.next = window.data();
      in.end = in.start + n;
    }
    in.more = ended ? 0 : 1;
    bytes place(std::min(room(), most - o.output.size()));
    out.next = place.data();
    out.end = place.data() + place.size();
    const uint64_t consumed_before = in.count;
    const uint8_t *next_before = in.next;
    o.result = code(state, &in, &out);
    if (in.next < next_before || in.next > in.end || out.next < place.data() || out.next > out.end ||
        in.count - consumed_before != uint64_t(in.next - next_before))
      return o.result = stuck, o;
    if (in.next != next_before || out.next != place.data()) idle = 0;
    o.output.insert(o.output.end(), place.data(), out.next);
    if (out.count != o.output.size()) return o.result = stuck, o;
    if (o.result == 0 && o.output.size() == most) o.result = enough;
  }
  if (o.result == 1 && out.bitcnt > 0) {
    o.output.push_back(0);
    out.next = &o.output.back();
    out.end = out.next + 1;
    if (!qvim::finish_bits(&out)) o.result = stuck;
  }
  o.consumed = in.count;
  return o;
}

}  // namespace strip_stream
