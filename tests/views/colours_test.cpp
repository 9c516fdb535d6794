// Images presented in other colours, each pair of interpretations judged by the models of the kernels that
// are named for it.
#include <gtest/gtest.h>

#include <numeric>

#include "tests/fault.hpp"
#include "tests/views/colours_model.hpp"
#include "tests/views/view_scene.hpp"

namespace {

using namespace model;
using qvim::three_d;
using qvim::two_d;

QVIM_EITHER_DIMENSION(make_colours, qvimage_colorconverter, qvimage3_colorconverter)

constexpr int hints[] = {QVIM_HINT_RGB, QVIM_HINT_RGBPAD, QVIM_HINT_BGR,  QVIM_HINT_BGRPAD, QVIM_HINT_YCRCB,
                         QVIM_HINT_BSH, QVIM_HINT_CMY,    QVIM_HINT_CMYK, QVIM_HINT_GREY};
constexpr int types[] = {QVIM_UINT8, QVIM_UINT16, QVIM_UINT32, QVIM_FLOAT32, QVIM_FLOAT64};

template <class Dim>
struct recoloured : view_scene<Dim> {
  using scene = view_scene<Dim>;
  using scene::g, scene::r, scene::stored, scene::view, scene::source;
  int from = 0, to = 0;

  // From and to those interpretations; false when there is no way.
  bool set_up(int seed, int from_hint, int to_hint) {
    g.seed(uint64_t(seed));
    from = from_hint;
    to = to_hint;
    const int type = one_of(g, types), width = 8 * qvimdatasize(uint32_t(type));
    qvimagedata d;
    qviminitdata(&d, type, is_integer(uint32_t(type)) && chance(g, 50) ? between(g, 1, width) : 0, from & 15,
                 from);
    if (is_integer(uint32_t(type))) {
      if (d.i_bitsused < width) {
        if (chance(g, 50)) d.i_bitsxsb = QVIM_MSB;
        d.i_dirtyread = chance(g, 40) ? QVIM_DIRTY : 0;
        d.i_dirtyrite = chance(g, 40) ? QVIM_DIRTY : 0;
      }
      if (width > 8 && chance(g, 30)) d.i_endian = QVIM_SWAPPED;
    }
    describe(stored, g, d, Dim::axes, {chance(g, 10) ? 1500 : 40, 9, 4});
    if (member(d, from, to).empty()) {
      build(&source, stored);
      EXPECT_EQ(make_colours(&view, &source, to, uint8_t{0}), -21);
      EXPECT_STREQ(view.devname, Dim::axes == 2 ? "NULL2" : "NULL3");
      return false;
    }
    scene::set_up([&](auto *v, auto *s, uint8_t share) { return make_colours(v, s, to, share); });
    const bool integer = is_integer(uint32_t(type));
    r = {random_mode(g, 2),
         uint32_t(type) | (integer ? chance(g, 50) ? uint32_t(view.d.i_bitsxsb) : 0 : random_flags(g)),
         this->one_or_all()};
    return true;
  }

