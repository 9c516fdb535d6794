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

}  // namespace
