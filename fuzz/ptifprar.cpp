// The predictive strip codec: what the encoder makes, in pieces, decodes to the same samples in other pieces;
// garbage decodes to something.
#include <algorithm>
#include <vector>

#include <qvimage/codec.h>

#include "files/codec/codec.hpp"
#include "fuzz/input.hpp"

namespace {

using bytes = std::vector<uint8_t>;

// Moves a codec over input and room of random sizes, each piece in an allocation of exactly its size.
class pieces {
 public:
  pieces(const bytes &input, uint8_t seed) : input_(input), seed_(seed) {}

  bytes run(int32_t (*operation)(void *, codecstream *, codecstream *), void *state, size_t most) {
    codecstream in{}, out{};
    bytes result, piece;
    size_t offered = 0;
    for (;;) {
      if (in.next == in.end) {
        const size_t n = std::min(size(), input_.size() - offered);
        piece.assign(input_.begin() + long(offered), input_.begin() + long(offered + n));
        offered += n;
        in.next = piece.data();
        in.end = in.next + n;
        in.more = offered < input_.size();
      }
      bytes room(std::min(size(), most - result.size()));
      out.next = room.data();
      out.end = out.next + room.size();
      const int32_t code = operation(state, &in, &out);
      require(code >= 0);
      result.insert(result.end(), room.data(), out.next);
      require(out.count == result.size());
      if (code == 1) {
        bytes last(1);
        out.next = last.data();
        out.end = out.next + 1;
        const bool partial = out.bitcnt > 0;
        require(qvim::finish_bits(&out));
        if (partial) result.push_back(last[0]);
        return result;
      }
      if (result.size() == most) return result;
    }
  }

 private:
  size_t size() {
    seed_ = seed_ * 1103515245 + 12345;
    return seed_ >> 16 & 1 ? 1 + (seed_ >> 20) % 3 : 1 + (seed_ >> 20) % 200;
  }
  const bytes &input_;
  uint32_t seed_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input input(data, size);
  const ptifprar_params params{int32_t(1 + input.up_to(11)), int32_t(1 + input.up_to(300)),
                               int32_t(1 + input.up_to(3))};
  const uint8_t in_seed = input.byte(), out_seed = input.byte();
  bytes samples = input.rest();
  const bytes garbage = samples;
  if (params.bits > 8) {
    samples.resize(samples.size() / 2 * 2);
    for (size_t i = 1; i < samples.size(); i += 2) samples[i] &= uint8_t((1 << (params.bits - 8)) - 1);
  } else {
    for (uint8_t &sample : samples) sample &= uint8_t((1 << params.bits) - 1);
  }

  void *state = nullptr;
  require(ptifprar_stateinit(&state, &params) == 0);
  const bytes code = pieces(samples, in_seed).run(ptifprar_encode, state, SIZE_MAX / 2);
  require(ptifprar_statereset(state) == 0);
  require(pieces(code, out_seed).run(ptifprar_decode, state, samples.size()) == samples);
  require(ptifprar_statereset(state) == 0);
  pieces(garbage, in_seed).run(ptifprar_decode, state, 2000);
  ptifprar_statedone(&state);
  return 0;
}
