// Predictive coding: what it ignores, and what it does with anything.
#include <gtest/gtest.h>

#include <random>

#include "tests/files/codec/contract.hpp"

namespace {

using namespace strip_stream;

TEST(Ptifprar, BitsAboveTheSignificantOnesAreIgnored) {
  coding c(predictive, {10, 20, 1});
  bytes clean(200), dirty;
  for (size_t i = 0; i < clean.size(); i++) clean[i] = uint8_t(i % 2 ? i / 50 % 4 : i * 7);
  dirty = clean;
  for (size_t i = 1; i < dirty.size(); i += 2) dirty[i] |= 0xA4;
  EXPECT_EQ(c.decode(c.encode(dirty).output, clean.size()).output, clean);
}

TEST(Ptifprar, GarbageDecodesToSomething) {
  std::mt19937 random(4);
  for (int round = 0; round < 200; round++) {
    const shape s{int(1 + random() % 12), int(1 + random() % 50), int(1 + random() % 4)};
    bytes garbage(random() % 200);
    for (uint8_t &b : garbage) b = uint8_t(random() % (round % 2 ? 256 : 2));
    coding c(predictive, s);
    const bytes samples = c.decode(garbage, constant(16), constant(33), false, 3000).output;
    EXPECT_EQ(samples.size(), 3000u);
    for (size_t i = 0; i < samples.size(); i++)
      ASSERT_LT(samples[i], s.bits < 8 || (s.bits > 8 && i % 2) ? 1 << (s.bits % 8 ? s.bits % 8 : 8) : 256);
  }
}

TEST(Ptifprar, RefusesWhatItCannotServe) {
  void *state = nullptr;
  for (const shape s : {shape{0, 1, 1}, {13, 1, 1}, {-1, 1, 1}, {8, 0, 1}, {8, -5, 1}, {8, 1, 0}, {8, 1, 5}})
    EXPECT_EQ(ptifprar_stateinit(&state, &s), -1);
  EXPECT_EQ(ptifprar_stateinit(&state, nullptr), -1);
  EXPECT_EQ(state, nullptr);
}

}  // namespace
