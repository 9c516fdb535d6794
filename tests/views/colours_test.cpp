// Images presented in other colours.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include <qvimage/qvimage.h>

namespace {

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

// A view above that takes pixels through the stack reads no bytes of the stack as pads.
TEST(ColourConverter, LeavesPadsOfAViewAboveItAlone) {
  uint8_t pixels[30], out[40];
  std::iota(pixels, pixels + 30, uint8_t{0});
  const int32_t dims[2] = {10, 1};
  qvimage source, padded, mirrored;
  ASSERT_EQ(qvimage_memory(&source, pixels, dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0), 0);
  ASSERT_EQ(qvimage_colorconverter(&padded, &source, QVIM_HINT_BGRPAD, 0), 0);
  ASSERT_EQ(qvimage_rotate_filt(&mirrored, &padded, 0, 4), 0);
  std::fill_n(out, sizeof out, uint8_t{0xA5});
  ASSERT_EQ(mirrored.ioset(&mirrored, 0, QVIM_UINT8, 15), 1);
  ASSERT_EQ(mirrored.ioread(&mirrored, 0, out, 10, 0, 0), 10u);
  for (int i = 0; i < 10; i++)
    for (int c = 0; c < 4; c++) EXPECT_EQ(out[4 * i + c], c < 3 ? pixels[3 * (9 - i) + 2 - c] : 0xA5);
}

}  // namespace
