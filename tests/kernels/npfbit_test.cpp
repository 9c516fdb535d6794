// Bit packing against a model that moves single bits, and the byte helpers.
#include <gtest/gtest.h>

#include <algorithm>

#include <qvimage/npfbix.h>

#include "tests/kernels/kernel_levels.hpp"

namespace {

using namespace qvim::test;

std::vector<member> packers() {
  std::vector<member> members;
#define QVIM_STUFF(name, ...) add_member(members, QVIM_LEVELS_OF(name));
#define QVIM_UNSTUFF(name, ...) add_member(members, QVIM_LEVELS_OF(name));
#include <qvimage/members/npfbix.inc>
  return members;
}

// Bit `bit` of value `i` (0 is the value's least significant) lies here in the pixies, counted in bits.
uint64_t in_pixies(uint64_t i, uint32_t bit, uint32_t width, uint32_t bits, uint32_t mode) {
  return i * width + bit + (mode & 2 ? 0 : width - bits);
}

// ... and here in the stream.
uint64_t in_stream(uint64_t i, uint32_t bit, uint32_t bits, uint32_t mode) {
  if (!(mode & 1)) return i * bits + bit;
  const uint64_t nth = i * bits + (bits - 1 - bit);
  return nth / 8 * 8 + (7 - nth % 8);
}

bool get_bit(const uint8_t *p, uint64_t at) { return p[at / 8] >> at % 8 & 1; }
void set_bit(uint8_t *p, uint64_t at) { p[at / 8] = uint8_t(p[at / 8] | 1 << at % 8); }

struct packing {
  uint32_t width, bits, mode;
  uint64_t count;
  uint64_t pixie_bytes() const { return count * width / 8; }
  uint64_t stream_bytes() const { return (count * bits + 7) / 8; }
};

void model(const packing &p, const uint8_t *from, uint8_t *to, bool unstuff) {
  const uint64_t bytes = unstuff ? p.pixie_bytes() : p.stream_bytes();
  if (p.bits == p.width) return void(std::copy_n(from, bytes, to));
  std::fill_n(to, bytes, 0);
  for (uint64_t i = 0; i < p.count; ++i)
    for (uint32_t bit = 0; bit < p.bits; ++bit) {
      const uint64_t pixie = in_pixies(i, bit, p.width, p.bits, p.mode),
                     stream = in_stream(i, bit, p.bits, p.mode);
      if (get_bit(from, unstuff ? stream : pixie)) set_bit(to, unstuff ? pixie : stream);
    }
}

TEST(Npfbit, PackersPlaceEveryBitInTheStreamOrInItsPixie) {
  std::mt19937 random(4);
  for (const auto &member : packers()) {
    const bool unstuff = member.name.ends_with("_unstuff");
    const auto width = uint32_t(atoi(member.name.c_str() + 6));
    for (uint32_t bits = 1; bits <= width; ++bits)
      for (uint32_t mode = 0; mode < 5; ++mode)
        for (uint64_t count :
             {0, 1, 2, 3, 5, 7, 8, 9, 15, 16, 17, 31, 33, 64, 67, 255, 256, 257, 263, 512, 531}) {
          const packing p{width, bits, mode, count};
          // All of the stream is one item.
          run r{{}, 1, p.pixie_bytes(), p.stream_bytes(), count % 4, count % 3};
          if (unstuff) std::swap(r.in, r.out);
          buffer source(r.from().bytes());
          for (size_t i = 0; i < source.size(); ++i) source.data()[i] = uint8_t(random());
          ASSERT_TRUE(does(member, r, source,
                           [&](const uint8_t *from, uint8_t *to) { model(p, from, to, unstuff); },
                           {nullptr, nullptr, {}, count, bits, mode}))
              << "bits " << bits << " mode " << mode << " count " << count;
        }
  }
}

TEST(Npfbit, KnownStreams) {
  const uint8_t values[] = {1, 0, 1};
  const uint16_t wide[] = {0x123, 0x456};
  uint8_t stream[3];
  npfbit8_stuff(values, stream, 3, 1, 2);
  EXPECT_EQ(stream[0], 0x05);
  npfbit8_stuff(values, stream, 3, 1, 3);
  EXPECT_EQ(stream[0], 0xA0);
  npfbit16_stuff(wide, stream, 2, 12, 3);  // as 12-bit files have it: 12 34 56
  EXPECT_TRUE(stream[0] == 0x12 && stream[1] == 0x34 && stream[2] == 0x56);
  npfbit16_stuff(wide, stream, 2, 12, 2);
  EXPECT_TRUE(stream[0] == 0x23 && stream[1] == 0x61 && stream[2] == 0x45);
}

TEST(Npfbit, NothingNeedsNoMemory) {
  call_on_nothing(packers());
  for (uint64_t size : {0u, 1u, 5u, 40u}) {
    npfbyte_pack(nullptr, nullptr, size, 0, int64_t(size), int64_t(size));
    npfbyte_repl(nullptr, nullptr, size, 0);
    npfbyte_transpose(nullptr, size, 0, nullptr);
    npfbyte_exchange(nullptr, nullptr, size, 0, 1, 1);
  }
  EXPECT_EQ(npfbit8_count(nullptr, 0), 0u);
}

TEST(Npfbit, StuffWorksWhereThePixiesLie) {
  for (uint32_t bits = 1; bits <= 16; ++bits)
    for (uint32_t mode : {0u, 1u, 2u, 3u}) {
      const packing p{16, bits, mode, 1000};
      buffer run(p.pixie_bytes());
      std::vector<uint8_t> expected(p.stream_bytes());
      model(p, run.data(), expected.data(), false);
      npfbit16_stuff(run.data(), run.data(), p.count, bits, mode);
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(), run.data())) << bits << " mode " << mode;
    }
}

