// Pixel operation kernels: every member of the list, in every version, against a slow model that reads the
// member's name.
#include <gtest/gtest.h>

#include <functional>
#include <sstream>

#include <qvimage/npfpix.h>

#include "tests/kernels/kernel_levels.hpp"
#include "tests/kernels/npfpix_model.hpp"

namespace {

using namespace qvim::test;
using words = std::vector<uint32_t>;

std::vector<member> members() {
  std::vector<member> all;
#define QVIM_MEMBER(name, form) add_member<form>(all, QVIM_LEVELS_OF(name));
#define QVIM_PIX_NOTHING(name, form) add_member<form>(all, #name, name);
#include <qvimage/members/npfpix.inc>
  return all;
}

// --- arguments and values

words block_for(const meaning &m, std::mt19937 &random) {
  const size_t size = m.destination;
  words w(8);
  for (uint32_t &word : w) word = interesting(random);
  if (m.starts("rot")) {
    w[0] %= 150;
    const uint32_t bits[] = {uint32_t(8 * size), uint32_t(8 * size - 1), 3, 0, 40};
    w[1] = bits[random() % 2 * (random() % 5)];
  } else if (m.what == "reverse") {
    w[0] = random() % 4 ? random() % (8 * size + 1) : w[0];
  } else if (m.what == "gamma") {
    w[0] = random() % 3 ? random() % 4000 : w[0];
  } else if (m.what == "contrastpivot") {
    const double most = size == 1 ? 255 : 65535, gains[] = {0, 0.5, 1, 1.7, -1, 100, 1e-3, 1e300, -1e300};
    double d[] = {random() % 3 ? 0 : most / 3, random() % 3 ? most : most / 2, most * (random() % 5) / 4,
                  gains[random() % std::size(gains)]};
    // For 1 the product is just below 64, and 64 when it is rounded by itself: halves are then rounded up.
    if (random() % 5 == 0) d[0] = 0, d[2] = -63.5, d[3] = 64 / (1 + 63.5);
    memcpy(w.data(), d, sizeof d);
  }
  return w;
}

struct arguments : pixel_arguments {
  uint64_t value_limit = 0;  // of pixies that index a table; 0: any value

  arguments(const meaning &m, std::mt19937 &random) {
    number = any;
    w = block_for(m, random);
    if (m.what == "sets") {
      number = random() % 8;
      w = words(number);
      for (uint32_t &word : w) word = uint32_t(random());
    } else if (m.what == "transposek") {
      number = 1 + (random() % 4 ? random() % 17 : random() % 100);
    } else if (m.translates()) {
      fill_table(m, random);
    }
  }

