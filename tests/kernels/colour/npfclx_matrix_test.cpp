// Linear combinations of components where they have their edges: the ends of runs, and coefficients, limits
// and pixels that take sums to the ends of what 16 and 32 bits hold.
#include <gtest/gtest.h>

#include <qvimage/npfclx.h>

#include "tests/kernels/colour/npfclx_model.hpp"
#include "tests/kernels/kernel_levels.hpp"

namespace {

using namespace qvim::test;

std::vector<member<npfclx_fn>> members() {
  std::vector<member<npfclx_fn>> members;
#define QVIM_CLX_MATRIX(name, ...) add_member(members, QVIM_LEVELS_OF(name));
#include <qvimage/members/npfclx.inc>
  return members;
}

const void *coefficients(const conversion &c, const colour_arguments &values) {
  if (c.width > 2 || c.real) return values.real_matrix;
  return values.integer_matrix;
}

void check_run(const member<npfclx_fn> &member, const conversion &c, uint64_t count, bool in_place,
               std::mt19937 &random) {
  const size_t in = c.inputs * c.width, out = c.outputs * c.width;
  colour_arguments values;
  values.maxvalue = c.width == 1 ? 255 : 65535;
  std::copy_n(c.has("34sl12") ? clx_ycrcb_to_rgb16[0] : clx_ycrcb_to_rgb8[0], 12, values.integer_matrix);
  for (int i = 0; i < 12; ++i) values.real_matrix[i] = (i - 4) * 0.125;
  buffer pixels(count * in);
  for (size_t i = 0; i < pixels.size(); ++i)
    pixels.data()[i] = uint8_t(c.real && i % 4 == 3 ? 0x3E : random());
  buffer expected(count * out);
  for (uint64_t i = 0; i < count; ++i)
    model_pixel(c, pixels.data() + i * in, expected.data() + i * out, values);
  for (const auto &v : member.versions) {
    buffer source = pixels, elsewhere(count * out), &result = in_place ? source : elsewhere;
    v.function(source.data(), result.data(), in, out, count, values.maxvalue, coefficients(c, values));
    ASSERT_TRUE(result == expected) << member.name << " " << v.level << ": count " << count
                                    << (in_place ? " in place" : "");
    ASSERT_TRUE(in_place || source == pixels) << member.name << " " << v.level << ": count " << count;
  }
}

// Buffers begin or end at pages that cannot be touched.
TEST(Npfclx_matrix, RunsOfEveryLengthStayInTheirMemory) {
  std::mt19937 random(3);
  for (const auto &member : members()) {
    const conversion c(member.name);
    for (bool in_place : {false, true})
      for (uint64_t count = 0; count <= 200 && (!in_place || c.inputs == c.outputs); ++count)
        ASSERT_NO_FATAL_FAILURE(check_run(member, c, count, in_place, random));
  }
}

// Coefficients, among them the first ones that 16 bits do not hold, signed and unsigned.
constexpr int32_t edges[] = {0,      1,      -1,    256,   4096,   -4096,     32767,    32768,
                             -32768, -32769, 65535, 65536, -65536, INT32_MAX, INT32_MIN};
// Full scales: of fewer bits than components have, of all, of more, and of none.
constexpr uint32_t full_scales[] = {0, 1, 127, 255, 4095, 32767, 65535, 0xFFFFF, 0x7FFFFFFF, 0xFFFFFFFF};

// Pixels whose components are at the ends of their range, or a full scale, or anything.
template <class T>
std::vector<T> edge_pixels(size_t components, uint32_t maxvalue, std::mt19937 &random) {
  std::vector<T> pixels(components);
  for (T &p : pixels) {
    const T list[] = {0, 1, T(maxvalue), T(maxvalue - 1), T(-1), T(random())};
    p = list[random() % std::size(list)];
  }
  return pixels;
}

template <class T>
void check_edges(const member<npfclx_fn> &member, const conversion &c, const colour_arguments &values,
                 std::mt19937 &random) {
  constexpr size_t count = 83;
  const std::vector<T> source = edge_pixels<T>(count * c.inputs, values.maxvalue, random);
  std::vector<T> expected(count * c.outputs);
  for (size_t i = 0; i < count; ++i)
    model_pixel(c, reinterpret_cast<const uint8_t *>(&source[i * c.inputs]),
                reinterpret_cast<uint8_t *>(&expected[i * c.outputs]), values);
  for (const auto &v : member.versions) {
    std::vector<T> result(expected.size());
    v.function(source.data(), result.data(), c.inputs * sizeof(T), c.outputs * sizeof(T), count,
               values.maxvalue, values.integer_matrix);
    ASSERT_EQ(result, expected) << member.name << " " << v.level << " maxvalue " << values.maxvalue;
  }
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
        ASSERT_NO_FATAL_FAILURE(c.width == 1 ? check_edges<uint8_t>(member, c, values, random)
                                             : check_edges<uint16_t>(member, c, values, random));
      }
  }
}

}  // namespace
