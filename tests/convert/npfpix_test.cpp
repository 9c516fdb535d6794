// Pixel operation kernels: every member of the list, in every version, against one value after another.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>
#include <sstream>

#include <qvimage/npfpix.h>

#include "convert/divide.hpp"
#include "tests/convert/kernel_levels.hpp"

#define QVIM_MEMBER(name, form) QVIM_DECLARE_LEVELS(name, form)
#define QVIM_PIX_NOTHING(name, form)
#include <qvimage/members/npfpix.inc>

namespace {

using namespace qvim::test;
using words = std::vector<uint32_t>;

constexpr uint64_t counts[] = {0, 1, 2, 3, 7, 8, 31, 64, 67, 300, 1111};
constexpr uint32_t any = 77;  // for arguments that are ignored

uint64_t read(const uint8_t *p, size_t size) {
  uint64_t v = 0;
  memcpy(&v, p, size);
  return v;
}
void write(uint8_t *p, size_t size, uint64_t v) { memcpy(p, &v, size); }

// --- the model: an operation's result before it is cut to the pixie's width

struct pixie {
  uint64_t v;
  size_t size;
  const uint32_t *w;
  uint32_t width() const { return uint32_t(8 * size); }
  uint64_t most() const { return (uint64_t(1) << width()) - 1; }
  uint64_t narrow(int i) const { return w[i] & most(); }  // a word read in the pixie's width
};

uint64_t saturated(double v) {
  return !(v > 0) ? 0 : v >= 4294967295.0 ? 4294967295u : uint64_t(std::trunc(v));
}

uint64_t rotated(const pixie &p, bool left) {
  const uint32_t bits = p.w[1], turned = bits > 0 && bits <= p.width();
  uint64_t v = p.v;
  for (uint32_t i = 0; i < p.w[0]; ++i) {
    const uint64_t in = turned ? left ? v >> (bits - 1) & 1 : (v & 1) << (bits - 1) : 0;
    v = left ? (v << 1 & p.most()) | in : v >> 1 | in;
  }
  return v;
}

uint64_t reversed(const pixie &p) {
  uint64_t result = 0;
  for (uint32_t bit = 0; bit < p.w[0] && bit < p.width(); ++bit)
    if (p.v >> bit & 1 && p.w[0] - 1 - bit < 64) result |= uint64_t(1) << (p.w[0] - 1 - bit);
  return result;
}

uint64_t from_gray(uint64_t v) {
  uint64_t result = 0;
  for (; v; v >>= 1) result ^= v;
  return result;
}

uint64_t contrasted(const pixie &p) {
  if (p.v <= p.narrow(0) || p.narrow(0) == p.narrow(1)) return 0;
  const auto product = uint32_t(p.v - p.narrow(0)) * p.w[2];
  return std::min(product / uint32_t(p.narrow(1) - p.narrow(0)), p.w[2]);
}

uint64_t pivoted(const pixie &p) {
  double d[4];
  memcpy(d, p.w, sizeof d);
  return saturated(std::min(std::max(std::fma(double(p.v) - d[2], d[3], d[2]), d[0]), d[1]) + 0.5);
}

uint64_t gamma_of(const pixie &p) {
  const double g = p.w[0] / 1000.0, m = p.w[1];
  return saturated(std::pow(double(p.v), g) * (m / std::pow(m, g)) + 0.5);
}

using model = std::function<uint64_t(const pixie &)>;

const std::map<std::string, model> models = {
    {"and", [](const pixie &p) { return p.v & p.w[0]; }},
    {"or", [](const pixie &p) { return p.v | p.w[0]; }},
    {"xor", [](const pixie &p) { return p.v ^ p.w[0]; }},
    {"neg", [](const pixie &p) { return p.w[0] - p.v; }},
    {"neg255", [](const pixie &p) { return 255 - p.v; }},
    {"negffff", [](const pixie &p) { return 65535 - p.v; }},
    {"addmodulo", [](const pixie &p) { return p.v + p.w[0]; }},
    {"biased", [](const pixie &p) { return p.v + p.w[0]; }},
    {"submodulo", [](const pixie &p) { return p.v - p.w[0]; }},
    {"addbound255", [](const pixie &p) { return std::min<uint64_t>(uint16_t(p.v + p.w[0]), 255); }},
    {"addboundffff", [](const pixie &p) { return std::min<uint64_t>(uint32_t(p.v + p.w[0]), 65535); }},
    {"addbound", [](const pixie &p) { return std::min(p.v + p.narrow(0), p.narrow(1)); }},
    {"subbound0", [](const pixie &p) { return p.v > p.narrow(0) ? p.v - p.narrow(0) : 0; }},
    {"shl", [](const pixie &p) { return p.v << p.w[0] % 32; }},
    {"shr", [](const pixie &p) { return p.v >> p.w[0] % 32; }},
    {"shr1", [](const pixie &p) { return p.v >> 1; }},
    {"rotl", [](const pixie &p) { return rotated(p, true); }},
    {"rotr", [](const pixie &p) { return rotated(p, false); }},
    {"msb", [](const pixie &p) { return p.v & p.narrow(1) ? p.w[0] : 0u; }},
    {"threshold", [](const pixie &p) { return p.narrow(0) <= p.v && p.v <= p.narrow(1) ? p.w[2] : p.v; }},
    {"threshold2", [](const pixie &p) { return p.narrow(0) <= p.v && p.v <= p.narrow(1) ? p.w[2] : p.w[3]; }},
    {"set", [](const pixie &p) { return p.w[0]; }},
    {"mul",
     [](const pixie &p) {
       return p.w[1] ? std::min<uint64_t>(p.narrow(2), uint32_t(p.v * p.w[0]) / p.w[1]) : 0;
     }},
    {"mull", [](const pixie &p) { return p.w[1] ? std::min(p.narrow(2), p.v * p.w[0] / p.w[1]) : 0; }},
    {"contrast", contrasted},
    {"contrastpivot", pivoted},
    {"gamma", gamma_of},
    {"gray", [](const pixie &p) { return p.v ^ p.v >> 1; }},
    {"gray1", [](const pixie &p) { return from_gray(p.v); }},
    {"reverse", reversed},
};

// "npfpix2_2shl_i" is "shl", of 2-byte pixies.
std::string operation_of(const std::string &name) {
  const size_t begin = strlen("npfpix2_") + (name[strlen("npfpix2_")] == '2');
  return name.substr(begin, name.find('_', begin) - begin);
}
size_t size_of(const std::string &name) { return size_t(name[6] - '0'); }

// --- operand blocks

// Powers of two with their neighbours, and what is often written.
uint32_t interesting(std::mt19937 &random) {
  switch (random() % 4) {
    case 0: return uint32_t((uint64_t(1) << random() % 33) + random() % 3 - 1);
    case 1: return uint32_t(random() % 300);
    case 2: return uint32_t(random() >> random() % 32);
    default: {
      const uint32_t usual[] = {0, 1, 3, 10, 100, 127, 255, 1000, 1023, 4095, 65535, 65536, 0xFFFFFFFF};
      return usual[random() % std::size(usual)];
    }
  }
}

words block_for(const std::string &operation, size_t size, std::mt19937 &random) {
  words w(8);
  for (uint32_t &word : w) word = interesting(random);
  if (operation.starts_with("rot")) {
    w[0] %= 150;
    const uint32_t bits[] = {uint32_t(8 * size), uint32_t(8 * size - 1), 3, 0, 40};
    w[1] = bits[random() % 2 * (random() % 5)];
  } else if (operation == "reverse") {
    w[0] = random() % 4 ? random() % (8 * size + 1) : w[0];
  } else if (operation == "gamma") {
    w[0] = random() % 3 ? random() % 4000 : w[0];
  } else if (operation == "contrastpivot") {
    const double most = size == 1 ? 255 : 65535, gains[] = {0, 0.5, 1, 1.7, -1, 100, 1e-3, 1e300, -1e300};
    const double d[] = {random() % 3 ? 0 : most / 3, random() % 3 ? most : most / 2,
                        most * (random() % 5) / 4, gains[random() % std::size(gains)]};
    memcpy(w.data(), d, sizeof d);
  }
  return w;
}

// Values at which something may change, then any.
void fill(buffer &b, size_t offset, size_t size, const uint32_t *w, std::mt19937 &random) {
  for (size_t i = 0; i < b.size(); ++i) b.data()[i] = uint8_t(random());
  for (size_t at = offset; at + size <= b.size(); at += size)
    if (const uint32_t way = random() % 4; way == 0)
      write(b.data() + at, size, uint32_t(w[random() % 4] + random() % 3 - 1));
    else if (way == 1)
      write(b.data() + at, size, uint32_t(random() % 3 - 1));
}

// All values of bytes and 16-bit pixies, or many of 32 bits.
buffer all_values(size_t size, const uint32_t *w, std::mt19937 &random) {
  buffer b(size == 1 ? 256 : size == 2 ? 2 * 65536 : 4 * 3000);
  if (size == 4)
    fill(b, 0, size, w, random);
  else
    for (uint64_t i = 0; i < b.size() / size; ++i) write(b.data() + i * size, size, i);
  return b;
}

std::string shown(const words &w) {
  std::ostringstream text;
  text << " operand";
  for (uint32_t word : w) text << ' ' << word;
  return text.str();
}

// --- members with an operation of the model

#define QVIM_COLLECT(name, ...) add_member(members, #name, {QVIM_LEVELS_OF(name)});

std::vector<member<npfpix_fn>> in_place_members() {
  std::vector<member<npfpix_fn>> members;
#define QVIM_PIX QVIM_COLLECT
#include <qvimage/members/npfpix.inc>
  return members;
}

void expect_in_place(const member<npfpix_fn> &member, const buffer &before, size_t offset, const words &w) {
  const size_t size = size_of(member.name), count = (before.size() - offset) / size;
  const model &operation = models.at(operation_of(member.name));
  buffer expected = before, operand(1 + 4 * w.size());
  memcpy(operand.data() + 1, w.data(), 4 * w.size());
  for (uint64_t i = 0; i < count; ++i) {
    uint8_t *p = expected.data() + offset + i * size;
    write(p, size, operation({read(p, size), size, w.data()}));
  }
  for (const auto &v : member.versions) {
    buffer result = before;
    v.function(result.data() + offset, count, any, any, operand.data() + 1);
    ASSERT_TRUE(result == expected) << member.name << " " << v.level << ": count " << count << shown(w);
  }
}

TEST(Npfpix, InPlaceMembersChangeEachPixie) {
  std::mt19937 random(1);
  for (const auto &member : in_place_members()) {
    const size_t size = size_of(member.name);
    const std::string operation = operation_of(member.name);
    for (int turn = 0; turn < 40; ++turn) {
      const words w = block_for(operation, size, random);
      for (uint64_t count : counts) {
        const size_t offset = random() % 4;
        buffer before(offset + count * size);
        fill(before, offset, size, w.data(), random);
        ASSERT_NO_FATAL_FAILURE(expect_in_place(member, before, offset, w));
      }
      if (turn < 10 || size == 1) {
        ASSERT_NO_FATAL_FAILURE(expect_in_place(member, all_values(size, w.data(), random), 0, w));
      }
    }
  }
}

std::vector<member<npfpix2_fn>> two_run_members() {
  std::vector<member<npfpix2_fn>> members;
#define QVIM_PIX_TWO QVIM_COLLECT
#include <qvimage/members/npfpix.inc>
  return members;
}

struct strides {
  int64_t source, destination;
};

std::vector<strides> strides_of(const std::string &name) {
  const auto size = int64_t(size_of(name));
  if (name.ends_with("_i")) return {{size, size}};
  return {{size, size}, {3 * size, size}, {size, 4 * size}, {-size, size + 1}, {size + 3, -2 * size}};
}

// `call` calls a version on two runs, or on one that is both; expected values come from `value`.
template <class Form>
void expect_two_runs(const member<Form> &member, const buffer &values, const layout &from, const layout &to,
                     const std::function<uint64_t(uint64_t)> &value,
                     const std::function<void(Form *, const uint8_t *, uint8_t *, strides)> &call) {
  const bool fixed = member.name.ends_with("_i");
  buffer background(to.bytes());
  for (bool same : {false, true}) {
    if (same && from.stride != to.stride) continue;
    const layout &placed = same ? from : to;
    buffer expected = same ? values : background;
    for (uint64_t i = 0; i < from.count; ++i)
      write(expected.data() + placed.at(i), from.size, value(read(values.data() + from.at(i), from.size)));
    for (const auto &v : member.versions) {
      buffer source = values, destination = background;
      call(v.function, source.data() + from.at(0), (same ? source : destination).data() + placed.at(0),
           fixed ? strides{999, -999} : strides{from.stride, placed.stride});
      ASSERT_TRUE((same ? source : destination) == expected && (same || source == values))
          << member.name << " " << v.level << ": count " << from.count << " strides " << from.stride << " "
          << to.stride << (same ? " in place" : "");
    }
  }
}

TEST(Npfpix, TwoRunMembersGiveTheResultsOfThoseInPlace) {
  std::mt19937 random(2);
  for (const auto &member : two_run_members()) {
    const size_t size = size_of(member.name);
    const model &operation = models.at(operation_of(member.name));
    for (strides stride : strides_of(member.name))
      for (uint64_t count : counts)
        for (int turn = 0; turn < 12; ++turn) {
          const words w = block_for(operation_of(member.name), size, random);
          const layout from{stride.source, count, size, random() % 4};
          const layout to{stride.destination, count, size, random() % 4};
          buffer values(from.bytes());
          fill(values, from.offset, size, w.data(), random);
          SCOPED_TRACE(shown(w));
          ASSERT_NO_FATAL_FAILURE(expect_two_runs<npfpix2_fn>(
              member, values, from, to,
              [&](uint64_t v) {
                return operation({v, size, w.data()});
              },
              [&](npfpix2_fn *f, const uint8_t *src, uint8_t *dst, strides s) {
                f(src, dst, s.source, s.destination, count, w.data());
              }));
        }
  }
}

TEST(Npfpix, MembersWithoutOperandsTakeNoBlock) {
  for (const auto &member : in_place_members())
    for (const char *operation : {"neg255", "negffff", "shr1", "gray", "gray1"})
      if (operation_of(member.name) == operation) {
        uint8_t bytes[8] = {};
        for (const auto &v : member.versions) v.function(bytes, 8 / size_of(member.name), any, any, nullptr);
      }
}

// --- quotients by multiplication

TEST(Npfpix, DivisionByMultiplicationIsExact) {
  std::mt19937 random(3);
  for (int turn = 0; turn < 20000; ++turn) {
    const uint32_t d = std::max(interesting(random), 1u);
    const qvim::divisor by(d);
    for (int i = 0; i < 100; ++i) {
      const uint32_t multiple = uint32_t(random() / d) * d;
      for (uint32_t v : {multiple, multiple - 1, multiple + 1, uint32_t(random()), ~0u - uint32_t(i)})
        ASSERT_EQ(by.divide(v), v / d) << v << " / " << d;
    }
  }
}

template <class T>
void expect_exact_ratios(int turns, std::mt19937 &random) {
  constexpr uint64_t most_value = T(~T(0)), step = sizeof(T) == 4 ? 4000037 : 1;
  for (int turn = 0; turn < turns; ++turn) {
    const uint32_t n = interesting(random), d = std::max(interesting(random), 1u);
    const T most = random() % 2 ? T(most_value) : T(interesting(random));
    const qvim::ratio<T> scaled(n, d, most);
    for (uint64_t v = 0; v <= most_value; v += step)
      ASSERT_EQ(scaled(T(v)), std::min<uint64_t>(most, v * n / d)) << v << " * " << n << " / " << d;
    for (int i = 0; n && i < 50; ++i) {  // about the places where the quotient grows
      const uint64_t quotient = random() % (most_value * n / d + 1), first = (quotient * d + n - 1) / n;
      for (uint64_t v : {first - 1, first})
        if (v <= most_value) {
          ASSERT_EQ(scaled(T(v)), std::min<uint64_t>(most, v * n / d)) << v << " * " << n << " / " << d;
        }
    }
  }
}

TEST(Npfpix, RatiosAreExact) {
  std::mt19937 random(4);
  expect_exact_ratios<uint8_t>(30000, random);
  expect_exact_ratios<uint16_t>(400, random);
  expect_exact_ratios<uint32_t>(3000, random);
}

// --- whole pixels

TEST(Npfpix, SetsWritesWholePixels) {
  std::mt19937 random(5);
  std::vector<member<npfpix_fn>> members;
#define QVIM_PIX_PIXELS QVIM_COLLECT
#include <qvimage/members/npfpix.inc>
  for (const auto &member : members)
    for (uint32_t pixies : {0u, 1u, 2u, 3u, 4u, 7u, 32u})
      for (uint64_t count : counts) {
        const size_t size = size_of(member.name), offset = random() % 4;
        words w(pixies);
        for (uint32_t &word : w) word = uint32_t(random());
        const buffer before(offset + count * pixies * size);
        buffer expected = before;
        for (uint64_t i = 0; i < count * pixies; ++i)
          write(expected.data() + offset + i * size, size, w[i % pixies]);
        for (const auto &v : member.versions) {
          buffer result = before;
          v.function(result.data() + offset, count, pixies, any, w.data());
          ASSERT_TRUE(result == expected)
              << member.name << " " << v.level << ": " << count << " of " << pixies;
        }
      }
}

// --- tables

struct table_case {
  uint32_t bits;         // the argument
  uint64_t entries;      // of the table: exactly as many as can be asked for
  uint64_t value_limit;  // values come from below
};

std::vector<table_case> table_cases(const std::string &name) {
  const size_t size = size_of(name);
  const uint64_t all = size == 4 ? 1000 : uint64_t(1) << 8 * size, values = uint64_t(1) << 8 * size;
  if (operation_of(name) == "xlat") return {{3, all, all}};  // bits are ignored
  return {{0, all, all},  {1, 2, values}, {5, 32, values}, {7, 128, values}, {uint32_t(8 * size), all, all},
          {200, all, all}};
}

template <class Form>
void expect_translated(const member<Form> &member, strides stride,
                       const std::function<void(Form *, const uint8_t *, uint8_t *, strides, uint64_t,
                                                const table_case &, const uint8_t *)> &call,
                       std::mt19937 &random) {
  const size_t size = size_of(member.name);
  for (const table_case &c : table_cases(member.name)) {
    buffer table(1 + c.entries * size);
    for (size_t i = 0; i < table.size(); ++i) table.data()[i] = uint8_t(random());
    for (uint64_t count : counts) {
      const layout from{stride.source, count, size, random() % 4};
      const layout to{stride.destination, count, size, random() % 4};
      buffer values(from.bytes());
      for (uint64_t i = 0; i < count; ++i) write(values.data() + from.at(i), size, random() % c.value_limit);
      ASSERT_NO_FATAL_FAILURE(expect_two_runs<Form>(
          member, values, from, to,
          [&](uint64_t v) { return read(table.data() + 1 + v % c.entries * size, size); },
          [&](Form *f, const uint8_t *src, uint8_t *dst, strides s) {
            call(f, src, dst, s, count, c, table.data() + 1);
          }));
    }
  }
}

TEST(Npfpix, TablesTranslateFromRunToRun) {
  std::mt19937 random(6);
  std::vector<member<npfpix2xlat_fn>> members;
#define QVIM_PIX_TABLE_TWO QVIM_COLLECT
#include <qvimage/members/npfpix.inc>
  for (const auto &member : members)
    for (strides stride : strides_of(member.name))
      expect_translated<npfpix2xlat_fn>(
          member, stride,
          [](auto f, auto src, auto dst, strides s, uint64_t count, const table_case &c, auto table) {
            f(src, dst, s.source, s.destination, count, table, c.bits);
          },
          random);
}

// The source is copied to where the member then works.
void copy_run(const uint8_t *src, uint8_t *dst, strides s, uint64_t count, size_t size) {
  for (int64_t i = 0; i < int64_t(count); ++i) memmove(dst + i * s.destination, src + i * s.source, size);
}

TEST(Npfpix, TablesTranslateInPlace) {
  std::mt19937 random(7);
  std::vector<member<npfpix_fn>> members;
#define QVIM_PIX_TABLE QVIM_COLLECT
#include <qvimage/members/npfpix.inc>
  for (const auto &member : members) {
    const auto size = int64_t(size_of(member.name));
    expect_translated<npfpix_fn>(
        member, {size, size},
        [size](auto f, auto src, auto dst, strides s, uint64_t count, const table_case &c, auto table) {
          copy_run(src, dst, s, count, size_t(size));
          f(dst, count, c.bits, any, table);
        },
        random);
  }
}

TEST(Npfpix, TablesTranslateStridedRunsInPlace) {
  std::mt19937 random(8);
  std::vector<member<npfpixxlat_fn>> members;
#define QVIM_PIX_TABLE_STRIDED QVIM_COLLECT
#include <qvimage/members/npfpix.inc>
  for (const auto &member : members) {
    const auto size = size_of(member.name);
    for (strides stride : strides_of(member.name))
      expect_translated<npfpixxlat_fn>(
          member, stride,
          [size](auto f, auto src, auto dst, strides s, uint64_t count, const table_case &c, auto table) {
            copy_run(src, dst, s, count, size);
            f(dst, s.destination, count, c.bits, any, table);
          },
          random);
  }
}

// --- mirroring

// Calls `in_place` or `two_runs`, which are told how many pixels of how many bytes to mirror, on every count.
template <class Form>
void expect_mirrored(const member<Form> &member, uint64_t size, bool two,
                     const std::function<void(Form *, const uint8_t *, uint8_t *, uint64_t)> &call) {
  std::mt19937 random(9);
  for (uint64_t count : {0, 1, 2, 3, 4, 5, 15, 16, 17, 64, 100, 257, 1023, 1024, 2049, 5000})
    for (size_t offset : {0, 1, 3}) {
      buffer before(offset + count * size);
      for (size_t i = 0; i < before.size(); ++i) before.data()[i] = uint8_t(random());
      buffer expected = before;
      for (uint64_t i = 0; i < count; ++i)
        memcpy(expected.data() + offset + i * size, before.data() + offset + (count - 1 - i) * size, size);
      for (const auto &v : member.versions) {
        buffer result = before;
        call(v.function, result.data() + offset, result.data() + offset, count);
        ASSERT_TRUE(result == expected) << member.name << " " << v.level << ": " << count << " of " << size;
        if (!two) continue;
        buffer source = before, destination = before;
        call(v.function, source.data() + offset, destination.data() + offset, count);
        ASSERT_TRUE(destination == expected && source == before)
            << member.name << " " << v.level << ": " << count << " of " << size << " from run to run";
      }
    }
}

TEST(Npfpix, PixelsOfTheNamesSizeAreMirrored) {
  std::vector<member<npfpixtr_fn>> in_place;
  std::vector<member<npfpix2tr_fn>> two_runs;
#define QVIM_PIX_MIRROR(name, ...) add_member(in_place, #name, {QVIM_LEVELS_OF(name)});
#define QVIM_PIX_MIRROR_TWO(name, ...) add_member(two_runs, #name, {QVIM_LEVELS_OF(name)});
#include <qvimage/members/npfpix.inc>
  const auto size = [](const std::string &name) { return uint64_t(name[name.size() - 3] - '0'); };
  for (const auto &member : in_place)
    expect_mirrored<npfpixtr_fn>(member, size(member.name), false,
                                 [](auto f, auto, auto dst, uint64_t count) { f(dst, count); });
  for (const auto &member : two_runs)
    expect_mirrored<npfpix2tr_fn>(member, size(member.name), true,
                                  [](auto f, auto src, auto dst, uint64_t count) { f(src, dst, count); });
}

TEST(Npfpix, PixelsOfAnySizeAreMirrored) {
  std::vector<member<npfpixtrk_fn>> in_place;
  std::vector<member<npfpix2trk_fn>> two_runs;
#define QVIM_PIX_MIRROR_SIZED(name) add_member(in_place, #name, {QVIM_LEVELS_OF(name)});
#define QVIM_PIX_MIRROR_TWO_SIZED(name) add_member(two_runs, #name, {QVIM_LEVELS_OF(name)});
#include <qvimage/members/npfpix.inc>
  for (uint32_t k : {1, 2, 3, 4, 5, 6, 7, 8, 12, 100}) {
    for (const auto &member : in_place)
      expect_mirrored<npfpixtrk_fn>(member, k, false,
                                    [k](auto f, auto, auto dst, uint64_t count) { f(dst, count, k); });
    for (const auto &member : two_runs)
      expect_mirrored<npfpix2trk_fn>(
          member, k, true, [k](auto f, auto src, auto dst, uint64_t count) { f(src, dst, count, k); });
  }
  npfpix1_transposek_i(nullptr, 5, 0);
  npfpix1_2transposek_i(nullptr, nullptr, 5, 0);
}

TEST(Npfpix, StridedBytesAreMirrored) {
  std::mt19937 random(10);
  std::vector<member<npfpixtrn_fn>> members;
#define QVIM_PIX_MIRROR_STRIDED(name) QVIM_COLLECT(name, )
#include <qvimage/members/npfpix.inc>
  for (const auto &member : members)
    for (int64_t stride : {1, 2, 3, 7, -1, -4})
      for (uint64_t count : counts) {
        const layout run{stride, count, 1, 3};
        buffer before(run.bytes());
        for (size_t i = 0; i < before.size(); ++i) before.data()[i] = uint8_t(random());
        buffer expected = before;
        for (uint64_t i = 0; i < count; ++i)
          expected.data()[run.at(i)] = before.data()[run.at(count - 1 - i)];
        for (const auto &v : member.versions) {
          buffer result = before;
          v.function(result.data() + run.at(0), stride, count);
          ASSERT_TRUE(result == expected) << v.level << ": stride " << stride << " count " << count;
        }
      }
}

// --- sums

buffer sums_about(uint32_t d, uint64_t count, size_t offset, std::mt19937 &random) {
  buffer sums(offset + 4 * count);
  for (uint64_t i = 0; i < count; ++i) {
    const uint32_t half = uint32_t(random()) / 2 / std::max(d, 1u) * d + d / 2;
    const uint32_t values[] = {half - 1, half, half + 1, uint32_t(random()), ~0u - uint32_t(random() % 3)};
    write(sums.data() + offset + 4 * i, 4, values[random() % 5]);
  }
  return sums;
}

TEST(Npfpix, PixiesAreAddedToSums) {
  std::mt19937 random(11);
  std::vector<member<npfpixadd_fn>> members;
#define QVIM_PIX_ADD QVIM_COLLECT
#include <qvimage/members/npfpix.inc>
  for (const auto &member : members)
    for (uint64_t count : counts)
      for (size_t offset : {0, 1, 3}) {
        const size_t size = size_of(member.name);
        buffer pixies(offset + count * size), before = sums_about(3, count, offset, random);
        for (size_t i = 0; i < pixies.size(); ++i) pixies.data()[i] = uint8_t(random());
        buffer expected = before;
        for (uint64_t i = 0; i < count; ++i) {
          uint8_t *sum = expected.data() + offset + 4 * i;
          write(sum, 4, read(sum, 4) + read(pixies.data() + offset + i * size, size));
        }
        for (const auto &v : member.versions) {
          buffer result = before;
          v.function(pixies.data() + offset, reinterpret_cast<uint32_t *>(result.data() + offset), count);
          ASSERT_TRUE(result == expected) << member.name << " " << v.level << ": count " << count;
        }
      }
}

uint64_t finished(const std::string &operation, uint64_t sum, uint64_t most, const words &w) {
  if (operation == "assshri") return w[0] % 32 ? (sum + (uint64_t(1) << (w[0] % 32 - 1))) >> w[0] % 32 : sum;
  if (w[0] == 0) return 0;
  const uint64_t mean = (sum + w[0] / 2) / w[0];
  return operation == "assdivlb" ? std::min<uint64_t>(mean, w[1] & most) : mean;
}

TEST(Npfpix, SumsBecomeMeans) {
  std::mt19937 random(12);
  std::vector<member<npfpixass_fn>> members;
#define QVIM_PIX_FINISH QVIM_COLLECT
#include <qvimage/members/npfpix.inc>
  for (const auto &member : members)
    for (int turn = 0; turn < 100; ++turn)
      for (uint64_t count : counts) {
        const size_t size = size_t(member.name[7] - '0'), offset = random() % 4;  // npfpix41_assdivi
        const words w = {interesting(random), interesting(random)};
        const buffer sums = sums_about(w[0], count, offset, random), before(offset + count * size);
        buffer expected = before;
        for (uint64_t i = 0; i < count; ++i)
          write(expected.data() + offset + i * size, size,
                finished(member.name.substr(9), read(sums.data() + offset + 4 * i, 4),
                         size == 1 ? 255 : 65535, w));
        for (const auto &v : member.versions) {
          buffer result = before;
          v.function(reinterpret_cast<const uint32_t *>(sums.data() + offset), any, result.data() + offset,
                     count, w.data());
          ASSERT_TRUE(result == expected) << member.name << " " << v.level << ": count " << count << shown(w);
        }
      }
}

// --- by hand

template <class T>
T one(npfpix_fn *f, T v, words w) {
  f(&v, 1, 0, 0, w.data());
  return v;
}

TEST(Npfpix, KnownValues) {
  const struct {
    npfpix_fn *function;
    words operand;
    uint8_t value, result;
  } cases[] = {
      {npfpix1_neg, {255}, 0, 255},
      {npfpix1_neg, {255}, 255, 0},
      {npfpix1_neg, {100}, 150, 206},
      {npfpix1_addbound255, {10}, 250, 255},
      {npfpix1_addbound255, {10}, 100, 110},
      {npfpix1_addbound, {300, 90}, 40, 84},  // 300 is 44
      {npfpix1_subbound0, {10}, 5, 0},
      {npfpix1_threshold, {10, 20, 255}, 15, 255},
      {npfpix1_threshold, {10, 20, 255}, 25, 25},
      {npfpix1_threshold2, {10, 20, 255, 0}, 15, 255},
      {npfpix1_threshold2, {10, 20, 255, 0}, 25, 0},
      {npfpix1_mul, {3, 2, 255}, 100, 150},
      {npfpix1_mul, {3, 2, 255}, 200, 255},
      {npfpix1_mul, {3, 0, 255}, 200, 0},
      {npfpix1_mul, {0x40000000, 1, 255}, 4, 0},  // the product is 2^32
      {npfpix1_mull, {0x40000000, 1, 255}, 4, 255},
      {npfpix1_contrast, {50, 150, 255}, 50, 0},
      {npfpix1_contrast, {50, 150, 255}, 100, 127},
      {npfpix1_contrast, {50, 150, 255}, 151, 255},
      {npfpix1_gray, {}, 2, 3},
      {npfpix1_gray1, {}, 3, 2},
      {npfpix1_reverse, {8}, 0x01, 0x80},
      {npfpix1_reverse, {4}, 0x01, 0x08},
      {npfpix1_reverse, {0}, 0xFF, 0},
      {npfpix1_rotl, {1, 8}, 0x81, 0x03},
      {npfpix1_rotr, {9, 8}, 0x81, 0xC0},
      {npfpix1_shl, {33}, 0x81, 0x02},
      {npfpix1_gamma, {2000, 255}, 128, 64},
      {npfpix1_gamma, {500, 255}, 64, 128},
  };
  for (const auto &c : cases)
    EXPECT_EQ(one<uint8_t>(c.function, c.value, c.operand), c.result) << int(c.value) << shown(c.operand);
  for (int v = 0; v < 256; ++v) EXPECT_EQ(one<uint8_t>(npfpix1_gamma, uint8_t(v), {1000, 255}), v);
  EXPECT_EQ((one<uint16_t>(npfpix2_mul, 40000, {3, 2, 65535})), 60000);
  EXPECT_EQ((one<uint32_t>(npfpix4_mull, 4000000000, {3, 4, 0xFFFFFFFF})), 3000000000);

  uint8_t pixels[] = {1, 2, 3, 4, 5, 6};
  npfpix1_transposek_i(pixels, 2, 3);
  EXPECT_EQ(std::vector<uint8_t>(pixels, pixels + 6), (std::vector<uint8_t>{4, 5, 6, 1, 2, 3}));

  const uint32_t sums[] = {6, 5, 4, ~0u}, by_four = 2, three = 3, none = 0;
  uint8_t means[4];
  npfpix41_assshri(sums, 0, means, 2, &by_four);
  EXPECT_TRUE(means[0] == 2 && means[1] == 1);
  npfpix41_assdivi(sums + 1, 0, means, 2, &three);
  EXPECT_TRUE(means[0] == 2 && means[1] == 1);
  npfpix41_assdivi(sums, 0, means, 1, &none);
  EXPECT_EQ(means[0], 0);
}

// The product is just below 64, and 64 when it is rounded by itself: halves are then rounded up.
TEST(Npfpix, ContrastPivotRoundsOnce) {
  const double distance = 1 + 63.5, block[] = {0, 255, -63.5, 64 / distance};
  ASSERT_EQ(distance * block[3], 64);
  uint8_t v = 1;
  npfpix1_contrastpivot(&v, 1, 0, 0, block);
  EXPECT_EQ(v, 0);
}

TEST(Npfpix, DoNothingKernelsDoNothing) {
  npftwo14_stub(nullptr, nullptr, 100);
  npftwo24_stub(nullptr, nullptr, 100);
}

}  // namespace