 private:
  // Exactly as many entries as can be asked for.
  void fill_table(const meaning &m, std::mt19937 &random) {
    const uint32_t width = uint32_t(8 * m.source), numbers[] = {0, 1, 5, 7, width, 200};
    number = numbers[random() % std::size(numbers)];
    const bool masks = m.what == "xlats" && number > 0 && number < width;
    const uint64_t all = m.source == 4 ? 1000 : 1 << width, some = random() % 2 ? all : 200,
                   entries = masks ? 1 << number : some;
    value_limit = masks ? 0 : entries;
    table.resize(entries * m.source);
    for (uint8_t &byte : table) byte = uint8_t(random());
  }
};

// Values at which something may change, then any.
uint64_t some_value(const meaning &m, const arguments &a, std::mt19937 &random) {
  if (a.value_limit) return random() % a.value_limit;
  const uint32_t d = m.starts("assdiv") && a.w[0] ? a.w[0] : 1;
  switch (random() % 6) {
    case 0: return a.w.empty() ? 0 : a.w[random() % a.w.size()] + random() % 3 - 1;
    case 1: return random() % 3 - 1;
    case 2: return uint32_t(random()) / d * d + d / 2 - random() % 2;  // where a mean is rounded up
    default: return random();
  }
}

std::vector<strides> strides_of(const meaning &m, uint32_t number) {
  const auto s = int64_t(m.item(m.source, number)), d = int64_t(m.item(m.destination, number));
  if (!m.strided) return {{s, d}};
  if (m.two_runs) return {{s, d}, {3 * s, d}, {s, 4 * d}, {-s, d + 1}, {s + 3, -2 * d}, {-3 * s, -3 * d}};
  return {{s, s}, {3 * s, 3 * s}, {-s, -s}, {s + 1, s + 1}, {-4 * s, -4 * s}};
}

std::string shown(const words &w) {
  std::ostringstream text;
  text << " operand";
  for (uint32_t word : w) text << ' ' << word;
  return text.str();
}

// --- all members

// Every version on a run of values, which value(i) gives, from run to run and in place, where it can.
void expect_run(const member &member, const arguments &a, strides stride, uint64_t count, size_t offset,
                const std::function<uint64_t(uint64_t)> &value) {
  const meaning m(member.name);
  run r{stride, count, m.item(m.source, a.number), m.item(m.destination, a.number), offset, offset / 2};
  r.mirrored = m.mirrors();
  buffer values(r.from().bytes());
  for (uint64_t i = 0; i < count; ++i)
    for (size_t at = 0; at < r.in; at += m.source) {
      const uint64_t v = value(i);
      memcpy(values.data() + size_t(r.from().at(i)) + at, &v, std::min(m.source, r.in - at));
    }
  // At an odd address.
  const auto *from_block = m.translates() ? a.table.data() : reinterpret_cast<const uint8_t *>(a.w.data());
  buffer block(1 + (m.translates() ? a.table.size() : 4 * a.w.size()));
  std::copy_n(from_block, block.size() - 1, block.data() + 1);
  for (bool same : {false, true}) {
    if (same ? stride.source != stride.destination : !m.two_runs) continue;
    r.in_place = same;
    // Strides that the member must ignore are nonsense.
    ASSERT_TRUE(does(
        member, r, values, [&](const uint8_t *in, uint8_t *out) { model_item(m, in, out, a); },
        {nullptr, nullptr, m.strided ? stride : strides{999, -999}, count, a.number, 0, block.data() + 1}))
        << "number " << a.number << shown(a.w);
  }
}

TEST(Npfpix, EveryMemberDoesWhatItsNameSays) {
  std::mt19937 random(1);
  const auto all = members();
  ASSERT_EQ(all.size(), 148u);
  for (const auto &member : all) {
    const meaning m(member.name);
    for (unsigned turn = 0; turn < 40; ++turn) {
      const arguments a(m, random);
      const auto stride = strides_of(m, a.number);
      for (uint64_t count : {0, 1, 2, 3, 5, 8, 15, 16, 17, 31, 64, 67, 300, 1111, 5000}) {
        if (count == 5000 && turn % 10) continue;  // longer than any block
        ASSERT_NO_FATAL_FAILURE(expect_run(member, a, stride[turn % stride.size()], count, random() % 4,
                                           [&](uint64_t) { return some_value(m, a, random); }));
      }
    }
  }
}

TEST(Npfpix, EveryValueOfNarrowPixiesGivesTheModelsResult) {
  std::mt19937 random(2);
  for (const auto &member : members()) {
    const meaning m(member.name);
    if (m.source > 2 || m.two_runs || m.translates() || m.mirrors() || m.what == "sets") continue;
    for (int turn = 0; turn < (m.source == 1 ? 40 : 10); ++turn)
      ASSERT_NO_FATAL_FAILURE(expect_run(member, arguments(m, random), {int64_t(m.source), int64_t(m.source)},
                                         1u << 8 * m.source, 0, [](uint64_t i) { return i; }));
  }
}

TEST(Npfpix, RunsOfNothingNeedNoMemory) { call_on_nothing(members()); }

TEST(Npfpix, WhatIsNotNeededMayBeNull) {
  uint8_t bytes[8] = {};
  for (const auto &member : members()) {
    const meaning m(member.name);
    for (const auto &[level, function] : member.versions) {
      if (m.what == "neg255" || m.what == "negffff" || m.what == "shr1" || m.starts("gray"))
        function({bytes, bytes, {int64_t(m.source), int64_t(m.source)}, 8 / m.source, any});
      if (m.what == "transposek") function({nullptr, nullptr, {0, 0}, 5});
      if (m.what == "stub") function({nullptr, nullptr, {0, 0}, 100});
    }
  }
}

// --- by hand

TEST(Npfpix, KnownValues) {
  const struct {
    npfpix_fn *function;
    words operand;
    uint8_t value, result;
  } cases[] = {
      {npfpix1_neg, {100}, 150, 206},
      {npfpix1_addbound, {300, 90}, 40, 84},  // 300 is 44
      {npfpix1_threshold2, {10, 20, 255, 0}, 25, 0},
      {npfpix1_mul, {0x40000000, 1, 255}, 4, 0},  // the product is 2^32
      {npfpix1_mull, {0x40000000, 1, 255}, 4, 255},
      {npfpix1_contrast, {50, 150, 255}, 100, 127},
      {npfpix1_gray, {}, 2, 3},
      {npfpix1_reverse, {4}, 0x01, 0x08},
      {npfpix1_rotl, {1, 8}, 0x81, 0x03},
      {npfpix1_rotr, {9, 8}, 0x81, 0xC0},
      {npfpix1_gamma, {2000, 255}, 128, 64},
  };
  for (const auto &c : cases) {
    uint8_t v = c.value;
    c.function(&v, 1, 0, 0, c.operand.data());
    EXPECT_EQ(v, c.result) << int(c.value) << shown(c.operand);
  }

  uint8_t pixels[] = {1, 2, 3, 4, 5, 6};
  npfpix1_transposek_i(pixels, 2, 3);
  EXPECT_EQ(std::vector<uint8_t>(pixels, pixels + 6), (std::vector<uint8_t>{4, 5, 6, 1, 2, 3}));
}

}  // namespace
