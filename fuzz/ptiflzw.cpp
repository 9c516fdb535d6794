// LZW.
#include "fuzz/strip_codec.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input choices(data, size);
  const uint32_t seed = choices.up_to(65535);
  const strip_stream::bytes input = choices.rest();
  require_contract(strip_stream::lzw, {}, seed, input, input, true);
  return 0;
}
