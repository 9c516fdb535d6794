// Linear combinations of components where they have their edges: the ends of runs, and coefficients, limits
// and pixels that take sums to the ends of what 16 and 32 bits hold.
#include <gtest/gtest.h>

#include <qvimage/npfclx.h>

#include "tests/kernels/colour/npfclx_model.hpp"
#include "tests/kernels/kernel_levels.hpp"

namespace {

using namespace qvim::test;

std::vector<member> members() {
  std::vector<member> members;
#define QVIM_CLX_MATRIX(name, ...) add_member(members, QVIM_LEVELS_OF(name));
#include <qvimage/members/npfclx.inc>
  return members;
}

void check(const member &member, const conversion &c, const colour_arguments &values, const buffer &pixels,
           uint64_t count, bool in_place = false) {
  const run r{{int64_t(c.inputs * c.width), int64_t(c.outputs * c.width)},
              count,
              c.inputs * c.width,
              c.outputs * c.width,
              0,
              0,
              in_place};
  const void *coefficients = values.integer_matrix;
  if (c.width > 2 || c.real) coefficients = values.real_matrix;
  ASSERT_TRUE(does(member, r, pixels,
                   [&](const uint8_t *in, uint8_t *out) { model_pixel(c, in, out, values); },
                   {nullptr, nullptr, r.stride, count, values.maxvalue, 0, coefficients}))
      << "maxvalue " << values.maxvalue;
}

// Buffers begin or end at pages that cannot be touched.
TEST(Npfclx_matrix, RunsOfEveryLengthStayInTheirMemory) {
  std::mt19937 random(3);
  for (const auto &member : members()) {
    const conversion c(member.name);
    colour_arguments values;
    values.maxvalue = c.width == 1 ? 255 : 65535;
    std::copy_n(c.has("34sl12") ? clx_ycrcb_to_rgb16[0] : clx_ycrcb_to_rgb8[0], 12, values.integer_matrix);
    for (int i = 0; i < 12; ++i) values.real_matrix[i] = (i - 4) * 0.125;
    for (bool in_place : {false, true})
      for (uint64_t count = 0; count <= 200 && (!in_place || c.inputs == c.outputs); ++count) {
        buffer pixels(count * c.inputs * c.width);
        for (size_t i = 0; i < pixels.size(); ++i)
          pixels.data()[i] = uint8_t(c.real && i % 4 == 3 ? 0x3E : random());
        ASSERT_NO_FATAL_FAILURE(check(member, c, values, pixels, count, in_place));
      }
  }
}

// Coefficients, among them the first ones that 16 bits do not hold, signed and unsigned.
constexpr int32_t edges[] = {0,      1,      -1,    256,   4096,   -4096,     32767,    32768,
                             -32768, -32769, 65535, 65536, -65536, INT32_MAX, INT32_MIN};
// Full scales: of fewer bits than components have, of all, of more, and of none.
constexpr uint32_t full_scales[] = {0, 1, 127, 255, 4095, 32767, 65535, 0xFFFFF, 0x7FFFFFFF, 0xFFFFFFFF};

// Pixels whose components are at the ends of their range, or a full scale, or anything.
buffer edge_pixels(const conversion &c, size_t count, uint32_t maxvalue, std::mt19937 &random) {
  buffer pixels(count * c.inputs * c.width);
  for (size_t at = 0; at < pixels.size(); at += c.width) {
    const uint32_t list[] = {0, 1, maxvalue, maxvalue - 1, ~0u, uint32_t(random())};
    memcpy(pixels.data() + at, &list[random() % std::size(list)], c.width);
  }
  return pixels;
}

TEST(Npfclx_matrix, CoefficientsAndLimitsAtTheirEdgesGiveTheModelsPixels) {
  std::mt19937 random(4);
  for (const auto &member : members()) {
    const conversion c(member.name);
    if (c.real || c.width > 2) continue;
    for (uint32_t maxvalue : full_scales)
      for (int turn = 0; turn < 40; ++turn) {
        colour_arguments values;
        values.maxvalue = maxvalue;
        // Small ones with one edge among them, or nothing but edges.
        for (int32_t &m : values.integer_matrix)
          m = turn < 30 ? int32_t(random()) >> (16 + random() % 12) : edges[random() % std::size(edges)];
        if (turn < 30) values.integer_matrix[random() % 12] = edges[size_t(turn) % std::size(edges)];
        ASSERT_NO_FATAL_FAILURE(check(member, c, values, edge_pixels(c, 83, maxvalue, random), 83));
      }
  }
}

}  // namespace
