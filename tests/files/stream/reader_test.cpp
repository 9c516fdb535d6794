#include "files/stream/reader.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace {

using qvim::checked_reader;

// A stream in memory, in blocks so small that numbers straddle them.
class Reader : public testing::TestWithParam<uint64_t> {
 protected:
  Reader() {
    EXPECT_EQ(bufio_init(&stream, nullptr, nullptr, GetParam(), BUFIO_MEMORY), 0);
    for (int i = 0; i < 100; i++) bufio_putc(&stream, uint8_t(0x80 + i));
  }
  ~Reader() override { bufio_done(&stream); }
  bufio stream;
};

// The slow model: byte i of the stream is 0x80 + i.
uint64_t number_at(uint64_t position, int size, std::endian order) {
  uint64_t value = 0;
  for (int i = 0; i < size; i++)
    value |= (0x80 + position + uint64_t(i)) << 8 * (order == std::endian::little ? i : size - 1 - i);
  return value;
}

TEST_P(Reader, NumbersInEitherOrderAtAnyPosition) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    checked_reader r(stream, order);
    for (uint64_t at = 0; at < 92; at++) {
      r.seek(at);
      EXPECT_EQ(r.get<uint8_t>(), number_at(at, 1, order));
      r.seek(at);
      EXPECT_EQ(r.get<int16_t>(), int16_t(number_at(at, 2, order)));
      EXPECT_EQ(r.position(), at + 2);
      r.seek(at);
      EXPECT_EQ(r.get<uint32_t>(), number_at(at, 4, order));
      r.seek(at);
      EXPECT_EQ(r.get<uint64_t>(), number_at(at, 8, order));
      for (const uint32_t size : {1, 2, 4, 8}) {
        r.seek(at);
        EXPECT_EQ(r.get_unsigned(size), number_at(at, int(size), order));
      }
    }
    EXPECT_EQ(r.code(), 0);
    uint8_t bytes[8];
    qvim::to_bytes(bytes, -1.5, order);
    EXPECT_EQ(bytes[order == std::endian::big ? 0 : 7], 0xBF);
    EXPECT_EQ(qvim::from_bytes<double>(bytes, order), -1.5);
  }
}

TEST_P(Reader, WhatLeavesTheRangeIsZeroAndLatches) {
  const auto fails = [&](auto use) {
    checked_reader r(stream, std::endian::big);
    r.seek(97);
    EXPECT_EQ(r.code(), 0);
    use(r);
    EXPECT_EQ(r.code(), -10);
    r.seek(0);
    EXPECT_EQ(r.get<uint8_t>(), 0x80);
    EXPECT_EQ(r.code(), -10) << "stays";
  };
  fails([](checked_reader &r) {
    EXPECT_EQ(r.get<uint32_t>(), 0u);
    EXPECT_EQ(r.get<uint8_t>(), 0u) << "nothing follows";
  });
  fails([](checked_reader &r) { r.seek(101); });
  fails([](checked_reader &r) { r.skip(UINT64_MAX); });
  fails([](checked_reader &r) { r.get_unsigned(3); });
  fails([](checked_reader &r) {
    uint8_t bytes[4] = {1, 1, 1, 1};
    r.get_bytes(bytes, 4);
    EXPECT_EQ(bytes[0] | bytes[3], 0);
  });
  EXPECT_EQ(bufio_err(&stream), 0) << "the stream was never asked for what it lacks";
}

TEST_P(Reader, ChunksEndWithTheirParent) {
  checked_reader r(stream, std::endian::little);
  r.skip(10);
  checked_reader chunk = r.chunk(20);
  EXPECT_EQ(r.position(), 30u);
  EXPECT_EQ(chunk.position(), 10u);
  EXPECT_EQ(chunk.left(), 20u);
  EXPECT_TRUE(chunk.holds(5, 4));
  EXPECT_FALSE(chunk.holds(7, 3));
  EXPECT_FALSE(chunk.holds(uint64_t{1} << 62, 4)) << "the product wraps to 0";
  EXPECT_TRUE(chunk.holds_at(29, 1, 1) && chunk.holds_at(30, 0, 8));
  EXPECT_FALSE(chunk.holds_at(9, 1, 1) || chunk.holds_at(31, 0, 1) ||
               chunk.holds_at(10, uint64_t{1} << 62, 4));
  chunk.skip(15);
  checked_reader inner = chunk.chunk(6);
  EXPECT_EQ(inner.left(), 5u);
  EXPECT_EQ(inner.code(), -10);
  EXPECT_EQ(chunk.code(), -10);
  EXPECT_EQ(r.code(), 0);
  checked_reader whole = r.chunk(70);
  whole.seek(29);
  EXPECT_EQ(whole.code(), -10) << "before its beginning";
}

INSTANTIATE_TEST_SUITE_P(BlockShifts, Reader, testing::Values(1, 3, 16));

}  // namespace
