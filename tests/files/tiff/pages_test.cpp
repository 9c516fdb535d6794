// Pages of TIFF files as images, stacks and information records.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/tiff/frame.hpp"
#include "tests/files/tiff/opened.hpp"

namespace {

using namespace tiff_test;

TEST(TiffPages, PagesOfAStackMayDifferInSizeOnly) {
  page_spec last, larger, smaller, deeper, coloured;
  larger.width = 9;
  larger.height = 8;
  smaller.width = 4;
  smaller.height = 3;
  deeper.bits = 16;
  coloured.samples = 3;
  builder b;
  b.page(larger).page(smaller).page(deeper).page(coloured).page(last);
  opened_stack o(b.file());
  ASSERT_EQ(o.code, 0);
  const auto plane = [&](int32_t z) {
    qvyzwindow w{{0, 0, z}, {7, 5, z + 1}};
    o.image.xwind(&o.image, &w, 's');
    return read_run(o.image, QVIM_WRAP, 0, 0, 35, 0, 0, 0);
  };
  std::vector<uint64_t> cropped, clipped;
  for (uint32_t y = 0; y < 5; y++)
    for (uint32_t x = 0; x < 7; x++) {
      cropped.push_back(larger.sample(x, y, 0));
      clipped.push_back(x < 4 && y < 3 ? smaller.sample(x, y, 0) : 0);
    }
  EXPECT_EQ(plane(0), cropped);
  EXPECT_EQ(plane(1), clipped);
  EXPECT_EQ(plane(4), samples_of(last));
  EXPECT_EQ(o.error(), 0);
  for (const int32_t z : {2, 3}) {
    EXPECT_TRUE(plane(z).empty());
    EXPECT_EQ(o.error(), -10);
    EXPECT_EQ(o.error(true), -10);
    EXPECT_EQ(o.error(), 0);
  }
  EXPECT_EQ(plane(4), samples_of(last));
}

TEST(TiffPages, ChainsThatLoopEndAndMayRunBackwards) {
  page_spec p;
  builder loop;
  loop.page(p).page(p).page(p);
  loop.link_to(loop.directories[1]);
  opened_stack o(loop.file());
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.image.imdim.se.z, 3);
  qvimagefileinfo info;
  EXPECT_EQ(qvimage_tiffreadinfo(o.handle, &info, 1), 0);
  EXPECT_EQ(info.pagecount, 3u);
  EXPECT_EQ(info.page, 1u);
  qvimage_tiffinfodone(&info);
  EXPECT_EQ(qvimage_tiffreadinfo(o.handle, &info, 3), -10);
  EXPECT_STREQ(info.type, "") << "cleared";
  EXPECT_EQ(opened_page(loop.file(), 3).code, -10);

  // The first page's directory stands behind that of the second one.
  page_spec second{.seed = 2};
  builder backwards;
  backwards.page(second).page(p);
  const uint64_t first_directory = backwards.directories[1];
  backwards.link_to(backwards.directories[0]).first_link_to(first_directory).link_from(0, 0);
  opened_stack both(backwards.file());
  ASSERT_EQ(both.code, 0);
  ASSERT_EQ(both.image.imdim.se.z, 2);
  EXPECT_EQ(read_run(both.image, 0, 0, 0, 1, 3, 3, 0), std::vector<uint64_t>{p.sample(3, 3, 0)});
  EXPECT_EQ(read_run(both.image, 0, 0, 0, 1, 3, 3, 1), std::vector<uint64_t>{second.sample(3, 3, 0)});
}

TEST(TiffPages, AStackNeedsItsWholeChain) {
  const page_spec p;
  builder b;
  b.page(p).page(p);
  for (const uint64_t link : {uint64_t{100000}, uint64_t{0xFFFFFFFF}, uint64_t(b.file().size()) - 1}) {
    b.link_to(link);
    EXPECT_EQ(opened_stack(b.file()).code, -10);
    EXPECT_EQ(opened_page(b.file(), 2).code, -10);
    opened_page last(b.file(), 1);
    EXPECT_EQ(last.code, 0);
    qvimagefileinfo info;
    EXPECT_EQ(qvimage_tiffreadinfo(last.handle, &info, 1), 0);
    EXPECT_EQ(info.pagecount, 2u);
    EXPECT_EQ(read_all(last.image), samples_of(p));
  }
}