  // The source's pixel as numbers.
  std::vector<uint64_t> numbers(const pixels &in, const pos &at) const {
    std::vector<uint64_t> v;
    for (int c = 0; c < (from & 15); c++)
      v.push_back(as_read(in, in.get(this->in_source(at), c), QVIM_LSB).value);
    return v;
  }
  std::vector<uint64_t> presented(const pixels &in, const pos &at, uint64_t pad) const {
    std::vector<uint64_t> v(size_t(to & 15), pad);
    convert_pixel(stored.d, from, to, numbers(in, at), v);
    return v;
  }
  bool whole() const { return r.colours() == (to & 15); }
  // Pads are left alone in whole pixels, and 0 by themselves.
  bits expected(const pos &at, int component) const {
    return {presented(stored, at, whole() ? 0xA5A5A5A5A5A5A5A5 : 0)[size_t(component)]};
  }
  bits expected_of_blocks(const pos &at, int component) const {
    if (padded(to) && component == 3 && whole()) return {0, 0};
    return expected(at, component);
  }
  uint64_t given() { return stored.integer() ? g() & ones(stored.used()) : stored.random_value(g, false); }
  void apply(pixels &after, const pos &at, std::vector<uint64_t> v) const {
    const bool all = whole();
    if (!all) {
      auto changed = presented(after, at, 0);
      changed[size_t(r.first())] = v[0];
      v = changed;
    }
    std::vector<uint64_t> result(size_t(from & 15), 0);
    convert_pixel(stored.d, to, from, v, result);
    const pos there = this->in_source(at);
    for (int c = 0; c < (from & 15); c++)
      if (padded(from) && c == 3 && !all)
        after.put(there, c, {after.get(there, c), stored.significant()});
      else
        after.put(there, c, as_written(stored, result[size_t(c)], QVIM_LSB));
  }
};

template <class Dim>
void presents(int seed, int from, int to) {
  recoloured<Dim> s;
  if (!s.set_up(seed, from, to) || testing::Test::HasFatalFailure()) return;
  SCOPED_TRACE(s.text() + " hints " + std::to_string(from) + " " + std::to_string(to) + " seed " +
               std::to_string(seed));
  ASSERT_NO_FATAL_FAILURE(s.check_reads([&](const pos &at, int c) { return s.expected(at, c); }));
  pixels after = s.stored;
  const auto apply = [&](const pos &at, const std::vector<uint64_t> &v) { s.apply(after, at, v); };
  ASSERT_NO_FATAL_FAILURE(s.check_writes([&] { return s.given(); }, apply));
  ASSERT_NO_FATAL_FAILURE(expect_equal(s.stored, after));
  ASSERT_NO_FATAL_FAILURE(s.check_blocks([&](const pos &at, int c) { return s.expected_of_blocks(at, c); },
                                         [&] { return s.given(); }, apply));
  ASSERT_NO_FATAL_FAILURE(expect_equal(s.stored, after));
}

TEST(ColourConverter, PresentsEveryPairOfInterpretations) {
  int seed = 1;
  for (int round = 0; round < 15; round++)
    for (const int from : hints)
      for (const int to : hints) {
        ASSERT_NO_FATAL_FAILURE(presents<two_d>(seed, from, to));
        ASSERT_NO_FATAL_FAILURE(presents<three_d>(seed++, from, to));
      }
}

TEST(ColourConverter, RefusesWithTheCodeOfItsReason) {
  alignas(8) uint8_t some[256] = {};
  const int32_t dims[2] = {2, 2};
  qvimage source, view;
  const struct {
    int32_t type, pixies, from, to, code;
  } refused[] = {{QVIM_UINT8, 3, QVIM_HINT_RGBPAD, QVIM_HINT_GREY, -21},
                 {QVIM_UINT8, 4, QVIM_HINT_RGB, QVIM_HINT_BGR, -21},
                 {QVIM_UINT8, 1, QVIM_HINT_INDEX, QVIM_HINT_RGB, -21},
                 {QVIM_UINT8, 3, QVIM_HINT_RGB, QVIM_HINT_INDEX, -21},
                 {QVIM_UINT8, 3, QVIM_HINT_RGB, QVIM_HINT_YIQ, -21},
                 {QVIM_UINT8, 3, QVIM_HINT_RGB, -1, -21},
                 {QVIM_UINT64, 3, QVIM_HINT_RGB, QVIM_HINT_GREY, -19},
                 {QVIM_FLOAT32, 3, QVIM_HINT_RGB, QVIM_HINT_YCRCB, -21}};
  for (const auto &c : refused) {
    ASSERT_EQ(qvimage_memory(&source, some, dims, 0, c.type, 0, c.pixies, c.from, 0), 0);
    EXPECT_EQ(qvimage_colorconverter(&view, &source, c.to, 0), c.code) << c.from << " to " << c.to;
    EXPECT_STREQ(view.devname, "NULL2");
  }
  EXPECT_EQ(qvimage_colorconverter(nullptr, &source, QVIM_HINT_GREY, 0), -1);
  EXPECT_EQ(qvimage_colorconverter(&view, nullptr, QVIM_HINT_GREY, 0), -1);
  ASSERT_EQ(qvimage_memory(&source, some, dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0), 0);
  ASSERT_EQ(qvimage_colorconverter(&view, &source, QVIM_HINT_CMYK, 0), 0);
  EXPECT_EQ(std::memcmp(view.devname, "QVIMCLR", 8), 0);
  EXPECT_EQ(view.f.pixelsize, 4);
  EXPECT_EQ(view.aeiou(&view, 'b', 0, 0, nullptr), (source.aeiou(&source, 'b', 0, 0, nullptr) + 2) | 0x40000);
  EXPECT_EQ(view.aeiou(&view, 'i', 0, 0, nullptr), (source.aeiou(&source, 'i', 0, 0, nullptr) + 1) | 0x40000);
  EXPECT_EQ(view.aeiou(&view, 'I', 0, 0, nullptr), 0x3FFFFFFFu);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, 15), -19);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8 | QVIM_SWAPPED, 15), -19);
  EXPECT_EQ(view.ioset(&view, QVIM_ZSCAN, QVIM_UINT8, 15), -1);
  for (const uint32_t mask : {0u, 3u, 7u, 16u, 31u}) EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, mask), -21);
  EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT8, 15), -11);
  view.source[0] = -65;
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 15), -5);
}

