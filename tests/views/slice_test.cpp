// One component of an image seen as an image of its own.
#include <gtest/gtest.h>

#include "tests/fault.hpp"
#include "tests/views/view_scene.hpp"

namespace {

using namespace model;
using qvim::three_d;
using qvim::two_d;

QVIM_EITHER_DIMENSION(make_slice, qvimage_colorslice, qvimage3_colorslice)

// Images without access to single components: memory images that refuse it.
template <class Dim>
auto serving_ioset = decltype(qvim::record<Dim>::ioset){};
template <class Dim>
int32_t whole_pixels_only(qvim::record<Dim> *im, uint32_t mode, uint32_t datatype, uint32_t mask) {
  if (mask != uint32_t(ones(im->d.pixies))) return -21;
  return serving_ioset<Dim>(im, mode, datatype, mask);
}

template <class Dim>
struct sliced : view_scene<Dim> {
  using scene = view_scene<Dim>;
  using scene::g, scene::r, scene::stored, scene::view, scene::source;
  int component = 0;

  void set_up(int seed) {
    g.seed(uint64_t(seed));
    stored = random_pixels(g, Dim::axes);
    component = between(g, 0, stored.d.pixies - 1);
    ASSERT_NO_FATAL_FAILURE(scene::set_up(
        [&](auto *v, auto *s, uint8_t share) { return make_slice(v, s, share, 1u << component, 0u); }));
    if (chance(g, 50)) {
      serving_ioset<Dim> = source.ioset;
      source.ioset = whole_pixels_only<Dim>;
    }
    r = {random_mode(g, Dim::axes), uint32_t(stored.d.pixietype) | random_flags(g), 1};
  }
  bits expected(const pos &at) const {
    return as_read(stored, stored.get(this->in_source(at), component), r.datatype);
  }
};

template <class Dim>
void reads_its_component(int seed) {
  sliced<Dim> s;
  ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
  SCOPED_TRACE(s.text());
  s.check_reads([&](const pos &at, int) { return s.expected(at); });
}

template <class Dim>
void writes_only_its_component(int seed) {
  sliced<Dim> s;
  ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
  SCOPED_TRACE(s.text());
  // Other components pass through the caller's form where whole pixels are read and written: their unused
  // bits need not come back.
  pixels after = s.stored;
  s.check_writes([&] { return random_given(s.g, s.stored, s.r.datatype); },
                 [&](const pos &at, const std::vector<uint64_t> &v) {
                   const pos there = s.in_source(at);
                   for (int c = 0; c < s.stored.d.pixies; c++)
                     after.put(there, c,
                               c == s.component ? as_written(s.stored, v[0], s.r.datatype)
                                                : bits{s.stored.get(there, c), s.stored.significant()});
                 });
  expect_equal(s.stored, after);
}

template <class Dim>
void transfers_scattered_pixels(int seed) {
  sliced<Dim> s;
  ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
  s.r.datatype = uint32_t(s.stored.d.pixietype) | (s.stored.integer() ? uint32_t(s.stored.d.i_bitsxsb) : 0);
  SCOPED_TRACE(s.text());
  pixels after = s.stored;
  s.check_blocks([&](const pos &at, int) { return s.expected(at); },
                 [&] { return random_given(s.g, s.stored, s.r.datatype); },
                 [&](const pos &at, const std::vector<uint64_t> &v) {
                   const pos there = s.in_source(at);
                   for (int c = 0; c < s.stored.d.pixies; c++)
                     after.put(there, c,
                               c == s.component ? as_written(s.stored, v[0], s.r.datatype)
                                                : bits{s.stored.get(there, c), s.stored.significant()});
                 });
  expect_equal(s.stored, after);
}

TEST(ColourSlice, ReadsItsComponent) {
  for_seeds(600, reads_its_component<two_d>);
  for_seeds(600, reads_its_component<three_d>);
}
TEST(ColourSlice, WritesOnlyItsComponent) {
  for_seeds(600, writes_only_its_component<two_d>);
  for_seeds(600, writes_only_its_component<three_d>);
}
TEST(ColourSlice, TransfersScatteredPixels) {
  for_seeds(400, transfers_scattered_pixels<two_d>);
  for_seeds(400, transfers_scattered_pixels<three_d>);
}

struct ColourSliceFixed : testing::Test {
  void SetUp() override {
    for (int i = 0; i < 18; i++) bytes[i] = uint8_t(i);
    ASSERT_EQ(qvimage_memory(&source, bytes, dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0), 0);
    ASSERT_EQ(qvimage_colorslice(&view, &source, 0, 2, 0), 0);
  }
  qvimage source, view;
  int32_t dims[2] = {3, 2};
  uint8_t bytes[18];
};

TEST_F(ColourSliceFixed, DescribesOneComponent) {
  EXPECT_EQ(std::memcmp(view.devname, "ClrSlice", 8), 0);
  EXPECT_EQ(view.d.pixies, 1);
  EXPECT_EQ(view.d.pixelhint, QVIM_HINT_RGB);
  EXPECT_EQ(view.f.pixelsize, 1);
  for (const char code : {'i', 'm', 'b'})
    EXPECT_EQ(view.aeiou(&view, uint32_t(code), 0, 0, nullptr),
              source.aeiou(&source, uint32_t(code), 0, 0, nullptr) + 1);
  EXPECT_EQ(view.aeiou(&view, 'I', 0, 0, nullptr), 1431655765u) << "as the source answers";
}

TEST_F(ColourSliceFixed, RefusesWithTheCodeOfItsReason) {
  EXPECT_EQ(qvimage_colorslice(nullptr, &source, 0, 1, 0), -1);
  for (const uint32_t mask : {0u, 3u, 5u, 8u, 0x80000000u}) {
    EXPECT_EQ(qvimage_colorslice(&view, &source, 0, mask, 0), -1);
    EXPECT_STREQ(view.devname, "NULL2");
  }
  EXPECT_EQ(qvimage_colorslice(&view, nullptr, 0, 1, 0), -1);
  ASSERT_EQ(qvimage_colorslice(&view, &source, 0, 4, 0), 0);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 2), -21);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 3), -21);
  EXPECT_EQ(view.ioset(&view, QVIM_ZSCAN, QVIM_UINT8, 1), -1);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, 1), -19);
  EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT8, 1), -11);
  view.source[0] = -65;
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), -5);
}

TEST_F(ColourSliceFixed, SlicesSlicesAndNeverAllocates) {
  std::vector<qvimage> chain(2);
  ASSERT_EQ(qvimage_colorslice(&chain[0], &source, 1, 4, 0), 0);
  ASSERT_EQ(qvimage_colorslice(&chain[1], reinterpret_cast<qvimage *>(intptr_t{-66}), 0, 1, 0), 0);
  std::vector<qvimage> moved = chain;
  std::memset(static_cast<void *>(chain.data()), 0xEE, 2 * sizeof(qvimage));
  const uint64_t before = allocation_count();
  uint8_t out[6];
  ASSERT_EQ(moved[1].ioset(&moved[1], QVIM_WRAP, QVIM_UINT8, 1), 1);
  ASSERT_EQ(moved[1].ioread(&moved[1], 0, out, 6, 0, 0), 6u);
  for (int i = 0; i < 6; i++) EXPECT_EQ(out[i], 3 * i + 2);
  EXPECT_EQ(allocation_count(), before);
}

}  // namespace
