// Colour kernels: every member in every version against one pixel after another.
#include <gtest/gtest.h>

#include <qvimage/npfclx.h>

#include "tests/convert/kernel_levels.hpp"

#define QVIM_MEMBER(name, form) QVIM_DECLARE_LEVELS(name, form)
#include <qvimage/members/npfclx.inc>

namespace {

using namespace qvim::test;

std::vector<member<npfclx_fn>> members() {
  std::vector<member<npfclx_fn>> members;
#define QVIM_MEMBER(name, form) add_member(members, #name, {QVIM_LEVELS_OF(name)});
#include <qvimage/members/npfclx.inc>
  return members;
}

size_t component_size(const std::string &name) {
  const char width = name[6];
  return width == 'f' ? 4 : width == 'd' ? 8 : size_t(width - '0');
}

bool ends_with(const std::string &name, const char *end) { return name.find(end) != std::string::npos; }

TEST(Npfclx, ExchangesMoveWholeComponents) {
  std::mt19937 random(7);
  for (const auto &member : members()) {
    const bool bgr = ends_with(member.name, "_RGBxtoBGRx_2n"),
               ycbcr = ends_with(member.name, "_YCrCbtoYCbCr");
    if (!bgr && !ycbcr) continue;
    const size_t size = component_size(member.name),
                 from_component[] = {bgr ? 2u : 0u, bgr ? 1u : 2u, bgr ? 0u : 1u};
    for (size_t srcstride : {3 * size, 4 * size, 3 * size + 1})
      for (size_t dststride : {3 * size, 4 * size, 3 * size + 5})
        for (bool in_place : {false, true})
          for (uint64_t count = 0; count <= 67; ++count) {
            if (in_place && srcstride != dststride) continue;
            const layout from{int64_t(srcstride), count, 3 * size, count % 3},
                to{int64_t(dststride), count, 3 * size, count % 3};
            buffer source(from.bytes());
            for (size_t i = 0; i < source.size(); ++i) source.data()[i] = uint8_t(random());
            buffer expected = in_place ? source : buffer(to.bytes());
            for (uint64_t i = 0; i < count && !(ycbcr && in_place); ++i)
              for (size_t c = 0; c < 3; ++c)
                memcpy(expected.data() + to.at(i) + c * size,
                       source.data() + from.at(i) + from_component[c] * size, size);
            for (const auto &v : member.versions) {
              buffer result = in_place ? source : buffer(to.bytes());
              v.function((in_place ? result : source).data() + from.offset, result.data() + to.offset,
                         srcstride, dststride, count, 0, nullptr);
              ASSERT_TRUE(result == expected)
                  << member.name << " " << v.level << ": count " << count << " strides " << srcstride << ", "
                  << dststride << (in_place ? " in place" : "");
            }
          }
  }
}

TEST(Npfclx, PaletteRowsReplaceIndices) {
  std::mt19937 random(8);
  for (const auto &member : members()) {
    if (!ends_with(member.name, "_BGRLut3toBGRx")) continue;
    const size_t size = component_size(member.name), entries = size == 1 ? 256 : 1000;
    buffer table(entries * 3 * size);
    for (size_t i = 0; i < table.size(); ++i) table.data()[i] = uint8_t(random());
    for (size_t srcstride : {size, 2 * size, size + 1})
      for (size_t dststride : {3 * size, 4 * size, 3 * size + 1})
        for (uint64_t count = 0; count <= 67; ++count) {
          const layout from{int64_t(srcstride), count, size, 0}, to{int64_t(dststride), count, 3 * size, 0};
          buffer source(from.bytes()), expected(to.bytes());
          for (uint64_t i = 0; i < count; ++i) {
            const uint64_t index = random() % entries;
            memcpy(source.data() + from.at(i), &index, size);
            memcpy(expected.data() + to.at(i), table.data() + index * 3 * size, 3 * size);
          }
          for (const auto &v : member.versions) {
            buffer result(to.bytes());
            v.function(source.data(), result.data(), srcstride, dststride, count, 0, table.data());
            ASSERT_TRUE(result == expected) << member.name << " " << v.level << ": count " << count
                                            << " strides " << srcstride << ", " << dststride;
          }
        }
  }
}

}  // namespace
