#include "core/record.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include <qvimage/qvimage.h>

namespace {

TEST(SourceReference, CountsInRecordsFromItsHolder) {
  std::vector<uint8_t> memory(130 * 452);
  auto *const holder = reinterpret_cast<qvimage *>(memory.data() + 64 * 452);
  const struct {
    int64_t reference;
    int records;  // from the holder
  } cases[] = {{-1, 64}, {-64, 1}, {-65, 0}, {-66, -1}, {-128, -63}};
  for (const auto &c : cases)
    EXPECT_EQ(qvim::resolve<uint8_t>(holder, c.reference), memory.data() + (64 + c.records) * 452)
        << c.reference;
}

TEST(SourceReference, IsAnAddressOtherwise) {
  qvimage holder;
  for (int64_t address : {int64_t{-129}, int64_t{1}, int64_t(reinterpret_cast<intptr_t>(&holder))})
    EXPECT_EQ(int64_t(reinterpret_cast<intptr_t>(qvim::resolve<qvimage>(&holder, address))), address);
  EXPECT_EQ(qvim::resolve<qvimage>(&holder, 0), nullptr);
}

TEST(DeviceName, HasEightBytesOfWhichAllCount) {
  qvimage im;
  std::memset(static_cast<void *>(&im), 0xEE, sizeof im);
  qvim::set_device_name(&im, "QVIMMEM3");
  EXPECT_TRUE(qvim::has_device_name(&im, "QVIMMEM3"));
  EXPECT_FALSE(qvim::has_device_name(&im, "QVIMMEM"));
  EXPECT_EQ(im.iostate[0], 0xEE);
  qvim::set_device_name(&im, "NULL2");
  EXPECT_EQ(std::memcmp(im.devname, "NULL2\0\0\0", 8), 0);
}

struct image {
  uint16_t pixels[6] = {10, 11, 12, 20, 21, 22};
  qvimage im;
  image() {
    const int32_t dims[] = {3, 2};
    qvimage_memory(&im, pixels, dims, 0, QVIM_UINT16, 0, 1, QVIM_HINT_GREY, 0);
  }
};

TEST(Window, DiscardsTheSetUpsWhenItIsSet) {
  image i;
  uint16_t value = 0;
  ASSERT_EQ(i.im.ioset(&i.im, 0, QVIM_UINT16, 1), 1);
  ASSERT_EQ(i.im.imapset(&i.im, 0, QVIM_UINT16, 1), 0x4005);
  qvywindow right = {{1, 0}, {3, 2}};
  EXPECT_EQ(i.im.xwind(&i.im, &right, 's'), &i.im);
  EXPECT_EQ(i.im.ioread(&i.im, 0, &value, 1, 0, 0), 0u);
  qvimagemap map;
  EXPECT_EQ(i.im.imap(&i.im, &map, 0, 0), 0);
  ASSERT_EQ(i.im.ioset(&i.im, 0, QVIM_UINT16, 1), 1);
  EXPECT_EQ(i.im.ioread(&i.im, 0, &value, 1, 0, 1), 1u);
  EXPECT_EQ(value, 21);
}

TEST(Run, GoesOnWithTheNextLineOnlyWhenItWraps) {
  std::vector<uint8_t> pixels(100), got(10);
  for (int i = 0; i < 100; i++) pixels[i] = uint8_t(i);
  const int32_t dims[] = {10, 10};
  qvimage im;
  ASSERT_EQ(qvimage_memory(&im, pixels.data(), dims, 0, QVIM_UINT8, 0, 1, 0, 0), 0);
  ASSERT_EQ(im.ioset(&im, QVIM_WRAP, QVIM_UINT8, 1), 1);
  EXPECT_EQ(im.ioread(&im, 0, got.data(), 10, 6, 3), 10u);
  EXPECT_EQ(got, std::vector<uint8_t>({36, 37, 38, 39, 40, 41, 42, 43, 44, 45}));
  ASSERT_EQ(im.ioset(&im, 0, QVIM_UINT8, 1), 1);
  EXPECT_EQ(im.ioread(&im, 0, got.data(), 10, 6, 3), 4u);
}

TEST(Run, ThatCouldNotBeSetUpMovesNothing) {
  uint8_t pixels[12], value = 77;
  const int32_t dims[] = {2, 2};
  qvimage im;
  ASSERT_EQ(qvimage_memory(&im, pixels, dims, 0, QVIM_UINT8, 0, 3, QVIM_HINT_RGB, 0), 0);
  const struct {
    uint32_t mode, datatype, mask;
    int32_t code;
  } cases[] = {{0, QVIM_UINT16, 7, -19},         {0, QVIM_UINT8, 5, -21},
               {0, QVIM_UINT8, 0, -21},          {0, QVIM_UINT8, 8, -21},
               {QVIM_ZSCAN, QVIM_UINT8, 7, -11}, {QVIM_YSCAN | QVIM_ZSCAN, QVIM_UINT8, 7, -11}};
  for (const auto &c : cases) {
    ASSERT_EQ(im.ioset(&im, 0, QVIM_UINT8, 7), 1);
    EXPECT_EQ(im.ioset(&im, c.mode, c.datatype, c.mask), c.code);
    EXPECT_EQ(im.ioread(&im, 0, &value, 1, 0, 0), 0u);
    EXPECT_EQ(im.iolen(&im, 1, 0, 0), 0u);
  }
  EXPECT_EQ(value, 77);
  EXPECT_EQ(im.imapset(&im, QVIM_ZSCAN, QVIM_UINT8, 7), -1);
  EXPECT_EQ(im.imapset(&im, QVIM_YSCAN, QVIM_UINT8, 7), -11);
  EXPECT_EQ(im.imapset(&im, 0, QVIM_UINT8, 6), -21);
}

}  // namespace
