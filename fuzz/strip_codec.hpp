// Strip codecs: any code decodes, or fails with a documented result, and whatever rows are coded come back;
// neither depends on the pieces in which input and room come.
#pragma once

#include "fuzz/input.hpp"
#include "fuzz/piece_sizes.hpp"
#include "tests/files/codec/contract.hpp"

// `against_slow`: the code must be that of the slow coder.
inline void require_contract(const strip_stream::codec &kind, const strip_stream::shape &s, uint32_t seed,
                             const strip_stream::bytes &input, const strip_stream::bytes &rows,
                             bool against_slow) {
  using namespace strip_stream;
  piece_sizes some(seed), others(seed + 1);
  coding c(kind, s);
  require(c.made == 0);
  const bool late_end = seed % 2;
  const outcome garbage = c.decode(input, std::ref(some), std::ref(some), late_end, 2000),
                again = c.decode(input, std::ref(others), std::ref(others), !late_end, 2000);
  require(garbage.result == 1 || garbage.result == enough || garbage.result == -1 || garbage.result == -10);
  require(garbage.result == again.result && garbage.output == again.output);

  const bytes code = against_slow ? kind.slow(rows, s) : c.encode(rows).output;
  require(c.broken(rows, code, std::ref(some), std::ref(some), late_end).empty());
  require(c.broken(rows, code, std::ref(others), std::ref(others), !late_end).empty());
}
