// Raw values behind a colour filter array, regrouped by cell.
#include <gtest/gtest.h>

#include "tests/fault.hpp"
#include "tests/views/geometry_model.hpp"
#include "tests/views/view_scene.hpp"

namespace {

using namespace model;
using qvim::three_d;
using qvim::two_d;

QVIM_EITHER_DIMENSION(make_bayer, qvimage_Beyer4_filter, qvimage3_Beyer4_filter)

template <class Dim>
struct cells : view_scene<Dim> {
  using scene = view_scene<Dim>;
  using scene::g, scene::r, scene::stored, scene::view;
  int phase = 0;

  void set_up(int seed) {
    g.seed(uint64_t(seed));
    pixel_choice choice;
    choice.types = {QVIM_UINT8, QVIM_UINT16};
    choice.most_pixies = 1;
    choice.most = {chance(g, 5) ? 3000 : 9, chance(g, 5) ? 3000 : 9, 3};
    stored = random_pixels(g, Dim::axes, choice);
    phase = between(g, 0, 3);
    ASSERT_NO_FATAL_FAILURE(scene::set_up(
        [&](auto *v, auto *s, uint8_t share) { return make_bayer(v, s, share, uint32_t(phase)); }));
    r = {random_mode(g, Dim::axes), uint32_t(stored.d.pixietype) | random_flags(g), 15};
  }

  bits expected(const pos &at, int component) const {
    const frame reach = this->shared ? frame_of(view.wind) : frame{{}, this->within.size};
    pos p = cell_value(reach, this->in_view(at), phase, component);
    if (!this->shared) p = sum(p, this->within.nw);
    return as_read(stored, stored.get(p, 0), r.datatype);
  }
};

template <class Dim>
void reads_whole_cells(int seed) {
  cells<Dim> s;
  ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
  SCOPED_TRACE(s.text());
  s.check_reads([&](const pos &at, int c) { return s.expected(at, c); });
  s.r.datatype = uint32_t(s.stored.d.pixietype) | uint32_t(s.stored.d.i_bitsxsb);
  ASSERT_EQ(s.view.bxts(&s.view, 0, s.r.datatype, 15), 1);
  qvxyzcoord list[20];
  uint8_t out[20 * 8];
  for (auto &e : list) {
    const pos p = random_pos(s.g, s.size());
    e = {p[0], p[1], p[2]};
  }
  ASSERT_EQ(s.view.bxta(&s.view, QVIM_LIST, out, list, 20, QVIM_OP_READ), 20u);
  for (int i = 0; i < 20; i++)
    for (int c = 0; c < 4; c++) {
      const pos at{list[i].x, list[i].y, list[i].z};
      ASSERT_NO_FATAL_FAILURE(expect_pixie(out + (i * 4 + c) * s.r.size(), s.r, s.expected(at, c), at, c));
    }
}

TEST(Bayer, ReadsWholeCells) {
  for_seeds(1200, reads_whole_cells<two_d>);
  for_seeds(1200, reads_whole_cells<three_d>);
}

TEST(Bayer, OrdersComponentsByPhase) {
  uint8_t cell[4] = {10, 20, 30, 40};
  const int32_t dims[2] = {2, 2};
  qvimage source, view;
  ASSERT_EQ(qvimage_memory(&source, cell, dims, 0, QVIM_UINT8, 0, 1, QVIM_HINT_BAYER, 0), 0);
  const uint8_t ordered[4][4] = {{10, 20, 30, 40}, {20, 10, 40, 30}, {30, 40, 10, 20}, {40, 30, 20, 10}};
  const uint64_t before = allocation_count();
  for (uint32_t phase = 0; phase < 8; phase++) {
    ASSERT_EQ(qvimage_Beyer4_filter(&view, &source, 0, phase), 0);
    ASSERT_EQ(view.ioset(&view, QVIM_WRAP, QVIM_UINT8, 15), 1);
    uint8_t out[16];
    ASSERT_EQ(view.ioread(&view, 0, out, 4, 0, 0), 4u);
    for (int i = 0; i < 16; i++) EXPECT_EQ(out[i], ordered[phase & 3][i % 4]);
  }
  EXPECT_EQ(allocation_count(), before);
}

TEST(Bayer, RefusesWithTheCodeOfItsReason) {
  uint32_t pixels[16] = {};
  const int32_t dims[2] = {4, 4};
  qvimage source, view;
  ASSERT_EQ(qvimage_memory(&source, pixels, dims, 0, QVIM_UINT16, 0, 1, QVIM_HINT_BAYER, 0), 0);
  EXPECT_EQ(qvimage_Beyer4_filter(nullptr, &source, 0, 0), -1);
  EXPECT_EQ(qvimage_Beyer4_filter(&view, nullptr, 0, 0), -1);
  ASSERT_EQ(qvimage_Beyer4_filter(&view, &source, 0, 0), 0);
  EXPECT_STREQ(view.devname, "Bayer*4");
  EXPECT_EQ(view.d.pixelhint, QVIM_HINT_BAYER4);
  EXPECT_EQ(view.f.pixelsize, 8);
  EXPECT_EQ(view.aeiou(&view, 'i', 0, 0, nullptr), (source.aeiou(&source, 'i', 0, 0, nullptr) + 1) | 0x10000);
  EXPECT_EQ(view.aeiou(&view, 'b', 0, 0, nullptr), (source.aeiou(&source, 'b', 0, 0, nullptr) + 2) | 0x10000);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 15), -19);
  EXPECT_EQ(view.ioset(&view, QVIM_ZSCAN, QVIM_UINT16, 15), -11) << "the source's code";
  for (const uint32_t mask : {0u, 1u, 7u, 31u}) EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, mask), -21);
  ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT16, 15), 1);
  EXPECT_EQ(view.iorite(&view, 0, pixels, 1, 0, 0), 0u);
  EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT16, 15), -11);
  for (const int32_t type : {QVIM_UINT32, QVIM_FLOAT32}) {
    ASSERT_EQ(qvimage_memory(&source, pixels, dims, 0, type, 0, 1, QVIM_HINT_BAYER, 0), 0);
    EXPECT_EQ(qvimage_Beyer4_filter(&view, &source, 0, 0), -19);
    EXPECT_STREQ(view.devname, "NULL2");
  }
}

}  // namespace
