// PackBits: runs and literals, rows, and bad codes.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/files/codec/contract.hpp"

namespace {

using strip_stream::bytes;
using strip_stream::constant;
using strip_stream::noise;
using strip_stream::outcome;

struct pabi : strip_stream::coding {
  explicit pabi(int32_t row) : coding(strip_stream::packbits, {8, row, 1}) {}
};

bytes operator*(const bytes &one, int times) {
  bytes all;
  for (int i = 0; i < times; i++) all.insert(all.end(), one.begin(), one.end());
  return all;
}
bytes operator+(bytes a, const bytes &b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

TEST(Ptifpabi, CodesRunsAndLiterals) {
  bytes counting(300);
  for (size_t i = 0; i < counting.size(); i++) counting[i] = uint8_t(i);
  const auto part = [&](int from, int to) { return bytes(counting.begin() + from, counting.begin() + to); };
  const struct {
    bytes row, code;
  } cases[] = {
      {{'A', 'A', 'B', 'C', 'D', 'D', 'D'}, {0xFF, 'A', 1, 'B', 'C', 0xFE, 'D'}},
      {bytes{9} * 300, {0x81, 9, 0x81, 9, 0xD5, 9}},  // 128, 128 and 44
      {{5}, {0, 5}},
      {{5, 5}, {0xFF, 5}},
      {{1, 2, 2, 3}, {3, 1, 2, 2, 3}},  // a pair inside a literal stays there
      {{1, 2, 2, 2}, {0, 1, 0xFE, 2}},  // a run of three does not
      {{1, 1, 2}, {0xFF, 1, 0, 2}},
      {bytes{9} * 129, {0x81, 9, 0, 9}},  // a run of 128, and one byte alone
      {counting, bytes{127} + part(0, 128) + bytes{127} + part(128, 256) + bytes{43} + part(256, 300)},
      // the example that was published with the format
      {{0xAA, 0xAA, 0xAA, 0x80, 0x00, 0x2A, 0xAA, 0xAA, 0xAA, 0xAA, 0x80, 0x00,
        0x2A, 0x22, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA},
       {0xFE, 0xAA, 0x02, 0x80, 0x00, 0x2A, 0xFD, 0xAA, 0x03, 0x80, 0x00, 0x2A, 0x22, 0xF7, 0xAA}},
  };
  for (const auto &c : cases) {
    pabi codec(int32_t(c.row.size()));
    const outcome coded = codec.encode(c.row);
    EXPECT_EQ(coded.result, 1);
    EXPECT_EQ(coded.output, c.code) << ::testing::PrintToString(c.row);
    EXPECT_EQ(codec.decode(c.code).output, c.row);
  }
}

TEST(Ptifpabi, CodesEveryRowLengthAsTheSlowEncoder) {
  for (size_t row = 1; row <= 600; row++)
    for (uint32_t values : {1, 2, 3, 20, 256}) {
      pabi codec{int32_t(row)};
      const bytes rows = noise(row * 3, uint32_t(row), values);
      ASSERT_EQ(codec.broken(rows, slow::pack(rows, row), constant(rows.size()), constant(1 << 14), false),
                "")
          << row << " bytes of " << values << " values";
    }
}

TEST(Ptifpabi, ConsumesARowWhenItsCodeIsWritten) {
  pabi codec(4);
  bytes rows = {1, 2, 3, 4, 5, 5, 5, 5}, room(20);
  codecstream in = strip_stream::over(rows.data(), 8), out = strip_stream::over(room.data(), 4);
  in.more = 1;
  EXPECT_EQ(ptifpabi_encode(codec.state(), &in, &out), 0);
  EXPECT_EQ(in.next, rows.data());
  out.end = room.data() + 6;
  EXPECT_EQ(ptifpabi_encode(codec.state(), &in, &out), 0);
  EXPECT_EQ(in.next, rows.data() + 4);
  EXPECT_EQ(in.count, 4u);
  out.end = room.data() + 20;
  EXPECT_EQ(ptifpabi_encode(codec.state(), &in, &out), 0);  // more rows may come
  in.more = 0;
  EXPECT_EQ(ptifpabi_encode(codec.state(), &in, &out), 1);
  EXPECT_EQ(bytes(room.data(), out.next), (bytes{3, 1, 2, 3, 4, 0xFD, 5}));
}

TEST(Ptifpabi, RefusesInputThatIsNotWholeRows) {
  pabi codec(4);
  for (size_t size : {1, 3, 5, 7}) {
    EXPECT_EQ(codec.encode(bytes(size, 1)).result, -1) << size;
    codecstream none{};
    EXPECT_EQ(ptifpabi_encode(codec.state(), &none, &none), -1) << "until reset";
  }
  EXPECT_EQ(codec.encode(bytes(8, 1)).result, 1);
  EXPECT_EQ(codec.encode({}).result, 1);
}

TEST(Ptifpabi, SkipsHeadersWithoutBytes) {
  pabi codec(1);
  EXPECT_EQ(codec.decode({0x80, 0xFE, 'x'}).output, bytes(3, 'x'));
  EXPECT_EQ(codec.decode({1, 'a', 'b', 0x80, 0x80, 0, 'c', 0x80}).output, (bytes{'a', 'b', 'c'}));
  EXPECT_EQ(codec.decode(bytes{0x80} * 1000).result, 1);
  EXPECT_EQ(codec.decode({0, 'a', 0x80}, constant(3), constant(1)).result, 1);
}

TEST(Ptifpabi, RefusesARunThatIsCutOff) {
  const struct {
    bytes code, delivered;
  } cases[] = {
      {{0xFE}, {}},
      {{0}, {}},
      {{3, 'a', 'b'}, {'a', 'b'}},
      {{0xFF, 'a', 127}, {'a', 'a'}},
      {bytes{127} + bytes{8} * 100, bytes{8} * 100},
  };
  pabi codec(1);
  for (const auto &c : cases)
    for (bool late_end : {false, true}) {
      const outcome o = codec.decode(c.code, constant(1000), constant(1000), late_end);
      EXPECT_EQ(o.result, -10);
      EXPECT_EQ(o.output, c.delivered);
      codecstream none{};
      EXPECT_EQ(ptifpabi_decode(codec.state(), &none, &none), -10) << "until reset";
    }
  EXPECT_EQ(codec.decode({}).result, 1);
}

TEST(Ptifpabi, RefusesRowsOfNothing) {
  void *state = nullptr;
  for (int32_t row : {0, -1, INT32_MIN}) EXPECT_EQ(ptifpabi_stateinit(&state, &row), -1);
  EXPECT_EQ(ptifpabi_stateinit(&state, nullptr), -1);
}

}  // namespace