TEST(ColourConverter, LeavesPadsOfBlockTransfersAlone) {
  uint8_t pixel[3] = {1, 2, 3}, out[4] = {9, 9, 9, 9};
  const int32_t dims[2] = {1, 1};
  qvimage source, view;
  ASSERT_EQ(qvimage_memory(&source, pixel, dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0), 0);
  ASSERT_EQ(qvimage_colorconverter(&view, &source, QVIM_HINT_BGRPAD, 0), 0);
  ASSERT_EQ(view.bxts(&view, 0, QVIM_UINT8, 15), 1);
  qvxyzcoord where{0, 0, 0};
  ASSERT_EQ(view.bxta(&view, QVIM_LIST, out, &where, 1, QVIM_OP_READ), 1u);
  const uint8_t expected[4] = {3, 2, 1, 9};
  EXPECT_EQ(std::memcmp(out, expected, 4), 0);
}

// A view says that it tolerates dirt where its source does.
TEST(ColourConverter, ComputesWithoutTheDirtThatItTolerates) {
  uint16_t grey[2] = {};
  const int32_t dims[2] = {2, 1};
  qvimage source, view;
  ASSERT_EQ(qvimage_memory(&source, grey, dims, 0, QVIM_UINT16, 12, 1, QVIM_HINT_GREY, 0), 0);
  source.d.i_dirtyread = source.d.i_dirtyrite = QVIM_DIRTY;
  ASSERT_EQ(qvimage_colorconverter(&view, &source, QVIM_HINT_RGB, 0), 0);
  ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT16 | QVIM_LSB | QVIM_DIRTY, 7), 1);
  const uint16_t dirty[6] = {0xF123, 0xE456, 0xD789, 0x5FFF, 0x6000, 0x7ABC};
  ASSERT_EQ(view.iorite(&view, 0, dirty, 2, 0, 0), 2u);
  const uint16_t clean[2] = {(76 * 0x123 + 150 * 0x456 + 29 * 0x789) >> 8,
                             (76 * 0xFFF + 150 * 0x000 + 29 * 0xABC) >> 8};
  for (int i = 0; i < 2; i++) EXPECT_EQ(grey[i] & 0xFFF, clean[i]);
}

__attribute__((noinline)) void soil_stack() {
  uint8_t marks[16384];
  std::memset(marks, 0xEE, sizeof marks);
  asm volatile("" : : "r"(marks) : "memory");
}

