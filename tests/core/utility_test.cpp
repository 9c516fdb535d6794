// Error messages, allocation wrappers and the small helpers.
#include <gtest/gtest.h>
#include <sys/time.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <qvimage/alloc.h>
#include <qvimage/error.h>
#include <qvimage/utility.h>

#include "tests/fault.hpp"

namespace {

constexpr int32_t least = std::numeric_limits<int32_t>::min(), most = std::numeric_limits<int32_t>::max();

TEST(ErrorMessages, BelongToNegativeCodesOnly) {
  for (int32_t code : {0, 1, 5, most}) EXPECT_EQ(qverrnomesg(code), nullptr) << code;
  EXPECT_STREQ(qverrnomesg(-1), "Usage or internal error");
  EXPECT_STREQ(qverrnomesg(-10), "Invalid file format");
  EXPECT_STREQ(qverrnomesg(-26), "Insufficent memory on device");
  EXPECT_STREQ(qverrnomesg(-64), "Wrong or corrupted persistent state");
  for (int32_t code : {-29, -51, -65, -1000, -0x4000, least})
    EXPECT_STREQ(qverrnomesg(code), "Unknown error") << code;
}

TEST(ErrorMessages, FlagInACodeIsLookedThrough) {
  EXPECT_STREQ(qverrnomesg(-(0x4000 + 5)), qverrnomesg(-5));
  EXPECT_STREQ(qverrnomesg(-(0x14000 + 7)), qverrnomesg(-7)) << "the low 14 bits are the code";
}

TEST(Allocation, NothingAskedForIsNothing) {
  EXPECT_EQ(qvmalloc(0), nullptr);
  EXPECT_EQ(qvmallocz(0), nullptr);
  EXPECT_EQ(qvrealloc(nullptr, 0), nullptr);
  EXPECT_EQ(qvmallocf16(0), nullptr);
  EXPECT_EQ(qvmalstrdup(nullptr), nullptr);
}

TEST(Allocation, ThatCannotBeHadIsNull) {
  void *p = qvmalloc(8);
  std::memcpy(p, "kept it", 8);
  {
    fail_allocation fault(0, true);
    EXPECT_EQ(qvmalloc(1), nullptr);
    EXPECT_EQ(qvmallocz(1), nullptr);
    EXPECT_EQ(qvmallocf16(1), nullptr);
    EXPECT_EQ(qvmallocfapy(1), nullptr);
    EXPECT_EQ(qvmalstrdup("text"), nullptr);
    EXPECT_EQ(qvrealloc(p, 1000), nullptr);
  }
  EXPECT_STREQ(static_cast<char *>(p), "kept it");
  qvfree(p);
}

TEST(Allocation, ZeroedGrownCopiedAndFreed) {
  auto *zeros = static_cast<uint8_t *>(qvmallocz(1000));
  for (int i = 0; i < 1000; i++) ASSERT_EQ(zeros[i], 0);
  zeros[999] = 7;
  zeros = static_cast<uint8_t *>(qvrealloc(zeros, 100000));
  EXPECT_EQ(zeros[999], 7);
  qvfreep(&zeros);
  EXPECT_EQ(zeros, nullptr);
  qvfreep(&zeros);  // again: nothing to free
  qvfreep(nullptr);
  qvfree(nullptr);

  char *copy = qvmalstrdup("pixels");
  EXPECT_STREQ(copy, "pixels");
  qvfree(copy);
}

TEST(Allocation, PixelBuffersSuitEveryPixieType) {
  for (uint64_t n : {1, 3, 17, 4097}) {
    void *a = qvmallocf16(n), *b = qvmallocfapy(n);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(a) % 16, 0u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(b) % 16, 0u);
    qvfreef16p(&a);
    EXPECT_EQ(a, nullptr);
    qvfreefapy(b);
  }
}

