#include <gtest/gtest.h>

#include <random>
#include <vector>

#include <qvimage/arith.h>

#include "files/codec/codec.hpp"
#include "tests/fault.hpp"
#include "tests/files/codec/arith_model.hpp"

namespace {

using bytes = std::vector<uint8_t>;
constexpr int end_symbol = -1;

struct coder {
  void *state = nullptr;
  coder() { EXPECT_EQ(parth_stateinit(&state), 0); }
  ~coder() { parth_statedone(&state); }
};

struct model {
  void *m = nullptr;
  model(uint32_t symbols, int32_t maxfreq, bool with_end) {
    EXPECT_EQ(parth_modelinit(&m, symbols, maxfreq, with_end), 0);
  }
  ~model() { parth_modeldone(&m); }
  uint32_t frequency(int symbol) {
    uint32_t f = 0;
    EXPECT_EQ(parth_symbolcost(m, symbol, &f, nullptr), 0);
    return f;
  }
  uint32_t total() {
    uint32_t t = 0;
    EXPECT_EQ(parth_symbolcost(m, 0, nullptr, &t), 0);
    return t;
  }
};

// Codes the symbols and the end through a room of so many bytes at a time.
bytes encode(void *m, const std::vector<int> &symbols, size_t room) {
  coder c;
  bytes result, window(room);
  codecstream out{};
  out.next = window.data();
  out.end = out.next + room;
  const auto empty_window = [&] {
    result.insert(result.end(), window.data(), out.next);
    out.next = window.data();
  };
  const auto put = [&](int symbol) {
    ASSERT_EQ(parth_encode(c.state, m, symbol), 0);
    while (!parth_encodeout(c.state, &out)) empty_window();
  };
  for (int symbol : symbols) put(symbol);
  put(end_symbol);
  while (!qvim::finish_bits(&out)) empty_window();
  empty_window();
  EXPECT_EQ(out.count, result.size());
  return result;
}

// Decodes until the end symbol, from pieces of so many bytes; zeros follow the code.
std::vector<int> decode(void *m, bytes code, size_t piece) {
  coder c;
  code.resize(code.size() + 4);
  codecstream in{};
  in.next = in.end = code.data();
  std::vector<int> symbols;
  for (;;) {
    while (!parth_decodein(c.state, &in)) {
      if (in.end == code.data() + code.size()) {
        ADD_FAILURE() << "the end symbol is missing";
        return symbols;
      }
      in.end += std::min(piece, size_t(code.data() + code.size() - in.end));
    }
    const int symbol = parth_decode(c.state, m);
    if (symbol < 0) return symbols;
    symbols.push_back(symbol);
  }
}

std::vector<int> random_symbols(int count, int symbols, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<int> result;
  for (int i = 0; i < count; i++) {
    // Mostly small ones, and a change of habit half way.
    const int s = int(random() % uint32_t(symbols)), t = int(random() % uint32_t(symbols));
    result.push_back(i < count / 2 ? std::min(s, t) : symbols - 1 - std::min(s, t) / 2);
  }
  return result;
}

// Four equally likely symbols take two bits each, the first one the top quarter: 11, 10, 01, and 00 for the
// end, which a zero and 13 ones follow. Bits fill bytes from the lowest on.
TEST(Arith, CodeWorkedOutByHand) {
  model m(3, 0, true);
  EXPECT_EQ(encode(m.m, {0, 1, 2, 1}, 10), (bytes{0b01100111, 0b11111000, 0b11111111}));
  // One symbol less: 9 + 13 bits, of which the last 6 lie in an incomplete byte, at its low end.
  EXPECT_EQ(encode(m.m, {0, 1, 2}, 10), (bytes{0b00100111, 0b11111110, 0b00111111}));
}

TEST(Arith, BytesAreThoseOfTheSlowModel) {
  const struct {
    int symbols, maxfreq, limit;
  } cases[] = {{2, 16383, 16383}, {2, 20, 20},    {5, 0, 0}, {9, 1, 20},
               {256, 600, 600},   {256, -1, 514}, {1, 9, 9}};
  for (const auto &c : cases)
    for (const size_t room : {1, 3, 100000}) {
      const std::vector<int> symbols = random_symbols(2000, c.symbols, uint32_t(c.symbols));
      slow_model slow(c.symbols + 1, c.limit);
      slow_coder coder;
      for (int s : symbols) coder.encode(slow, s);
      coder.encode(slow, c.symbols);
      model fast(uint32_t(c.symbols), c.maxfreq, true);
      ASSERT_EQ(encode(fast.m, symbols, room), coder.finish())
          << c.symbols << " " << c.maxfreq << " " << room;
    }
}

TEST(Arith, DecodesWhatItEncodedHoweverItIsCut) {
  for (const int count : {1, 2, 17, 4096, 8190})
    for (const size_t piece : {1, 2, 7, 1000000}) {
      const std::vector<int> symbols = random_symbols(3000, count, 5);
      model e(uint32_t(count), 16383, true), d(uint32_t(count), 16383, true);
      ASSERT_EQ(decode(d.m, encode(e.m, symbols, piece), piece), symbols) << count << " " << piece;
    }
}

TEST(Arith, SkewedModelsKeepProportionsWithinTheLimit) {
  std::vector<uint64_t> counts(100);
  for (size_t i = 0; i < counts.size(); i++) counts[i] = i % 10 ? uint64_t(1) << (i / 2) : 0;
  model m(100, 1000, true);
  ASSERT_EQ(parth_modelskew(m.m, counts.data(), nullptr), 0);
  EXPECT_LE(m.total(), 1000u);
  for (int i = 0; i < 100; i++) EXPECT_EQ(m.frequency(i) != 0, counts[size_t(i)] != 0) << i;
  EXPECT_NEAR(m.frequency(99) / double(m.frequency(97)), 2, 0.05);
  EXPECT_EQ(m.frequency(end_symbol), 1u);

  const uint32_t small[] = {3, 0, 5};
  model n(3, 100, false);
  ASSERT_EQ(parth_modelskew(n.m, nullptr, small), 0);
  EXPECT_EQ(n.frequency(0), 3u) << "fits as it is";
  EXPECT_EQ(n.frequency(2), 5u);
  EXPECT_EQ(n.total(), 8u);
  coder c;
  EXPECT_EQ(parth_encode(c.state, n.m, 1), -1) << "a symbol that cannot be";
  const uint64_t huge[] = {UINT64_MAX, UINT64_MAX, 1};
  ASSERT_EQ(parth_modelskew(n.m, huge, nullptr), 0);
  EXPECT_LE(n.total(), 100u);
  EXPECT_EQ(n.frequency(0), n.frequency(1));
  EXPECT_EQ(n.frequency(2), 1u);
  ASSERT_EQ(parth_modelskew(n.m, nullptr, nullptr), 0);
  EXPECT_EQ(n.total(), 3u);
  const uint32_t none[] = {0, 0, 0};
  EXPECT_EQ(parth_modelskew(n.m, nullptr, none), -1);
}

TEST(Arith, FrequenciesTravelAsFieldsOf14Bits) {
  std::vector<uint32_t> counts(50);
  for (uint32_t i = 0; i < 50; i++) counts[i] = i * i;
  model sent(50, 16383, true);
  ASSERT_EQ(parth_modelskew(sent.m, nullptr, counts.data()), 0);
  bytes code(200);
  codecstream out{};
  out.next = out.end = code.data();
  int restart = 1;
  while (parth_freqout(sent.m, &out, restart) == 0) {
    restart = 0;
    out.end++;
  }
  out.end++;
  ASSERT_TRUE(qvim::finish_bits(&out));
  EXPECT_EQ(out.count, (51 * 14 + 7) / 8u);
  // The third field, from bit 28 on, holds 4.
  EXPECT_EQ((code[3] >> 4 | code[4] << 4) & 0x3FFF, int(sent.frequency(2)));

  for (const size_t piece : {1, 5, 100}) {
    model received(50, 16383, true);
    codecstream in{};
    in.next = in.end = code.data();
    in.more = 1;
    restart = 1;
    while (parth_freqin(received.m, &in, restart) == 0) {
      restart = 0;
      in.end += piece;
    }
    for (int s = -1; s < 50; s++) EXPECT_EQ(received.frequency(s), sent.frequency(s)) << s;
  }
  model m(50, 16383, true);
  codecstream in{};
  in.next = code.data();
  in.end = code.data() + 20;
  EXPECT_EQ(parth_freqin(m.m, &in, 1), -10) << "cut off";
  for (const uint8_t fill : {0x00, 0xFF}) {
    bytes bad(200, fill);
    in = {};
    in.next = bad.data();
    in.end = bad.data() + 200;
    EXPECT_EQ(parth_freqin(m.m, &in, 1), -10) << "no total, or one beyond the limit";
  }
  EXPECT_EQ(m.total(), 51u) << "unchanged";
}

TEST(Arith, RefusesWhatItCannotServe) {
  void *p = nullptr, *used = &p;
  EXPECT_EQ(parth_stateinit(nullptr), -1);
  EXPECT_EQ(parth_stateinit(&used), -1);
  EXPECT_EQ(parth_statereset(nullptr), -1);
  EXPECT_EQ(parth_modelinit(nullptr, 2, 0, 0), -1);
  EXPECT_EQ(parth_modelinit(&used, 2, 0, 0), -1);
  EXPECT_EQ(parth_modelinit(&p, 0, 0, 0), -1);
  EXPECT_EQ(parth_modelinit(&p, 8192, 0, 0), -1);
  EXPECT_EQ(parth_modelinit(&p, 8191, 0, 1), -1);
  EXPECT_EQ(parth_modelinit(&p, UINT32_MAX, 0, 1), -1);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(parth_modelreset(nullptr), -1);
  parth_statedone(&p);
  parth_modeldone(nullptr);

  coder c;
  model m(4, 100, false);
  codecstream s{};
  EXPECT_EQ(parth_encode(nullptr, m.m, 0), -1);
  EXPECT_EQ(parth_encode(c.state, nullptr, 0), -1);
  EXPECT_EQ(parth_encode(c.state, m.m, 4), -1);
  EXPECT_EQ(parth_encode(c.state, m.m, -1), -1) << "it has no end symbol";
  EXPECT_EQ(parth_encodeout(c.state, nullptr), -1);
  EXPECT_EQ(parth_decodein(nullptr, &s), -1);
  EXPECT_EQ(parth_decode(c.state, m.m), -1) << "nothing read yet";
  EXPECT_EQ(parth_symbolcost(m.m, 4, nullptr, nullptr), -1);
  EXPECT_EQ(parth_freqout(m.m, nullptr, 1), -1);
  // Output that is never taken ends the coding, it does not spoil it.
  int accepted = 0;
  while (parth_encode(c.state, m.m, 3) == 0 && accepted < 100) accepted++;
  EXPECT_LT(accepted, 100);
}

TEST(Arith, EveryFailingAllocationIsReported) {
  const auto make_all = [] {
    void *state = nullptr, *m = nullptr;
    const int32_t a = parth_stateinit(&state), b = parth_modelinit(&m, 10, 100, 1);
    const int32_t c = b < 0 ? b : parth_modelskew(m, nullptr, nullptr);
    parth_statedone(&state);
    parth_modeldone(&m);
    return std::min({a, b, c});
  };
  expect_faults_reported(make_all, 0, 0);
}

}  // namespace