// Views above that take pixels apart read no bytes of the stack as pads.
TEST(ColourConverter, LeavesPadsOfViewsAboveItAlone) {
  uint8_t pixels[30];
  std::iota(pixels, pixels + 30, uint8_t{0});
  const int32_t dims[2] = {10, 1};
  qvimage source, padded, mirrored, converted;
  ASSERT_EQ(qvimage_memory(&source, pixels, dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0), 0);
  ASSERT_EQ(qvimage_colorconverter(&padded, &source, QVIM_HINT_BGRPAD, 0), 0);
  ASSERT_EQ(qvimage_rotate_filt(&mirrored, &padded, 0, 4), 0);
  ASSERT_EQ(qvimage_converter(&converted, &padded, nullptr, 0, 0, 0, 0), 0);
  uint8_t out[40];
  std::memset(out, 0xA5, sizeof out);
  ASSERT_EQ(mirrored.ioset(&mirrored, 0, QVIM_UINT8, 15), 1);
  soil_stack();
  ASSERT_EQ(mirrored.ioread(&mirrored, 0, out, 10, 0, 0), 10u);
  for (int i = 0; i < 10; i++)
    for (int c = 0; c < 4; c++) EXPECT_EQ(out[4 * i + c], c < 3 ? pixels[3 * (9 - i) + 2 - c] : 0xA5);
  uint16_t wide[40];
  ASSERT_EQ(converted.ioset(&converted, 0, QVIM_UINT16, 15), 1);
  soil_stack();
  ASSERT_EQ(converted.ioread(&converted, 0, wide, 10, 0, 0), 10u);
  for (int i = 0; i < 10; i++)
    for (int c = 0; c < 4; c++) EXPECT_EQ(wide[4 * i + c], c < 3 ? pixels[3 * i + 2 - c] : 0);
}

// Wider grey values in colour: a converter over a colour converter over one component of an image. Records
// refer to the next one, and work from anywhere.
TEST(ColourConverter, StacksAndMoves) {
  generator g(1);
  uint8_t stored[3 * 700 * 3];
  for (uint8_t &b : stored) b = uint8_t(g());
  const int32_t dims[2] = {700, 3};
  const auto next = reinterpret_cast<qvimage *>(intptr_t{-64});
  std::vector<qvimage> first(4), chain(4);
  ASSERT_EQ(qvimage_memory(&first[3], stored, dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_GREY, 0), 0);
  ASSERT_EQ(qvimage_colorslice(&first[2], next, 0, 2, 0), 0);
  ASSERT_EQ(qvimage_colorconverter(&first[1], next, QVIM_HINT_RGB, 0), 0);
  ASSERT_EQ(qvimage_converter(&first[0], next, nullptr, 0, 0, 0, 0), 0);
  ASSERT_EQ(first[0].ioset(&first[0], QVIM_WRAP, QVIM_UINT16 | QVIM_MSB, 7), 1);
  chain = first;
  std::memset(static_cast<void *>(first.data()), 0xEE, 4 * sizeof(qvimage));
  qvimage &top = chain[0];
  const uint64_t before = allocation_count();
  uint16_t row[3 * 2000];
  for (const bool again : {false, true}) {
    if (again) {
      ASSERT_EQ(top.ioset(&top, QVIM_WRAP, QVIM_UINT16 | QVIM_MSB, 7), 1);
    }
    ASSERT_EQ(top.ioread(&top, 0, row, 2000, 50, 0), 2000u);
    for (int i = 0; i < 6000; i++) ASSERT_EQ(row[i], stored[3 * (50 + i / 3) + 1] << 8);
  }
  std::vector<uint8_t> after(stored, stored + sizeof stored);
  for (uint16_t &v : row) v = uint16_t(g());
  for (size_t i = 0; i < 2000; i++) {
    const uint16_t *p = row + 3 * i;
    after[3 * (50 + i) + 1] = uint8_t((76 * (p[0] >> 8) + 150 * (p[1] >> 8) + 29 * (p[2] >> 8)) >> 8);
  }
  ASSERT_EQ(top.iorite(&top, 0, row, 2000, 50, 0), 2000u);
  EXPECT_EQ(std::memcmp(stored, after.data(), sizeof stored), 0);
  EXPECT_EQ(allocation_count(), before);
}

}  // namespace