TEST(IntegersOfAnyWidth, ComeBackAndTellWhatTheyLost) {
  const struct {
    int32_t width;
    int64_t least, most;
    uint64_t unsigned_most;
  } widths[] = {{1, -128, 127, 255},
                {2, -32768, 32767, 65535},
                {4, least, most, 4294967295},
                {8, std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max(), ~uint64_t{0}}};
  for (const auto &w : widths) {
    SCOPED_TRACE(w.width);
    uint8_t place[10];  // at an odd address, between bytes that stay as they are
    const auto untouched = [&] { return place[0] == 0xAA && place[1 + w.width] == 0xAA; };
    for (int64_t value : {int64_t{0}, int64_t{1}, int64_t{-1}, w.least, w.most}) {
      std::memset(place, 0xAA, sizeof place);
      EXPECT_EQ(intsput(place + 1, w.width, value), 1);
      EXPECT_EQ(intsget(place + 1, w.width), value);
      EXPECT_TRUE(untouched());
    }
    for (uint64_t value : {uint64_t{0}, uint64_t{1}, w.unsigned_most}) {
      std::memset(place, 0xAA, sizeof place);
      EXPECT_EQ(intuput(place + 1, w.width, value), 1);
      EXPECT_EQ(intuget(place + 1, w.width), value);
      EXPECT_TRUE(untouched());
    }
    if (w.width == 8) continue;
    EXPECT_EQ(intsput(place, w.width, w.most + 1), 0);
    EXPECT_EQ(intsget(place, w.width), w.least);
    EXPECT_EQ(intsput(place, w.width, w.least - 1), 0);
    EXPECT_EQ(intsget(place, w.width), w.most);
    EXPECT_EQ(intuput(place, w.width, w.unsigned_most + 3), 0);
    EXPECT_EQ(intuget(place, w.width), 2u);
    EXPECT_EQ(intuput(place, w.width, uint64_t(-1)), 0) << "minus one is not a small unsigned number";
  }
  uint64_t stored = 0;
  intuput(&stored, 8, 0x0123456789ABCDEF);
  EXPECT_EQ(stored, 0x0123456789ABCDEFu) << "in the host's order";
}

TEST(IntegersOfAnyWidth, KnowFourWidthsOnly) {
  for (int32_t width : {0, 3, 5, 7, 9, 16, -1}) {
    uint64_t place = 0x1122334455667788;
    EXPECT_EQ(intsget(&place, width), 0);
    EXPECT_EQ(intuget(&place, width), 0u);
    EXPECT_EQ(intsput(&place, width, 1), 0);
    EXPECT_EQ(intuput(&place, width, 1), 0);
    EXPECT_EQ(place, 0x1122334455667788u);
  }
}

TEST(Clamps, StopAtTheEndsOf32Bits) {
  const struct {
    int64_t value;
    int32_t clamped;
    uint32_t unsigned_clamped;
  } cases[] = {{0, 0, 0},
               {-1, -1, 0},
               {most, most, 2147483647},
               {int64_t{most} + 1, most, 2147483648},
               {least, least, 0},
               {int64_t{least} - 1, least, 0},
               {4294967295, most, 4294967295},
               {4294967296, most, 4294967295},
               {std::numeric_limits<int64_t>::max(), most, 4294967295},
               {std::numeric_limits<int64_t>::min(), least, 0}};
  for (const auto &c : cases) {
    EXPECT_EQ(ltoint(c.value), c.clamped) << c.value;
    EXPECT_EQ(ltouint(c.value), c.unsigned_clamped) << c.value;
  }
}

TEST(Clamps, DivisorsAreNeverZero) {
  EXPECT_TRUE(i0to1(0) == 1 && i0to1(-7) == -7 && ui0to1(0) == 1 && ui0to1(0x80000000) == 0x80000000);
  EXPECT_TRUE(l0to1(0) == 1 && l0to1(int64_t{1} << 40) == int64_t{1} << 40);
  EXPECT_TRUE(ul0to1(0) == 1 && ul0to1(uint64_t{1} << 63) == uint64_t{1} << 63);
}

// --- bits and integer mathematics, held against counting ---

int32_t counted_bits(uint32_t v) {
  int32_t n = 0;
  for (int i = 0; i < 32; i++) n += v >> i & 1;
  return n;
}
int32_t highest(uint32_t v) {
  int32_t n = 0;
  for (int i = 0; i < 32; i++)
    if (v >> i & 1) n = i + 1;
  return n;
}
int32_t lowest_of_16(uint32_t v, int32_t dflt) {
  for (int i = 0; i < 16; i++)
    if (v >> i & 1) return i;
  return dflt;
}
// The least k with 2^k >= v, the largest with 2^k <= v.
int32_t log_up(uint32_t v) {
  int32_t k = 0;
  while ((uint64_t{1} << k) < v) k++;
  return k;
}
int32_t log_down(uint32_t v) {
  int32_t k = 0;
  while ((uint64_t{2} << k) <= v) k++;
  return k;
}

TEST(Bits, AndLogarithmsMatchCounting) {
  std::mt19937 random(4711);
  std::vector<uint32_t> values;
  for (uint32_t v = 0; v < 70000; v++) values.push_back(v);
  for (int i = 0; i < 32; i++)
    for (uint32_t offset : {-1, 0, 1}) values.push_back((1u << i) + offset);
  for (int i = 0; i < 10000; i++) values.push_back(uint32_t(random()) >> random() % 32);
  for (uint32_t v : values) {
    ASSERT_EQ(pfbit_count(v), counted_bits(v)) << v;
    ASSERT_EQ(pfbit_significant(v), highest(v)) << v;
    ASSERT_EQ(pfbit_scan(v, 99), lowest_of_16(v, 99)) << v;
    ASSERT_EQ(pfmath_ilog2a(v), log_down(v)) << v;
    ASSERT_EQ(pfmath_ilog2b(v), log_up(v)) << v;
    ASSERT_EQ(pfmath_ilog2e(v), counted_bits(v) == 1 ? highest(v) - 1 : -1) << v;
  }
}

