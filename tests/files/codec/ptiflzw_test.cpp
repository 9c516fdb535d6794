// TIFF LZW: lengths, tables and codes of its own, good and bad.
#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench/frames.hpp"
#include "tests/files/codec/contract.hpp"

namespace {

using slow::code_stream;
using strip_stream::bytes;
using strip_stream::constant;
using strip_stream::noise;
using strip_stream::outcome;
using slow_encoder = slow::lzw_encoder;

// Codes of 9 bits: what a table below 511 strings needs.
bytes nine_bit(const std::vector<int> &codes) {
  code_stream stream;
  for (int code : codes) stream.put(code, 9);
  return stream.packed();
}

class Ptiflzw : public ::testing::Test {
 protected:
  outcome encode(const bytes &input) { return coding_.encode(input); }
  outcome decode(const bytes &input) { return coding_.decode(input); }
  void expect_coded_and_back(const bytes &input, const std::string &what) {
    ASSERT_EQ(
        coding_.broken(input, slow_encoder().encode(input), constant(1 << 20), constant(1 << 14), false), "")
        << what;
  }

  strip_stream::coding coding_{strip_stream::lzw, {}};
};

// Every pair of bytes comes once, so every byte but the first adds a string.
bytes new_pairs(size_t size) {
  bytes result;
  for (int step = 1; result.size() < size; step += 2)
    for (int i = 0; i < 256 && result.size() < size; i++) result.push_back(uint8_t(i * step));
  return result;
}

std::map<std::string, bytes> samples() {
  std::map<std::string, bytes> all;
  all["noise"] = noise(40000, 1);
  all["two values"] = noise(40000, 2, 2);
  all["five values"] = noise(100000, 3, 5);
  all["constant"] = bytes(300000, 77);
  for (int i = 0; i < 60000; i++) all["ramp"].push_back(uint8_t(i / 7));
  for (int i = 0; i < 60000; i++) all["period"].push_back(uint8_t(i % 251 * (i % 3)));
  all["12-bit photograph"] = frames::grey12(200, 100).bytes;
  all["16-bit photograph"] = frames::grey16(200, 100).bytes;
  all["RGB photograph"] = frames::rgb8(200, 100).bytes;
  all["differences"] = frames::differenced(frames::rgb8(200, 100)).bytes;
  return all;
}

TEST_F(Ptiflzw, WritesTheExampleOfTheTiffSpecification) {
  const bytes pixels = {7, 7, 7, 8, 8, 7, 7, 6, 6}, code = nine_bit({256, 7, 258, 8, 8, 258, 6, 6, 257});
  EXPECT_EQ(encode(pixels).output, code);
  EXPECT_EQ(decode(code).output, pixels);
}

TEST_F(Ptiflzw, CodesEveryLength) {
  for (size_t size = 0; size <= 600; size++) {
    expect_coded_and_back(noise(size, uint32_t(size)), "noise " + std::to_string(size));
    expect_coded_and_back(noise(size, uint32_t(size), 3), "three values " + std::to_string(size));
    expect_coded_and_back(bytes(size, 0), "constant " + std::to_string(size));
    expect_coded_and_back(new_pairs(size), "new pairs " + std::to_string(size));
  }
}

// Also where room for each byte comes alone, which splits the last codes.
TEST_F(Ptiflzw, CodesEveryLengthAroundWidthChangesAndResets) {
  for (size_t around : {254, 766, 1790, 3000, 3836, 3837, 2 * 3837, 3837 + 254})
    for (size_t size = around - 9; size <= around + 9; size++) {
      const bytes input = new_pairs(size);
      expect_coded_and_back(input, "new pairs " + std::to_string(size));
      EXPECT_EQ(coding_.encode(input, constant(size), constant(1)).output, slow_encoder().encode(input));
    }
}

TEST_F(Ptiflzw, CodesVariedDataWholeAndInPieces) {
  std::mt19937 random(11);
  const auto piece = [&] { return size_t(random() % (random() % 8 ? 300 : 5)); };
  int resets = 0;
  for (const auto &[name, data] : samples()) {
    slow_encoder model;
    const bytes code = model.encode(data);
    resets += model.resets;
    expect_coded_and_back(data, name);
    ASSERT_EQ(coding_.broken(data, code, piece, piece, true), "") << name;
  }
  EXPECT_GT(resets, 40);
}

TEST_F(Ptiflzw, ReadsTheLongestStrings) {
  code_stream stream;
  stream.put(256, 9);
  stream.put('a', 9);
  size_t total = 1;
  for (int code = 258; code < 4096; code++) {  // each defined by itself, a byte longer than the one before
    stream.put(code, code < 511 ? 9 : code < 1023 ? 10 : code < 2047 ? 11 : 12);
    total += size_t(code - 256);
  }
  stream.put(257, 12);
  const outcome o = decode(stream.packed());
  EXPECT_EQ(o.result, 1);
  EXPECT_TRUE(o.output == bytes(total, 'a'));
}

TEST_F(Ptiflzw, RefusesBadCodes) {
  const struct {
    const char *what;
    std::vector<int> codes;
    bytes delivered;
  } cases[] = {
      {"one above the next free code", {256, 'a', 259, 257}, {'a'}},
      {"one above, later", {256, 'a', 'b', 258, 261, 257}, {'a', 'b', 'a', 'b'}},
      {"a string before there is one", {256, 258, 257}, {}},
      {"the highest code of the width", {256, 'a', 511}, {'a'}},
      {"a string that a reset took away", {256, 'a', 'b', 258, 256, 258}, {'a', 'b', 'a', 'b'}},
      {"own definition after a reset", {256, 'a', 'b', 256, 'a', 259}, {'a', 'b', 'a'}},
  };
  for (const auto &c : cases) {
    const outcome o = decode(nine_bit(c.codes));
    EXPECT_EQ(o.result, -10) << c.what;
    EXPECT_EQ(o.output, c.delivered) << c.what;
  }
}

TEST_F(Ptiflzw, RefusesMoreStringsThanTheTableHolds) {
  for (const bool full : {false, true}) {
    code_stream stream;
    stream.put(256, 9);
    int next = 257;  // the first code adds no string
    for (int i = 0; i < 4096 - 258 + (full ? 2 : 1); i++) {
      stream.put('a', next < 511 ? 9 : next < 1023 ? 10 : next < 2047 ? 11 : 12);
      next++;
    }
    stream.put(257, 12);
    EXPECT_EQ(decode(stream.packed()).result, full ? -10 : 1);
  }
}

TEST_F(Ptiflzw, MissesTheEndOfInformation) {
  const bytes input = noise(5000, 13, 10);
  bytes code = slow_encoder().encode(input);
  code.resize(code.size() - 3);
  const outcome o = decode(code);
  EXPECT_EQ(o.result, -1);
  EXPECT_GE(o.output.size() + 20, input.size());
  EXPECT_TRUE(std::equal(o.output.begin(), o.output.end(), input.begin()));
  EXPECT_EQ(decode({}).result, -1);
  EXPECT_EQ(decode({0x80}).result, -1);
  EXPECT_EQ(decode(nine_bit({256, 'a', 'b'})).output, (bytes{'a', 'b'}));
}

TEST_F(Ptiflzw, StopsAtTheEndOfInformation) {
  bytes code = nine_bit({256, 'a', 257});  // 27 bits
  code.insert(code.end(), 50, 0xFF);
  const outcome o = decode(code);
  EXPECT_EQ(o.result, 1);
  EXPECT_EQ(o.output, bytes{'a'});
  EXPECT_EQ(o.consumed, 4u);
  codecstream in = strip_stream::over(code.data(), code.size()), none{};
  EXPECT_EQ(ptiflzw_decode(coding_.state(), &in, &none), 1) << "nothing more comes";
  EXPECT_EQ(in.count, 0u);
}

TEST_F(Ptiflzw, ReadsStripsWithoutAFirstClear) {
  EXPECT_EQ(decode(nine_bit({'a', 'b', 258, 257})).output, (bytes{'a', 'b', 'a', 'b'}));
  EXPECT_EQ(decode(nine_bit({0, 1, 257})).output, (bytes{0, 1}));
}

TEST_F(Ptiflzw, RefusesCodesPackedFromTheLowestBit) {
  for (int first = 0; first < 256; first++) {
    bytes code;
    uint32_t bits = 256u | uint32_t(first) << 9 | 257u << 18;
    for (; bits; bits >>= 8) code.push_back(uint8_t(bits));
    const outcome o = decode(code);
    EXPECT_EQ(o.result, -10) << first;
    EXPECT_TRUE(o.output.empty());
  }
}

TEST_F(Ptiflzw, GoesOneWayInAStrip) {
  ASSERT_EQ(encode({1, 2, 3}).result, 1);
  codecstream in{}, out{};
  EXPECT_EQ(ptiflzw_decode(coding_.state(), &in, &out), -1);
  EXPECT_EQ(decode(nine_bit({256, 257})).result, 1);
  EXPECT_EQ(ptiflzw_encode(coding_.state(), &in, &out), -1);
}

TEST_F(Ptiflzw, TakesAnyStreamRecord) {
  std::mt19937 random(17);
  for (int i = 0; i < 2000; i++) {
    bytes data = noise(64, uint32_t(i)), room(64);
    codecstream in{}, out{};
    in.bitcnt = int32_t(random());
    in.bitacc = random();
    out.bitcnt = int32_t(random());
    out.bitacc = random();
    in.next = data.data() + random() % 65;
    in.end = data.data() + random() % 65;  // may lie before next: nothing there
    out.next = room.data() + random() % 65;
    out.end = room.data() + random() % 65;
    ptiflzw_statereset(coding_.state());
    (void)(i % 2 ? ptiflzw_decode : ptiflzw_encode)(coding_.state(), &in, &out);
  }
}

}  // namespace
