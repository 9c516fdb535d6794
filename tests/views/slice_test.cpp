// One component of an image seen as an image of its own.
#include <gtest/gtest.h>

#include <qvimage/qvimage.h>

namespace {

TEST(ColourSlice, IsOneComponentOrRefused) {
  uint8_t bytes[18] = {};
  const int32_t dims[2] = {3, 2};
  qvimage source, view;
  ASSERT_EQ(qvimage_memory(&source, bytes, dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0), 0);
  for (const uint32_t mask : {0u, 3u, 5u, 8u, 0x80000000u}) {
    EXPECT_EQ(qvimage_colorslice(&view, &source, 0, mask, 0), -1);
    EXPECT_STREQ(view.devname, "NULL2");
  }
  ASSERT_EQ(qvimage_colorslice(&view, &source, 0, 4, 0), 0);
  EXPECT_EQ(view.d.pixies, 1);
  EXPECT_EQ(view.d.pixelhint, QVIM_HINT_RGB);
  EXPECT_EQ(view.f.pixelsize, 1);
  for (const uint32_t mask : {2u, 3u}) EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, mask), -21);
}

}  // namespace