TEST(Gcd, DividesBothAndIsTheLargestThatDoes) {
  for (int32_t a = 1; a <= 60; a++)
    for (int32_t b = 1; b <= 60; b++) {
      int32_t largest = 1;
      for (int32_t d = 1; d <= 60; d++)
        if (a % d == 0 && b % d == 0) largest = d;
      ASSERT_EQ(pfmath_gcd(a, b), largest) << a << ' ' << b;
      int32_t multiple = 1;
      while (multiple % a || multiple % b) multiple++;
      ASSERT_EQ(pfmath_lcm(a, b), multiple) << a << ' ' << b;
    }
}

TEST(Gcd, ZeroAndNegativeArguments) {
  const struct {
    int32_t a, b, gcd;
  } cases[] = {{0, 5, 0},          {5, 0, 0},       {0, 0, 0},       {6, -4, 2},    {-6, 4, -2},
               {-6, -4, -2},       {least, -1, -1}, {-1, least, -1}, {least, 2, 2}, {least, least, least},
               {most, most, most}, {12, -8, 4}};
  for (const auto &c : cases) EXPECT_EQ(pfmath_gcd(c.a, c.b), c.gcd) << c.a << ' ' << c.b;
}

TEST(Lcm, OfLargeNumbersEndsAtOnceAndFits32BitsOrIsZero) {
  EXPECT_EQ(uint32_t(pfmath_lcm(65537, 65535)), 4294967295u);
  EXPECT_EQ(pfmath_lcm(65536, 65537), 0);  // 2^32 + 65536
  EXPECT_EQ(pfmath_lcm(most, most - 1), 0);
  EXPECT_EQ(pfmath_lcm(most, 1), most);
  for (auto [a, b] : {std::pair{4, -6}, {-4, 6}, {0, 6}, {4, 0}, {least, 1}}) EXPECT_EQ(pfmath_lcm(a, b), 0);
}

TEST(Time, IsTheWallClockInMilliseconds) {
  timeval before, after;
  gettimeofday(&before, nullptr);
  const uint64_t now = systimemsec();
  gettimeofday(&after, nullptr);
  EXPECT_GE(now * 1000 + 500, uint64_t(before.tv_sec) * 1000000 + uint64_t(before.tv_usec));
  EXPECT_LE(now * 1000, uint64_t(after.tv_sec) * 1000000 + uint64_t(after.tv_usec) + 500);
  EXPECT_EQ(systimeinit(42), 42);
}

TEST(NumberedNames, DigitsTakeThePlacesFromTheRight) {
  const struct {
    const char *name;
    int32_t n;
    char place;
    const char *numbered;
    int32_t result;
  } cases[] = {
      {"frame####.tif", 42, '#', "frame0042.tif", 1},
      {"frame####.tif", 123456, '#', "frame3456.tif", 0},
      {"frame####.tif", 9999, '#', "frame9999.tif", 1},
      {"frame####.tif", 10000, '#', "frame0000.tif", 0},
      {"#a#b#", 7, '#', "0a0b7", 1},
      {"#a#b#", 123, '#', "1a2b3", 1},
      {"##", 0, '#', "00", 1},
      {"none", 0, '#', "none", 1},
      {"none", 5, '#', "none", 0},
      {"xxxxxxxxxxxx", most, 'x', "002147483647", 1},
      {"00", 12, '0', "12", 1},
  };
  for (const auto &c : cases) {
    std::string name = c.name;
    EXPECT_EQ(pathseq(name.data(), c.n, c.place), c.result) << c.name << ' ' << c.n;
    EXPECT_EQ(name, c.numbered);
  }
}

TEST(NumberedNames, NothingToNumber) {
  char empty[] = "", name[] = "f##";
  EXPECT_EQ(pathseq(nullptr, 1, '#'), -1);
  EXPECT_EQ(pathseq(empty, 1, '#'), -1);
  EXPECT_EQ(pathseq(name, -1, '#'), -1);
  EXPECT_STREQ(name, "f##");
}

TEST(NumberedNames, PlacesAreCounted) {
  EXPECT_EQ(pathseqcountrc("frame####.tif", '#'), 4);
  EXPECT_EQ(pathseqcountrc("#a#", '#'), 2);
  EXPECT_EQ(pathseqcountrc("", '#'), 0);
  EXPECT_EQ(pathseqcountrc(nullptr, '#'), 0);
}

}  // namespace
