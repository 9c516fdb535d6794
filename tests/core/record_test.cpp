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

}  // namespace
