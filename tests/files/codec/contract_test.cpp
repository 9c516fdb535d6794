// The contract of the strip codecs, each held against its slow coder.
#include "tests/files/codec/contract.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <random>

#include "bench/frames.hpp"
#include "tests/fault.hpp"

namespace {

using namespace strip_stream;

// Rows of a picture with edges, slopes and noise, in samples of their one or two bytes.
bytes picture(const shape &s, int rows, uint32_t seed) {
  std::mt19937 random(seed);
  bytes result;
  const int top = (1 << s.bits) - 1;
  for (int y = 0; y < rows; y++)
    for (int x = 0; x < s.width; x++)
      for (int i = 0; i < s.samples; i++) {
        int value = (x * (i + 1) + y * 3) * top / 200 + int(random() % 3);
        if (x / 8 % 4 == 1) value = top - value;
        if (y == 5) value = int(random());
        value &= top;
        result.push_back(uint8_t(value));
        if (s.bits > 8) result.push_back(uint8_t(value >> 8));
      }
  return result;
}

struct case_of {
  codec kind;
  bytes bad;  // code or rows that one of its operations refuses
  coder refuses;
  int32_t code;
};

void PrintTo(const case_of &c, std::ostream *out) { *out << c.kind.name; }

class StripCodec : public ::testing::TestWithParam<case_of> {
 protected:
  const codec &kind() const { return GetParam().kind; }
};

TEST_P(StripCodec, CodesAsTheSlowCoderAndBack) {
  const shape shapes[] = {{1, 17, 1}, {4, 40, 2}, {8, 40, 3}, {9, 20, 4}, {12, 30, 1},
                          {8, 1, 1},  {12, 2, 4}, {5, 37, 3}, {8, 300, 1}};
  for (const shape &s : shapes)
    for (const int rows : {1, 2, 12}) {
      coding c(kind(), s);
      const bytes data = picture(s, rows, uint32_t(s.bits));
      EXPECT_EQ(c.broken(data, kind().slow(data, s), constant(SIZE_MAX / 2), constant(4096), false), "")
          << s.bits << " bits, " << s.width << " x " << rows << " of " << s.samples;
    }
  const frames::frame f = frames::grey12(301, 20);
  const shape s{12, int32_t(f.width), 1};
  coding c(kind(), s);
  EXPECT_EQ(c.broken(f.bytes, kind().slow(f.bytes, s), constant(1 << 20), constant(1 << 14), true), "");
}

TEST_P(StripCodec, ItDoesNotMatterHowStreamsAreCut) {
  const shape s{10, 25, 3};
  const bytes rows = picture(s, 6, 8), code = kind().slow(rows, s);
  coding c(kind(), s);
  for (size_t size = 1; size <= 40; size++)
    for (const bool late_end : {false, true})
      for (const auto &[in, room] :
           {std::pair(size, size_t{10000}), std::pair(size_t{10000}, size), std::pair(size, size)})
        EXPECT_EQ(c.broken(rows, code, constant(in), constant(room), late_end), "")
            << in << ", room " << room;
  for (size_t first = 0; first <= code.size(); first++) {  // two pieces, at every place
    const auto split = [&, n = 0]() mutable { return n++ ? code.size() : first; };
    EXPECT_EQ(c.decode(code, split, constant(10000), false, rows.size()).output, rows) << first;
    EXPECT_EQ(c.decode(code, constant(10000), split, false, rows.size()).output, rows) << first;
  }
  std::mt19937 random(11);
  const auto piece = [&] { return size_t(random() % (random() % 8 ? 300 : 5)); };
  for (int i = 0; i < 200; i++) EXPECT_EQ(c.broken(rows, code, piece, piece, i % 2), "") << i;
}

TEST_P(StripCodec, ChecksItsArguments) {
  const shape s{8, 4, 1};
  void *state = nullptr;
  codecstream stream{};
  coding c(kind(), s);
  ASSERT_EQ(c.made, 0);
  state = c.state();
  EXPECT_EQ(kind().init(&state, &s), -1) << "there is one";
  EXPECT_EQ(kind().init(nullptr, &s), -1);
  EXPECT_EQ(kind().reset(nullptr), -1);
  for (const coder operation : {kind().encode, kind().decode}) {
    EXPECT_EQ(operation(nullptr, &stream, &stream), -1);
    EXPECT_EQ(operation(state, nullptr, &stream), -1);
    EXPECT_EQ(operation(state, &stream, nullptr), -1);
  }
  kind().done(nullptr);
  state = nullptr;
  kind().done(&state);
}

TEST_P(StripCodec, KeepsFailingUntilReset) {
  const shape s{12, 4, 1};
  coding c(kind(), s);
  bytes bad = GetParam().bad, room(100);
  const auto offer = [&](size_t size) {
    codecstream in = over(bad.data(), size), out = over(room.data(), room.size());
    return GetParam().refuses(c.state(), &in, &out);
  };
  EXPECT_EQ(offer(bad.size()), GetParam().code);
  EXPECT_EQ(offer(0), GetParam().code);
  const bytes good = picture(s, 3, 1);
  EXPECT_EQ(c.broken(good, kind().slow(good, s), constant(100), constant(100), false), "");
}

TEST_P(StripCodec, FailsCleanlyWithoutMemory) {
  const auto make = [&] {
    void *state = nullptr;
    const shape s{12, 100, 4};
    const int32_t code = kind().init(&state, &s);
    EXPECT_EQ(state == nullptr, code < 0);
    kind().done(&state);
    return code;
  };
  expect_faults_reported(make, 0, 0);
}

INSTANTIATE_TEST_SUITE_P(
    All, StripCodec,
    ::testing::Values(case_of{lzw, {0x80, 0x18, 0x65, 0x80}, ptiflzw_decode, -10},  // Clear, 'a' >> 1, 300
                      case_of{packbits, {0xFE}, ptifpabi_decode, -10},
                      case_of{predictive, bytes(7), ptifprar_encode, -1}),
    [](const auto &test) { return test.param.kind.name; });

}  // namespace
