// TIFF LZW (Compression 5): the state that encoder and decoder share, behind the C interface.
#include <sys/random.h>

#include <qvimage/error.h>

#include "core/owned.hpp"
#include "files/codec/lzw_decoder.hpp"
#include "files/codec/lzw_encoder.hpp"

namespace {

using namespace qvim;

// A strip goes one way, so both tables have one place. The first call of a strip says which way.
struct lzw_state {
  enum class direction { open, encoding, decoding };

  direction way;
  uint64_t seed;  // of the encoder's table
  union {
    lzw::encoder encoder;
    lzw::decoder decoder;
  };
};

// Runs the coder of that direction; -1 where the strip has gone the other way.
template <lzw_state::direction Way, class Coder>
int32_t run(void *state, Coder lzw_state::*coder, codecstream *in, codecstream *out) {
  if (!state || !in || !out) return QVERR_USAGE;
  auto &s = *static_cast<lzw_state *>(state);
  if (s.way == lzw_state::direction::open) {
    s.way = Way;
    if constexpr (Way == lzw_state::direction::encoding)
      s.encoder.reset(s.seed);
    else
      s.decoder.reset();
  }
  return s.way == Way ? (s.*coder).run(*in, *out) : int32_t{QVERR_USAGE};
}

}  // namespace

extern "C" {

int32_t ptiflzw_stateinit(void **state, const void *) {
  if (!state || *state) return QVERR_USAGE;
  auto *s = static_cast<lzw_state *>(qvmallocz(sizeof(lzw_state)));
  if (!s) return QVERR_MEMORY;
  s->seed = uint64_t(reinterpret_cast<uintptr_t>(s));
  static_cast<void>(
      getrandom(&s->seed, sizeof s->seed, GRND_NONBLOCK));  // if it fails, the address has to do
  *state = s;
  return 0;
}

int32_t ptiflzw_statereset(void *state) {
  if (!state) return QVERR_USAGE;
  static_cast<lzw_state *>(state)->way = lzw_state::direction::open;
  return 0;
}

void ptiflzw_statedone(void **state) { qvfreep(state); }

int32_t ptiflzw_encode(void *state, codecstream *in, codecstream *out) {
  return run<lzw_state::direction::encoding>(state, &lzw_state::encoder, in, out);
}

int32_t ptiflzw_decode(void *state, codecstream *in, codecstream *out) {
  return run<lzw_state::direction::decoding>(state, &lzw_state::decoder, in, out);
}

}  // extern "C"
