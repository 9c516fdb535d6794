// Images whose values pass through tables, and tables with another number of entries.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include <qvimage/qvimage.h>

namespace {

struct LookupTableFixed : testing::Test {
  void SetUp() override {
    for (int i = 0; i < 256; i++) table[i] = uint8_t(255 - i);
    ASSERT_EQ(qvimage_memory(&source, bytes, dims, 0, QVIM_UINT8, 6, 1, QVIM_HINT_GREY, 0), 0);
  }
  qvimage source, view;
  int32_t dims[2] = {4, 1};
  uint8_t bytes[16] = {0xC5, 5, 0xFF, 0}, table[256];
};

TEST_F(LookupTableFixed, IndexesByTheBitsUsedOrByTheWholePixie) {
  for (const uint32_t flags : {0u, 2u}) {
    ASSERT_EQ(qvimage_lut2a(&view, &source, 0, table, nullptr, nullptr, nullptr, table, nullptr, nullptr,
                            nullptr, 0, 0, 0, flags),
              0);
    ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), 1);
    uint8_t out[4];
    ASSERT_EQ(view.ioread(&view, 0, out, 4, 0, 0), 4u);
    for (int i = 0; i < 4; i++) EXPECT_EQ(out[i], table[flags ? bytes[i] : bytes[i] & 63]);
  }
}

TEST_F(LookupTableFixed, DescribesAndAnswers) {
  const void *const all[4] = {table, table, table, table};
  ASSERT_EQ(qvimage_lut2(&view, &source, 0, all, all, 3, QVIM_HINT_RGB, 0, 0), 0);
  EXPECT_EQ(view.d.pixelhint, QVIM_HINT_RGB);
  EXPECT_EQ(view.f.pixelsize, 3);
}

TEST_F(LookupTableFixed, RefusesWithTheCodeOfItsReason) {
  const void *const all[4] = {table, table, table, table}, *const two[4] = {table, table};
  const struct {
    const void *const *read, *const *write;
    int32_t pixies, hint, source_type, source_pixies, code;
  } refused[] = {{nullptr, all, 0, 0, QVIM_UINT8, 1, -1}, {all, nullptr, 0, 0, QVIM_UINT8, 1, -1},
                 {all, all, 0, 0, QVIM_UINT8, 5, -1},     {two, all, 0, 0, QVIM_UINT8, 3, -1},
                 {all, two, 0, 0, QVIM_UINT8, 4, -1},     {all, two, 3, QVIM_HINT_RGB, QVIM_UINT8, 1, -1},
                 {all, all, 5, 0, QVIM_UINT8, 1, -1},     {all, all, -1, 0, QVIM_UINT8, 1, -1},
                 {all, all, 3, 5, QVIM_UINT8, 1, -1},     {all, all, 3, QVIM_HINT_RGB, QVIM_UINT8, 2, -1},
                 {all, all, 0, 0, QVIM_FLOAT32, 1, -19},  {all, all, 0, 0, QVIM_UINT64, 1, -19}};
  alignas(8) uint8_t some[64] = {};
  const int32_t one[2] = {1, 1};
  for (const auto &c : refused) {
    ASSERT_EQ(qvimage_memory(&source, some, one, 0, c.source_type, 0, c.source_pixies, 0, 0), 0);
    EXPECT_EQ(qvimage_lut2(&view, &source, 0, c.read, c.write, c.pixies, c.hint, 0, 0), c.code);
    EXPECT_STREQ(view.devname, "NULL2");
  }
  ASSERT_EQ(qvimage_memory(&source, some, one, 0, QVIM_UINT8, 0, 4, 0, 0), 0);
  ASSERT_EQ(qvimage_lut2(&view, &source, 0, all, all, 0, 0, 0, 0), 0);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, 15), -19);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 3), -21);
}

TEST(TableResampling, RepeatsDecimatesOrCutsOff) {
  uint16_t table[256];
  for (int i = 0; i < 256; i++) table[i] = uint16_t(1000 + i);
  const int32_t dims[2] = {256, 1};
  qvimage source, view;
  ASSERT_EQ(qvimage_memory(&source, table, dims, 0, QVIM_UINT16, 0, 1, QVIM_HINT_GREY, 0), 0);
  const struct {
    uint32_t entries, decimate;
    int (*in_source)(int);
  } cases[] = {{1024, 0, [](int x) { return x / 4; }}, {1024, 1, [](int x) { return x / 4; }},
               {64, 1, [](int x) { return 4 * x; }},   {64, 0, [](int x) { return x; }},
               {256, 1, [](int x) { return x; }},      {1, 1, [](int) { return 0; }}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.entries);
    const int n = int(c.entries);
    ASSERT_EQ(qvimage_lutconvert(&view, &source, c.entries, c.decimate), 0);
    EXPECT_EQ(view.imdim.se.x, n);
    EXPECT_EQ(view.imdim.se.y, 1);
    ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT16, 1), 1);
    std::vector<uint16_t> out(c.entries);
    ASSERT_EQ(view.ioread(&view, 0, out.data(), 5000, 0, 0), c.entries);
    for (int x = 0; x < n; x++) ASSERT_EQ(out[size_t(x)], table[c.in_source(x)]) << x;
  }
}

TEST(TableResampling, RefusesWithTheCodeOfItsReason) {
  uint8_t table[512] = {};
  qvimage source, view;
  const struct {
    int32_t width, height;
    uint32_t entries;
  } refused[] = {{256, 2, 64}, {100, 1, 64}, {256, 1, 0}, {256, 1, 3}, {256, 1, 0x80000000u}};
  for (const auto &c : refused) {
    const int32_t dims[2] = {c.width, c.height};
    ASSERT_EQ(qvimage_memory(&source, table, dims, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0), 0);
    EXPECT_EQ(qvimage_lutconvert(&view, &source, c.entries, 0), -1);
    EXPECT_STREQ(view.devname, "NULL2");
  }
  EXPECT_EQ(qvimage_lutconvert(nullptr, &source, 64, 0), -1);
  EXPECT_EQ(qvimage_lutconvert(&view, nullptr, 64, 0), -1);
  const int32_t dims[2] = {256, 1};
  ASSERT_EQ(qvimage_memory(&source, table, dims, 0, QVIM_UINT8, 0, 1, QVIM_HINT_GREY, 0), 0);
  ASSERT_EQ(qvimage_lutconvert(&view, &source, 64, 0), 0);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, 1), -19);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 2), -21);
  EXPECT_EQ(view.ioset(&view, QVIM_ZSCAN, QVIM_UINT8, 1), -11);
  EXPECT_EQ(view.aeiou(&view, 'b', 0, 0, nullptr), (source.aeiou(&source, 'b', 0, 0, nullptr) + 2) | 0x10000);
  EXPECT_EQ(view.aeiou(&view, 'I', 0, 0, nullptr), 0xFFFFFFFFu);
  view.source[0] = -65;
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), -5);
}

}  // namespace
