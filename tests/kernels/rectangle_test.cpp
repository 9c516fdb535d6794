// Rectangles copied from one order to another, in every order that the two sides may have.
#include "kernels/rectangle.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/views/values.hpp"

namespace {

using namespace model;

// Room for a rectangle, its lines along either axis of memory, in either direction, with gaps.
struct place {
  place(generator &g, uint32_t count, uint32_t lines, uint32_t bytes) {
    const bool turned = chance(g, 50);
    const int64_t width = turned ? lines : count, height = turned ? count : lines;
    int64_t x = bytes, y = width * bytes + between(g, 0, 9);
    memory.resize(size_t(y * height));
    for (uint8_t &b : memory) b = uint8_t(g());
    if (chance(g, 50)) first += (width - 1) * x, x = -x;
    if (chance(g, 50)) first += (height - 1) * y, y = -y;
    along = turned ? y : x;
    across = turned ? x : y;
  }
  uint8_t *at(int64_t x, int64_t y) { return memory.data() + first + x * along + y * across; }
  std::vector<uint8_t> memory;
  int64_t first = 0, along, across;
};

TEST(Rectangle, IsCopiedPixelByPixel) {
  for (uint64_t seed = 1; seed <= 3000; seed++) {
    generator g(seed);
    const uint32_t bytes = uint32_t(between(g, 1, 8)), count = uint32_t(between(g, 1, 150)),
                   lines = uint32_t(between(g, 1, chance(g, 5) ? 1200 : 80));
    place from(g, count, lines, bytes), to(g, count, lines, bytes);
    place expected = to;
    for (uint32_t y = 0; y < lines; y++)
      for (uint32_t x = 0; x < count; x++) std::memcpy(expected.at(x, y), from.at(x, y), bytes);
    qvim::copy_rectangle({from.at(0, 0), from.along, from.across}, {to.at(0, 0), to.along, to.across}, count,
                         lines, bytes);
    ASSERT_EQ(to.memory, expected.memory)
        << count << " x " << lines << " of " << bytes << " bytes, seed " << seed;
  }
}

}  // namespace
