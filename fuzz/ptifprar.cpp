// Predictive coding.
#include "fuzz/strip_codec.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input choices(data, size);
  const strip_stream::shape s{int32_t(1 + choices.up_to(11)), int32_t(1 + choices.up_to(300)),
                              int32_t(1 + choices.up_to(3))};
  const uint32_t seed = choices.byte() << 8 | choices.byte();
  const strip_stream::bytes input = choices.rest();
  // Whole rows of samples that have no other bits than theirs.
  const size_t row = strip_stream::row_bytes(s);
  strip_stream::bytes rows = input;
  rows.resize(input.size() / row * row);
  for (size_t i = 0; i < rows.size(); i++)
    rows[i] &= uint8_t((s.bits > 8 ? i % 2 ? 1 << (s.bits - 8) : 256 : 1 << s.bits) - 1);
  require_contract(strip_stream::predictive, s, seed, input, rows,
                   s.bits <= 6);  // the slow coder is very slow
  return 0;
}
