// Pixel operation kernels: every member in every version against one value after another.
#include <gtest/gtest.h>

#include <qvimage/npfpix.h>

#include "tests/convert/kernel_levels.hpp"

#define QVIM_PIX(name, ...) QVIM_DECLARE_LEVELS(name, npfpix_fn)
#include <qvimage/members/npfpix.inc>

namespace {

using namespace qvim::test;

// npfpix<width>_<operation>, with the words of the operand block.
uint64_t model(const std::string &operation, uint64_t v, const uint32_t *w) {
  if (operation == "neg") return w[0] - v;
  ADD_FAILURE() << "no model of " << operation;
  return 0;
}

TEST(Npfpix, InPlaceMembersChangeEachPixie) {
  std::vector<member<npfpix_fn>> members;
#define QVIM_PIX(name, ...) add_member(members, #name, {QVIM_LEVELS_OF(name)});
#include <qvimage/members/npfpix.inc>
  std::mt19937 random(6);
  for (const auto &member : members) {
    const size_t size = size_t(member.name[6] - '0');
    for (uint32_t w0 : {255u, 100u, 65535u, 0xFFFFFFFFu, 0x12345678u})
      for (uint64_t count : {0, 1, 2, 3, 7, 8, 31, 64, 67, 300}) {
        buffer before(1 + size * count);
        for (size_t i = 0; i < before.size(); ++i) before.data()[i] = uint8_t(random());
        buffer expected = before;
        for (uint64_t i = 0; i < count; ++i) {
          uint64_t v = 0;
          memcpy(&v, before.data() + 1 + i * size, size);
          v = model(member.name.substr(8), v, &w0);
          memcpy(expected.data() + 1 + i * size, &v, size);
        }
        for (const auto &v : member.versions) {
          buffer result = before;
          v.function(result.data() + 1, count, 77, 77, &w0);
          ASSERT_TRUE(result == expected)
              << member.name << " " << v.level << ": operand " << w0 << " count " << count;
        }
      }
  }
}

TEST(Npfpix, KnownValues) {
  const uint32_t all = 255, hundred = 100;
  uint8_t v[] = {0, 255};
  npfpix1_neg(v, 2, 0, 0, &all);
  EXPECT_TRUE(v[0] == 255 && v[1] == 0);
  v[0] = 150;
  npfpix1_neg(v, 1, 0, 0, &hundred);
  EXPECT_EQ(v[0], 206);
}

TEST(Npfpix, DoNothingKernelsDoNothing) {
  npftwo14_stub(nullptr, nullptr, 100);
  npftwo24_stub(nullptr, nullptr, 100);
}

}  // namespace
