// Raw values behind a colour filter array, regrouped by cell.
#include <gtest/gtest.h>

#include <string>

#include <qvimage/qvimage.h>

namespace {

TEST(Bayer, OrdersComponentsByPhase) {
  uint8_t cell[4] = {10, 20, 30, 40};
  const int32_t dims[2] = {2, 2};
  qvimage source, view;
  ASSERT_EQ(qvimage_memory(&source, cell, dims, 0, QVIM_UINT8, 0, 1, QVIM_HINT_BAYER, 0), 0);
  const uint8_t ordered[4][4] = {{10, 20, 30, 40}, {20, 10, 40, 30}, {30, 40, 10, 20}, {40, 30, 20, 10}};
  for (uint32_t phase = 0; phase < 8; phase++) {
    ASSERT_EQ(qvimage_Beyer4_filter(&view, &source, 0, phase), 0);
    ASSERT_EQ(view.ioset(&view, QVIM_WRAP, QVIM_UINT8, 15), 1);
    uint8_t out[16];
    ASSERT_EQ(view.ioread(&view, 0, out, 4, 0, 0), 4u);
    for (int i = 0; i < 16; i++) EXPECT_EQ(out[i], ordered[phase & 3][i % 4]);
  }
}

TEST(Bayer, ShowsCellsOfValuesOfUpTo16Bits) {
  uint32_t pixels[16] = {};
  const int32_t dims[2] = {4, 4};
  qvimage source, view;
  for (const int32_t type : {QVIM_UINT16, QVIM_UINT32, QVIM_FLOAT32}) {
    ASSERT_EQ(qvimage_memory(&source, pixels, dims, 0, type, 0, 1, QVIM_HINT_BAYER, 0), 0);
    ASSERT_EQ(qvimage_Beyer4_filter(&view, &source, 0, 0), type == QVIM_UINT16 ? 0 : -19);
    EXPECT_STREQ(std::string(view.devname, 8).c_str(), type == QVIM_UINT16 ? "Bayer*4" : "NULL2");
    if (type != QVIM_UINT16) continue;
    EXPECT_EQ(view.d.pixelhint, QVIM_HINT_BAYER4);
    EXPECT_EQ(view.f.pixelsize, 8);
    for (const uint32_t mask : {1u, 7u, 31u}) EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, mask), -21);
    EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 15), -19);
  }
}

}  // namespace
