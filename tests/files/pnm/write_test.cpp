// Writing anymap files: the bytes of every kind, appended frames, refusals, and failures in any step.
#include <gtest/gtest.h>

#include <memory>

#include <qvimage/pgm.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/pictures.hpp"
#include "tests/files/tiff/frame.hpp"

namespace {

// The raster of a frame as it must stand in a file of so many samples a pixel.
bytes raster(const frame &f, int samples, bool rgb = false) {
  bytes all;
  for (int32_t y = 0; y < f.height; y++) {
    std::vector<uint64_t> row = f.row(y, samples, rgb);
    const bool packed = f.bits() == 1 && samples == 1;
    if (packed)
      for (uint64_t &v : row) v = !v;
    const bytes stored = packed_row(row, packed ? 1 : f.bits() <= 8 ? 8 : 16, true);
    all.insert(all.end(), stored.begin(), stored.end());
  }
  return all;
}

bytes file_of(const std::string &header, std::initializer_list<bytes> rasters) {
  bytes all(header.begin(), header.end());
  for (const bytes &r : rasters) all.insert(all.end(), r.begin(), r.end());
  return all;
}

int32_t save(frame &f, const std::string &path, uint64_t append = 0, bool rgb = false, bool allow4 = false,
             qvimagefileinfo *options = nullptr, qvimagecallback callback = nullptr) {
  return qvimage_pgmwrite(callback, &f.image, path.c_str(), nullptr, 4096, append, options, rgb, allow4);
}

class PgmWrite : public testing::Test {
 protected:
  const temporary_folder folder;
  const std::string path = folder / "a.pgm";
};

TEST_F(PgmWrite, BytesOfEveryKind) {
  struct row {
    std::string header;
    int32_t width, height, type, bits, pixies, samples;
    bool rgb, allow4;
  };
  for (const row &r : {row{"P4\n37 5\n", 37, 5, 1, 1, 1, 1, false, false},
                       {"P4\n3 2\n", 3, 2, 2, 1, 1, 1, false, false},
                       {"P5\n13 4\n255\n", 13, 4, 1, 8, 1, 1, true, true},
                       {"P5\n13 4\n15\n", 13, 4, 1, 4, 1, 1, false, false},
                       {"P5\n13 4\n31\n", 13, 4, 2, 5, 1, 1, false, false},
                       {"P5\n3000 4\n4095\n", 3000, 4, 2, 12, 1, 1, false, false},
                       {"P6\n13 4\n255\n", 13, 4, 1, 8, 3, 3, false, false},
                       {"P6\n13 4\n1\n", 13, 4, 1, 1, 3, 3, true, false},
                       {"P6\n13 4\n65535\n", 13, 4, 2, 16, 3, 3, true, false},
                       {"P6\n13 4\n255\n", 13, 4, 1, 8, 4, 3, true, true}})
    for (const uint32_t flags : {0u, uint32_t(QVIM_MSB), uint32_t(QVIM_SWAPPED | QVIM_DIRTY)}) {
      SCOPED_TRACE(testing::Message() << r.header << flags);
      frame f(r.width, r.height, r.type, r.bits, r.pixies, 0, flags);
      ASSERT_EQ(save(f, path, 0, r.rgb, r.allow4), 0);
      EXPECT_EQ(file_bytes(path), file_of(r.header, {raster(f, r.samples, r.rgb)}));
    }
}

TEST_F(PgmWrite, TextsAndSizesBecomeComments) {
  frame f(2, 1, 1, 8, 1, QVIM_HINT_GREY);
  qviminithints(&f.image.h, uint8_t(qvimstringtounit("Millimeter")), 0, QVIM_UNIT_INCH, 0.01f, 3, 1234.5f);
  char software[] = "two longer\nlines\r\n", copyright[] = "nobody";
  qvimagefileinfo options{};
  options.software = software;
  options.copyright = copyright;
  ASSERT_EQ(save(f, path, 0, false, false, &options), 0);
  EXPECT_EQ(file_bytes(path),
            file_of("P5\n# two longer\n# lines\n# nobody\n## PixelWidth=0.010000Millimeter\n## "
                    "PixelDepth=1234.500000Inch\n2 1\n255\n",
                    {raster(f, 1)}));
}

TEST_F(PgmWrite, FramesAreAppendedToFilesOfTheirKind) {
  const std::string header = "P5 # any form\n13 7 # of header\n511 ";
  frame one(13, 7, 2, 9, 1, 1), two(13, 7, 2, 9, 1, 1, 0, 2), other(13, 7, 2, 10, 1, 1),
      wide(14, 7, 2, 9, 1, 1);
  bytes torn = raster(two, 1);
  torn.resize(torn.size() / 2);
  put_file(path, file_of(header, {raster(one, 1), torn}));
  const bytes before = file_bytes(path);
  EXPECT_EQ(save(two, path, 2), -10);
  EXPECT_EQ(save(other, path, 1), -10);
  EXPECT_EQ(save(wide, path, 1), -10);
  EXPECT_EQ(save(two, folder / "none.pgm", 1), -13);
  EXPECT_EQ(file_bytes(path), before);
  ASSERT_EQ(save(two, path, 1), 0);
  EXPECT_EQ(file_bytes(path), file_of(header, {raster(one, 1), raster(two, 1)}));

  pgmhandle *h = nullptr;
  EXPECT_EQ(qvimage_pgmwriteadd(&h, nullptr, &one.image), -1);
  EXPECT_EQ(qvimage_pgmwritedone(&h), -1);
  ASSERT_EQ(qvimage_pgmwriteinit(nullptr, &h, path.c_str(), nullptr, 0, &one.image, 2, nullptr, 0, 0), 0);
  EXPECT_EQ(qvimage_pgmwriteadd(&h, nullptr, &one.image), 0);
  EXPECT_EQ(qvimage_pgmwriteadd(&h, nullptr, &wide.image), -1);
  EXPECT_EQ(qvimage_pgmwriteadd(
                &h, [](int64_t y, int64_t) { return y == 3 ? 17 : 0; }, &two.image),
            17);
  EXPECT_EQ(qvimage_pgmwriteadd(&h, nullptr, &two.image), 0);
  EXPECT_EQ(qvimage_pgmwritedone(&h), 0);
  EXPECT_EQ(h, nullptr);
  EXPECT_EQ(file_bytes(path),
            file_of(header, {raster(one, 1), raster(two, 1), raster(one, 1), raster(two, 1)}));
}

TEST_F(PgmWrite, AFailedAppendLeavesTheFileAsItWas) {
  frame f(1300, 40, 2, 12, 1, 1, QVIM_MSB);
  const bytes one_frame = file_of("P5\n1300 40\n4095\n", {raster(f, 1)});
  const auto append = [&] {
    std::filesystem::remove(path);
    put_file(path, one_frame);
    return save(f, path, 1);
  };
  expect_faults_reported(append, -7, call_read | call_write | call_close, [&](const faulted &was) {
    // Nothing can be cut off on a disk that takes nothing, nor after the file was closed.
    const bool restored = was.fired && !was.for_ever && was.calls != call_close;
    EXPECT_TRUE(!restored || file_bytes(path) == one_frame);
  });
}

}  // namespace
