// Images presented in other colours.
#include <gtest/gtest.h>

#include <numeric>

#include "tests/fault.hpp"
#include "tests/views/values.hpp"

namespace {

using namespace model;
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
  ASSERT_EQ(qvimage_memory(&source, some, dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0), 0);
  ASSERT_EQ(qvimage_colorconverter(&view, &source, QVIM_HINT_CMYK, 0), 0);
  EXPECT_EQ(view.f.pixelsize, 4);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8 | QVIM_SWAPPED, 15), -19);
  for (const uint32_t mask : {0u, 3u, 7u, 16u, 31u}) EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, mask), -21);
  EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT8, 15), -11);
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
  std::memset(wide, 0xA5, sizeof wide);
  ASSERT_EQ(converted.ioset(&converted, 0, QVIM_UINT16, 15), 1);
  soil_stack();
  ASSERT_EQ(converted.ioread(&converted, 0, wide, 10, 0, 0), 10u);
  for (int i = 0; i < 10; i++)
    for (int c = 0; c < 4; c++) EXPECT_EQ(wide[4 * i + c], c < 3 ? pixels[3 * i + 2 - c] : 0xA5A5);
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