TEST(Npfbit, CountsBitsOfAnyNumberOfBytes) {
  std::mt19937 random(5);
  for (size_t bytes : {0, 1, 7, 8, 9, 63, 247, 248, 249, 1000}) {
    buffer b(bytes);
    uint64_t expected = 0;
    for (size_t i = 0; i < bytes; ++i) b.data()[i] = bytes == 248 ? 0xFF : uint8_t(random());
    for (size_t i = 0; i < 8 * bytes; ++i) expected += get_bit(b.data(), i);
    EXPECT_EQ(npfbit8_count(b.data(), bytes), expected) << bytes;
  }
}

TEST(Npfbyte, PackGathersAndScattersItemsOfAnySize) {
  for (size_t size : {1u, 2u, 3u, 5u, 8u, 9u, 12u, 13u, 40u})
    for (uint64_t count : {0, 1, 2, 33}) {
      const layout gaps{int64_t(size) + 5, count, size, 1}, dense{int64_t(size), count, size, 0};
      const buffer source(gaps.bytes());
      buffer packed(dense.bytes()), back(gaps.bytes()), expected_packed = packed, expected_back = back;
      for (uint64_t i = 0; i < count; ++i) {
        memcpy(expected_packed.data() + dense.at(i), source.data() + gaps.at(i), size);
        memcpy(expected_back.data() + gaps.at(i), source.data() + gaps.at(i), size);
      }
      npfbyte_pack(packed.data(), source.data() + 1, size, count, dense.stride, gaps.stride);
      npfbyte_pack(back.data() + 1, packed.data(), size, count, gaps.stride, dense.stride);
      EXPECT_TRUE(packed == expected_packed && back == expected_back) << size << " x " << count;
    }
}

TEST(Npfbyte, ReplWritesThePatternAgainAndAgain) {
  for (size_t size : {0, 1, 2, 3, 7, 100, 20000})
    for (uint64_t count : {0, 1, 2, 3, 1000}) {
      const buffer pattern(size);
      buffer result(size * count), expected = result;
      for (size_t i = 0; i < size * count; ++i) expected.data()[i] = pattern.data()[i % size];
      npfbyte_repl(result.data(), pattern.data(), size, count);
      EXPECT_TRUE(result == expected) << size << " x " << count;
    }
}

TEST(Npfbyte, TransposeReversesTheOrderOfRows) {
  for (size_t row : {0, 1, 5, 300})
    for (size_t rows : {0, 1, 2, 3, 8}) {
      buffer image(row * rows), scratch(row), expected = image;
      for (size_t i = 0; i < rows; ++i)
        std::copy_n(image.data() + i * row, row, expected.data() + (rows - 1 - i) * row);
      npfbyte_transpose(image.data(), row, rows, scratch.data());
      EXPECT_TRUE(image == expected) << row << " x " << rows;
    }
}

TEST(Npfbyte, ExchangeSwapsBlocksOfTwoRuns) {
  const layout in_a{7, 5, 4, 0}, in_b{-4, 5, 4, 2};
  buffer a(in_a.bytes()), b(in_b.bytes());
  for (size_t i = 0; i < b.size(); ++i) b.data()[i] = uint8_t(200 + i);
  buffer expected_a = a, expected_b = b;
  for (uint64_t i = 0; i < 5; ++i)
    std::swap_ranges(expected_a.data() + in_a.at(i), expected_a.data() + in_a.at(i) + 4,
                     expected_b.data() + in_b.at(i));
  npfbyte_exchange(a.data(), b.data() + in_b.at(0), 4, 5, 7, -4);
  EXPECT_TRUE(a == expected_a && b == expected_b);
}

}  // namespace
