// PackBits.
#include "fuzz/strip_codec.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input choices(data, size);
  const uint32_t seed = choices.byte(), row = 1 + choices.up_to(999);
  const strip_stream::bytes input = choices.rest();
  strip_stream::bytes rows = input;
  rows.resize((input.size() + row - 1) / row * row);
  require_contract(strip_stream::packbits, {8, int32_t(row), 1}, seed, input, rows, true);
  return 0;
}