TEST(TiffInfo, SaysWhatTheDirectorySays) {
  for (const bool bigtiff : {false, true}) {
    const page_spec p = described_page();
    opened_page o(builder(true, bigtiff).page(p, lzw).page(p, lzw).file(), 1);
    ASSERT_EQ(o.code, 0);
    EXPECT_FLOAT_EQ(o.image.h.pixelwidth, 2.0f / 300);
    EXPECT_FLOAT_EQ(o.image.h.pixelheight, 0.01f);
    EXPECT_EQ(o.image.h.widthunits, QVIM_UNIT_CENTIMETER);
    qvimagefileinfo i;
    ASSERT_EQ(qvimage_tiffreadinfo(o.handle, &i, 1), 0);
    EXPECT_EQ(i.width, 7u);
    EXPECT_EQ(i.wind.se.y, 5);
    EXPECT_EQ(i.pagecount, 2u);
    EXPECT_EQ(i.pagecount2, 2u);
    EXPECT_EQ(i.page, 1u);
    EXPECT_EQ(std::memcmp(&i.data, &o.image.d, sizeof i.data), 0);
    EXPECT_EQ(std::memcmp(&i.hints, &o.image.h, sizeof i.hints), 0);
    EXPECT_STREQ(i.type, bigtiff ? "btf" : "tif");
    EXPECT_EQ(i.version, bigtiff ? 43u : 42u);
    EXPECT_EQ(i.xres[0], 300u);
    EXPECT_EQ(i.xres[1], 2u);
    EXPECT_EQ(i.yres[0], 100u);
    EXPECT_EQ(i.resunit, 3u);
    EXPECT_EQ(i.compression, 517u);
    EXPECT_EQ(i.bits[2], 16u);
    EXPECT_EQ(i.bits[3], 0u);
    EXPECT_EQ(i.sampleformat[0], 1u);
    EXPECT_EQ(i.palette, 0u);
    EXPECT_GT(i.stripsize, 60u);
    EXPECT_LT(i.stripsize, 200u);
    EXPECT_STREQ(i.description, "a leaf");
    EXPECT_STREQ(i.software, "builder");
    EXPECT_STREQ(i.datetime, "2020:01:02 03:04:05");
    EXPECT_STREQ(i.copyright, "nobody");
    qvimage_tiffinfodone(&i);
    EXPECT_EQ(i.description, nullptr);
  }
  page_spec one{.rows_per_strip = 9};
  temporary_folder folder;
  put_file(folder / "t", builder().page(one).file());
  qvimagefileinfo i;
  ASSERT_EQ(qvimage_tiffinfo(&i, (folder / "t").c_str(), nullptr, 0, 0), 0);
  EXPECT_EQ(i.stripsize, ~uint64_t{0});
  EXPECT_EQ(i.resunit, 0u);
  EXPECT_EQ(i.description, nullptr);
  std::memcpy(i.type, "bmp", 4);
  char kept[] = "not ours";
  i.description = kept;
  qvimage_tiffinfodone(&i);  // the record of another format
  EXPECT_EQ(i.description, kept);
}

