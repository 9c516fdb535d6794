// One component of an image seen as an image of its own.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include <qvimage/qvimage.h>

#include "tests/fault.hpp"

namespace {

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
  EXPECT_EQ(view.d.pixies, 1);
  EXPECT_EQ(view.d.pixelhint, QVIM_HINT_RGB);
  EXPECT_EQ(view.f.pixelsize, 1);
}

TEST_F(ColourSliceFixed, RefusesWithTheCodeOfItsReason) {
  for (const uint32_t mask : {0u, 3u, 5u, 8u, 0x80000000u}) {
    EXPECT_EQ(qvimage_colorslice(&view, &source, 0, mask, 0), -1);
    EXPECT_STREQ(view.devname, "NULL2");
  }
  ASSERT_EQ(qvimage_colorslice(&view, &source, 0, 4, 0), 0);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 2), -21);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 3), -21);
  EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT8, 1), -11);
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
