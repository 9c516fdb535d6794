// TIFF files that are broken, hostile or not served, and files that fail while they are read.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <random>

#include <qvimage/error.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/tiff/opened.hpp"

namespace {

using namespace tiff_test;

TEST(TiffRefused, BrokenAndUnservedDirectories) {
  const std::vector<uint64_t> map(768);
  const auto refuses = [](const char *said, int32_t code, const page_spec &page) {
    for (const bool big_endian : {false, true}) {
      opened_page o(builder(big_endian).page(page).file());
      const std::string reason = qvimage_reason();
      EXPECT_EQ(o.code, code) << said << ": " << reason;
      EXPECT_TRUE(reason.starts_with("page 1") && reason.find(said) != reason.npos) << said << ": " << reason;
      EXPECT_EQ(std::memcmp(o.image.devname, "NULL2", 6), 0) << said;
      EXPECT_EQ(o.handle, nullptr);
    }
  };
  refuses("tag 256 (ImageWidth) is missing", -10, {.without = {256}});
  refuses("", -10, {.without = {257}});  // no height
  refuses("tag 273 (StripOffsets) is missing", -10, {.without = {273, 279}});
  refuses("page 1: its pixels lie in tiles", -10, {.tags = {{322, {3, {16}}}}, .without = {273, 279}});
  refuses("tag 277 (SamplesPerPixel) is 0", -10, {.tags = {{277, {3, {0}}}}});
  refuses("sample 1 has no bits", -10, {.tags = {{258, {3, {0}}}}});
  refuses("tag 65000: has the type 19", -10, {.tags = {{65000, {19, {0}}}}});
  refuses("", -10, {.tags = {{65000, {0, {0}}}}});   // type 0
  refuses("", -10, {.tags = {{65000, {15, {0}}}}});  // type 15
  refuses("tag 65000: its 100000 values of 4 bytes at byte ", -10, {.tags = {{65000, {4, {0}, 100000}}}});
  refuses("tag 259 (Compression): has 2 values of type 3, expected one unsigned integer", -10,
          {.tags = {{259, {3, {1, 1}}}}});
  refuses("", -10, {.tags = {{259, {8, {1}}}}});   // scalar of a signed type
  refuses("", -10, {.tags = {{256, {11, {7}}}}});  // width of a float
  refuses("tag 256 (ImageWidth): is 2147483648, more than 2147483647", -11,
          {.tags = {{256, {4, {0x80000000}}}}});
  refuses("", -11, {.tags = {{257, {16, {uint64_t{1} << 32}}}}});  // height beyond 32 bits
  refuses("", -10, {.tags = {{278, {16, {uint64_t{1} << 32}}}}});  // rows per strip beyond 32 bits
  refuses("", -10, {.tags = {{259, {4, {0x10001}}}}});             // compression beyond 16 bits
  refuses("", -10, {.tags = {{262, {4, {0x10001}}}}});             // photometric beyond 16 bits
  refuses("", -10, {.tags = {{277, {4, {0x10001}}}}});             // samples beyond 16 bits
  refuses("", -10, {.tags = {{284, {4, {0x10001}}}}});             // planes beyond 16 bits
  refuses("", -10, {.tags = {{296, {4, {0x10002}}}}});             // unit beyond 16 bits
  refuses("", -10, {.tags = {{317, {16, {0x10001}}}}});            // predictor beyond 16 bits
  refuses("", -10, {.tags = {{278, {3, {0}}}}});                   // no rows per strip
  refuses("", -10, {.tags = {{282, {4, {72}}}}});                  // resolution of another type
  refuses("tag 283 (YResolution): has 2 values", -10, {.tags = {{283, {5, {72, 72}}}}});
  refuses("tag 270 (ImageDescription): has 2 values of type 1, expected text", -10,
          {.tags = {{270, {1, {'a', 0}}}}});
  refuses("tag 258 (BitsPerSample) has 2 values, expected 1", -10, {.tags = {{258, {3, {8, 8}}}}});
  refuses("tag 258 (BitsPerSample): is 65536, more than 65535", -10, {.tags = {{258, {4, {65536}}}}});
  refuses("", -10, {.tags = {{339, {3, {1, 1}}}}});  // formats for two samples of one
  refuses("tag 279 (StripByteCounts) has 4 values, expected 3", -10, {.tags = {{279, {4, {1, 1, 1, 1}}}}});
  refuses("tag 273 (StripOffsets) has 3 strips, expected 2", -10, {.tags = {{278, {3, {3}}}}});
  refuses("", -10, {.tags = {{273, {9, {8, 8, 8}}}}});  // offsets of a signed type
  refuses("its 3 samples lie in separate planes", -10, {.samples = 3, .tags = {{284, {3, {2}}}}});
  refuses("PlanarConfiguration is 3", -10, {.tags = {{284, {3, {3}}}}});
  refuses("tag 320 (ColorMap) has 3 values, expected 768", -10, {.tags = {{320, {3, {1, 2, 3}}}}});
  refuses("", -10, {.samples = 3, .tags = {{320, {3, map}}}});  // map of three samples
  refuses("colour map: has values of type 16", -10, {.tags = {{320, {16, map}}}});
  refuses("JPEG compression (7) is not read", -11, {.compression = 7});
  refuses("", -11, {.compression = 8});  // Deflate
  refuses("", -11, {.compression = 4});  // fax
  refuses("predictor 3", -11, {.compression = 5, .tags = {{317, {3, {3}}}}});
  refuses("", -11, {.bits = 4, .compression = 5, .tags = {{317, {3, {2}}}}});  // differences of 4 bits
  refuses("5 samples a pixel", -11, {.samples = 5});
  refuses("different depths: 8 bits and 4", -11, {.samples = 2, .tags = {{258, {3, {8, 4}}}}});
  refuses("signed samples", -11, {.tags = {{339, {3, {2}}}}});
  refuses("floating-point samples of 16 bits", -11, {.bits = 16, .is_float = true});
  refuses("", -11, {.bits = 32, .samples = 2, .tags = {{339, {3, {1, 3}}}}});  // mixed formats
  refuses("", -11, {.is_float = true, .tags = {{320, {3, map}}}});             // mapped floats
  refuses("", -11, {.tags = {{258, {3, {128}}}}});                             // 128 bits
  refuses("subsampled chroma", -11, {.samples = 3, .photometric = 6, .tags = {{530, {3, {2, 2}}}}});
}

TEST(TiffRefused, BrokenHeadersAndFiles) {
  page_spec p;
  const bytes good = builder().page(p).file(), big = builder(false, true).page(p).file();
  const auto with = [](bytes file, size_t at, uint8_t value) {
    file[at] = value;
    return file;
  };
  for (const bytes &file :
       {with(good, 0, 'M'), with(good, 1, 'J'), with(good, 2, 44), with(good, 3, 1), with(good, 7, 1),
        with(big, 4, 4), with(big, 5, 1), with(big, 15, 1), bytes{}, bytes{'I'},
        bytes(good.begin(), good.begin() + 8), bytes(big.begin(), big.begin() + 12), builder().file()})
    EXPECT_EQ(opened_page(file).code, -10);
}

TEST(TiffRefused, HandlesOfOthers) {
  const temporary_folder folder;
  opened_page o(builder().page({}).file());
  tiffhandle *writing = nullptr;
  ASSERT_EQ(
      qvimage_tiffwriteopen(&writing, 1, nullptr, nullptr, (folder / "w").c_str(), nullptr, 0, 0, nullptr),
      0);
  uint64_t other[64] = {};
  qvimagefileinfo info;
  EXPECT_EQ(qvimage_tiffreadinfo(o.handle, nullptr, 0), -1);
  EXPECT_EQ(qvimage_tiffreadinfo(nullptr, nullptr, 0), -1);
  for (tiffhandle *of : {reinterpret_cast<tiffhandle *>(other), writing}) {
    tiffhandle *given = of;
    EXPECT_EQ(qvimage_tiffreaddone(nullptr, nullptr, &given), -64);
    EXPECT_EQ(qvimage_tiffreadinfo(of, &info, 0), -64);
  }
  EXPECT_EQ(qvimage_tifferror(&o.handle), -64);  // the reader's
  EXPECT_EQ(qvimage_tifffini(&o.handle, 1), -64);
  EXPECT_EQ(qvimage_tifffini(&writing, 1), 0);
  EXPECT_EQ(o.done(), 0);
  EXPECT_EQ(o.handle, nullptr);
  EXPECT_EQ(std::memcmp(o.image.devname, "NULL2", 6), 0);
}

TEST(TiffHostile, RowsThatTheFileCannotHoldAreNotAllocated) {
  const auto page = [](uint32_t width, uint32_t compression, uint32_t bits) {
    page_spec p{.bits = bits, .compression = compression, .rows_per_strip = 5};
    p.tags = {{256, {4, {width}}}, {273, {4, {8}}}, {279, {4, {8}}}};
    bytes file = builder().page(p).file();
    file.resize(300);
    return file;
  };
  EXPECT_EQ(opened_page(page(0x7FFFFFFF, 1, 8)).code, -10);
  EXPECT_EQ(opened_page(page(0x7FFFFFFF, 5, 64)).code, -10);
  EXPECT_EQ(opened_page(page(1000000, 32773, 8)).code, -10);
  EXPECT_EQ(opened_page(page(0x7FFFFFFF, 32773, 32)).code, -10);
  EXPECT_EQ(opened_page(page(17 << 20, 32885, 8)).code, -2);
}

TEST(TiffHostile, BrokenStripsLatchAndTheOthersStillRead) {
  const auto broken = [](const compressor &compress, const bytes &instead) -> compressor {
    return [=](const page_spec &p, const bytes &rows, size_t row_bytes) {
      return rows[0] == p.sample(0, 2, 0) ? instead : compress(p, rows, row_bytes);
    };
  };
  const struct {
    uint32_t compression;
    compressor compress;
    const char *said;
  } cases[] = {{5, broken(lzw, {}), "data end here, after 0 bytes"},
               {5, broken(lzw, {0x80, 0x7F, 0xFF, 0xFF}), "LZW code 511 before it is defined"},
               {5, broken(lzw, {0x80, 0x40, 0x40}), "data end here"},  // an end without rows
               {5, broken(lzw, {0x00, 0x01, 0x02, 0x04}), "order of very old writers"},
               {32885, broken(predictive, {1, 2, 3}), "data end here, after 3 bytes"},
               {32773, broken(pack_bits, {}), "data end here"},
               {32773, broken(pack_bits, {0x7F, 1, 2}), "inside a PackBits run"}};
  for (const auto &c : cases) {
    page_spec p{.compression = c.compression};
    opened_page o(builder().page(p, c.compress).file());
    ASSERT_EQ(o.code, 0);
    const auto all = samples_of(p);
    EXPECT_EQ(read_run(o.image, QVIM_WRAP, 0, 0, 35, 0, 0),
              std::vector<uint64_t>(all.begin(), all.begin() + 14));
    EXPECT_EQ(o.error(true), -10);
    const std::string reason = qvimage_reason();
    EXPECT_TRUE(reason.starts_with("page 1, strip 2 at byte ") && reason.find(", row 3: ") != reason.npos &&
                reason.find(c.said) != reason.npos)
        << reason;
    EXPECT_EQ(read_run(o.image, 0, 0, 0, 7, 0, 4), std::vector<uint64_t>(all.begin() + 28, all.end()));
    EXPECT_EQ(o.error(), 0);
  }
}

TEST(TiffHostile, TextsThatAllPagesShareAreNotCopiedWithoutEnd) {
  builder b;
  for (int i = 0; i < 400; i++)
    b.directory({{256, {3, {1}}},
                 {257, {3, {1}}},
                 {258, {3, {8}}},
                 {270, {2, {8, 0, 0, 0, 0}, 0}},
                 {273, {4, {8}}},
                 {279, {4, {1}}}});
  bytes file = b.file();
  file.resize(200000, 'x');
  for (const uint64_t at : b.directories) {  // every description: the whole file
    uint8_t *entry = &file[at + 2 + 3 * 12];
    const uint32_t count = uint32_t(file.size()) - 8, offset = 8;
    std::memcpy(entry + 4, &count, 4);
    std::memcpy(entry + 8, &offset, 4);
  }
  temporary_folder folder;
  put_file(folder / "t", file);
  std::vector<qvimagefileinfo> infos(400);
  const int64_t before = live_allocations();
  EXPECT_EQ(qvimage_tiffinfoN(infos.data(), 400, (folder / "t").c_str(), nullptr, 0, 0), -2);
  EXPECT_EQ(live_allocations(), before);
  EXPECT_EQ(qvimage_tiffinfoN(infos.data(), 10, (folder / "t").c_str(), nullptr, 0, 0), 10);
  for (int i = 0; i < 10; i++) qvimage_tiffinfodone(&infos[size_t(i)]);
}

TEST(TiffHostile, AFourGigabyteFileOpensAtOnce) {
  temporary_folder folder;
  const std::string path = folder / "t";
  page_spec p;
  p.width = p.height = 65536;
  p.rows_per_strip = 1;
  tag_values offsets{16, {}};
  for (uint64_t y = 0; y < p.height; y++) offsets.values.push_back((uint64_t{1} << 22) + y * 65536);
  p.tags[273] = offsets;
  put_file(path, builder(false, true).page(p).file());
  const int fd = open(path.c_str(), O_WRONLY);
  ASSERT_GE(fd, 0);
  const uint8_t mark = 77;
  ASSERT_EQ(pwrite(fd, &mark, 1, off_t((uint64_t{1} << 22) + 60000ull * 65536 + 12345)), 1);
  ASSERT_EQ(ftruncate(fd, off_t((uint64_t{1} << 22) + (uint64_t{1} << 32))), 0);
  close(fd);
  qvimage im;
  tiffhandle *h = nullptr;
  const uint64_t before = allocation_count();
  ASSERT_EQ(qvimage_tiffread(&im, nullptr, &h, path.c_str(), nullptr, 0, 0, 0), 0);
  EXPECT_LE(allocation_count() - before, 4u);  // handle, block, the walk's first set
  EXPECT_EQ(read_run(im, 0, 0, 0, 2, 12345, 60000), (std::vector<uint64_t>{77, 0}));
  EXPECT_EQ(qvimage_tiffreaddone(&im, nullptr, &h), 0);
}

TEST(TiffFaults, OfPalettesAndOfManyDescriptionsAreReported) {
  page_spec p = described_page();
  p.differenced = false;
  p.bits = 4;
  p.samples = 1;
  p.tags[320] = colour_map(3, 4, [](uint32_t, uint32_t i) { return i << 12; });
  temporary_folder folder;
  const std::string path = folder / "t";
  put_file(path, builder().page(p, lzw).page(p, lzw).file());
  const auto open = [&] {
    qvimage im, palette;
    tiffhandle *h = nullptr;
    const int32_t code = qvimage_tiffread(&im, &palette, &h, path.c_str(), nullptr, 0, 1, 0);
    if (code == 0) qvimage_tiffreaddone(&im, &palette, &h);
    return code;
  };
  const auto describe = [&] {
    qvimagefileinfo infos[2];
    const int64_t n = qvimage_tiffinfoN(infos, 2, path.c_str(), nullptr, 0, 0);
    for (int64_t i = 0; i < n; i++) qvimage_tiffinfodone(&infos[i]);
    return int32_t(n < 0 ? n : 0);
  };
  expect_faults_reported(open, -7, call_read);
  expect_faults_reported(describe, -7, call_read);
}

}  // namespace
