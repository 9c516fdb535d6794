// LZW: any bytes decode, or fail with a documented code; whatever is encoded comes back; neither depends on
// the pieces in which input and room come.
#include <qvimage/codec.h>

#include "fuzz/input.hpp"
#include "fuzz/piece_sizes.hpp"
#include "tests/files/codec/strip_stream.hpp"

using strip_stream::bytes;
using strip_stream::outcome;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input choices(data, size);
  const uint32_t seed = choices.up_to(65535);
  const bytes input = choices.rest();
  piece_sizes some(seed), others(seed + 1);
  void *state = nullptr;
  require(ptiflzw_stateinit(&state, nullptr) == 0);
  const auto run = [&](strip_stream::coder code, const bytes &from, piece_sizes &pieces) {
    require(ptiflzw_statereset(state) == 0);
    return strip_stream::run(code, state, from, std::ref(pieces), std::ref(pieces), seed % 2);
  };

  const outcome garbage = run(ptiflzw_decode, input, some), again = run(ptiflzw_decode, input, others);
  require(garbage.result == 1 || garbage.result == -1 || garbage.result == -10);
  require(garbage.result == again.result && garbage.output == again.output);

  const outcome coded = run(ptiflzw_encode, input, some);
  require(coded.result == 1);
  require(run(ptiflzw_encode, input, others).output == coded.output);
  const outcome back = run(ptiflzw_decode, coded.output, some);
  require(back.result == 1 && back.output == input && back.consumed == coded.output.size());
  ptiflzw_statedone(&state);
  return 0;
}
