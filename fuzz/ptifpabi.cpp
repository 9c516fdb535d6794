// PackBits: any bytes decode, or fail with the documented code; whatever rows are encoded come back; neither
// depends on the pieces in which input and room come.
#include <qvimage/codec.h>

#include "fuzz/input.hpp"
#include "fuzz/piece_sizes.hpp"
#include "tests/files/codec/strip_stream.hpp"

using strip_stream::bytes;
using strip_stream::outcome;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input choices(data, size);
  const uint32_t seed = choices.byte(), row = 1 + choices.up_to(999);
  const int32_t row_bytes = int32_t(row);
  const bytes input = choices.rest();
  piece_sizes some(seed), others(seed + 1);
  void *state = nullptr;
  require(ptifpabi_stateinit(&state, &row_bytes) == 0);
  const auto run = [&](strip_stream::coder code, const bytes &from, piece_sizes &pieces, size_t unit) {
    require(ptifpabi_statereset(state) == 0);
    const auto whole_units = [&] { return pieces() * unit; };
    return strip_stream::run(code, state, from, whole_units, std::ref(pieces), seed % 2);
  };

  const outcome garbage = run(ptifpabi_decode, input, some, 1),
                again = run(ptifpabi_decode, input, others, 1);
  require(garbage.result == 1 || garbage.result == -10);
  require(garbage.result == again.result && garbage.output == again.output);

  bytes rows = input;
  rows.resize((input.size() + row - 1) / row * row);
  const outcome coded = run(ptifpabi_encode, rows, some, row);
  require(coded.result == 1);
  require(run(ptifpabi_encode, rows, others, row).output == coded.output);
  const outcome back = run(ptifpabi_decode, coded.output, some, 1);
  require(back.result == 1 && back.output == rows);
  ptifpabi_statedone(&state);
  return 0;
}
