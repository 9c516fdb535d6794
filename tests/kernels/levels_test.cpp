// The choice of a processor level.
#include "kernels/levels.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using namespace qvim;

TEST(Levels, TheEnvironmentLimitsTheLevelOfTheExportedKernels) {
  EXPECT_EQ(chosen_level(), level_in_use());  // as this program was started
  const char *started_with = std::getenv("QVIMAGE_LEVEL");
  const std::string before = started_with ? started_with : "";
  for (int i = 0; i < level_count; ++i) {
    setenv("QVIMAGE_LEVEL", level_names[i], 1);
    EXPECT_EQ(level_in_use(), std::min(i, highest_level()));
  }
  for (const char *unknown : {"", "AVX2", "avx", "avx2 "}) {
    setenv("QVIMAGE_LEVEL", unknown, 1);
    EXPECT_EQ(level_in_use(), highest_level()) << unknown;
  }
  setenv("QVIMAGE_LEVEL", before.c_str(), 1);
}

}  // namespace