TEST(TiffInfo, PagesThatAreRefusedAreDescribedAndHideNoOthers) {
  const struct {
    const char *what;
    int32_t code, type;
    uint32_t samples;
    page_spec page;
  } cases[] = {
      {"JPEG", -11, QVIM_UINT8, 1, {.compression = 7}},
      {"tiles", -10, QVIM_UINT16, 1, {.bits = 12, .tags = {{322, {3, {16}}}}, .without = {273, 279}}},
      {"planes", -10, QVIM_UINT8, 3, {.samples = 3, .tags = {{284, {3, {2}}}}}},
      {"signed", -11, 0, 1, {.bits = 16, .tags = {{339, {3, {2}}}}}},
      {"samples", -11, QVIM_UINT8, 6, {.samples = 6}},
      {"half floats", -11, 0, 1, {.bits = 16, .is_float = true}},
  };
  for (const auto &c : cases) {
    temporary_folder folder;
    const std::string path = folder / "t";
    put_file(path, builder().page(c.page).page({}).file());
    qvimagefileinfo info;
    EXPECT_EQ(qvimage_tiffinfo(&info, path.c_str(), nullptr, 0, 0), c.code) << c.what;
    EXPECT_EQ(std::string(qvimage_reason()).find("page 1"), 0u) << c.what;
    EXPECT_EQ(info.wind.se.x, 7);
    EXPECT_EQ(info.height, 5u);
    EXPECT_EQ(info.pagecount, 2u);
    EXPECT_EQ(info.compression, c.page.compression);
    EXPECT_EQ(info.bits[0], c.page.bits);
    EXPECT_EQ(info.data.pixies, int32_t(c.samples)) << c.what;
    EXPECT_EQ(info.data.pixietype, c.type) << c.what;
    EXPECT_EQ(qvimage_tiffinfo(&info, path.c_str(), nullptr, 0, 1), 0);
    EXPECT_EQ(info.page, 1u);
    EXPECT_EQ(qvimage_tiffinfo(&info, path.c_str(), nullptr, 0, 2), -10);
    EXPECT_STREQ(qvimage_reason(), "there is no page 3; the file has 2");
    EXPECT_EQ(info.pagecount, 0u);
  }
}

TEST(TiffInfo, ManyPagesAtOnce) {
  builder b;
  for (uint32_t i = 0; i < 40; i++) {
    page_spec p = described_page();
    p.width = i + 1;
    b.page(p, lzw);
  }
  temporary_folder folder;
  const std::string path = folder / "t";
  put_file(path, b.file());
  const int64_t before = live_allocations();
  qvimagefileinfo infos[50];
  EXPECT_EQ(qvimage_tiffinfoN(infos, 50, path.c_str(), nullptr, 0, 0), 40);
  EXPECT_EQ(infos[39].width, 40u);
  for (int i = 0; i < 40; i++) qvimage_tiffinfodone(&infos[i]);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 5, path.c_str(), nullptr, 4096, 10), 5);
  for (int i = 0; i < 5; i++) {
    EXPECT_EQ(infos[i].page, uint32_t(10 + i));
    EXPECT_EQ(infos[i].width, uint32_t(11 + i));
    EXPECT_EQ(infos[i].pagecount, 40u);
    EXPECT_STREQ(infos[i].description, "a leaf");
    qvimage_tiffinfodone(&infos[i]);
  }
  EXPECT_EQ(qvimage_tiffinfoN(infos, 5, path.c_str(), nullptr, 0, 40), 0);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 0, path.c_str(), nullptr, 0, 0), 0);
  EXPECT_EQ(qvimage_tiffinfoN(nullptr, 5, path.c_str(), nullptr, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 5, nullptr, nullptr, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 5, path.c_str(), nullptr, 0, -1), -1);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 5, (folder / "none").c_str(), nullptr, 0, 0), -13);
  EXPECT_EQ(qvimage_tiffinfoN(infos, -1, path.c_str(), nullptr, 0, 0), -1);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 5, path.c_str(), nullptr, -1, 0), -1);
  page_spec unserved{.compression = 7};
  put_file(path, b.page(unserved).page(described_page(), lzw).file());
  EXPECT_EQ(qvimage_tiffinfoN(infos, 50, path.c_str(), nullptr, 0, 0), -11);
  EXPECT_EQ(qvimage_tiffinfoN(infos, 1, path.c_str(), nullptr, 0, 41), 1) << "pages passed over may be bad";
  qvimage_tiffinfodone(&infos[0]);
  EXPECT_EQ(live_allocations(), before);
}

}  // namespace
