// Reading anymap files whose bytes are spelled out.
#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include <qvimage/data.h>
#include <qvimage/pgm.h>

#include "tests/fault.hpp"
#include "tests/files.hpp"
#include "tests/files/tiff/opened.hpp"

namespace {

using tiff_test::read_run;

struct opened {
  explicit opened(const std::string &content) : file(tiff_test::bytes(content.begin(), content.end())) {
    code = qvimage3_pgmread(&image, nullptr, &handle, file.path().c_str(), nullptr, 0, 0);
    EXPECT_EQ(qvimage_pgmreadinfo(handle, &info), code == 0 ? 0 : -1);
  }
  ~opened() {
    qvimage_pgminfodone(&info);
    EXPECT_EQ(qvimage3_pgmreaddone(&image, nullptr, &handle), code == 0 ? 0 : -1);
  }
  std::string texts() const {
    std::string all;
    for (const char *text : {info.datetime, info.software, info.description, info.copyright})
      all += std::string(text ? text : "-") + "|";
    return all;
  }

  tiff_test::memory_file file;
  qvimage3 image{};
  pgmhandle *handle = nullptr;
  qvimagefileinfo info{};
  int32_t code;
};

std::string raster(size_t bytes) {
  std::string result;
  for (size_t i = 0; i < bytes; i++) result += char(37 * i + i / 7);
  return result;
}

TEST(PgmRead, HeadersInAnyForm) {
  struct row {
    std::string header;
    size_t pixels;
    int32_t code, width = 0, height = 0, bits = 0, frames = 0;
  };
  const row rows[] = {
      {"P5 640 480 255 ", 640 * 480, 0, 640, 480, 8, 1},
      {"P5 640 480 255  ", 640 * 480 - 1, 0, 640, 480, 8, 1},  // the second space is a pixel
      {"P5\n#c\n3\t# c\r\n2\v\f255\n", 6, 0, 3, 2, 8, 1},
      {"P5\n3#c\n2\n4095\n", 30, 0, 3, 2, 12, 2},  // and half a frame
      {"P6 2 2 007\n", 12, 0, 2, 2, 3, 1},
      {"P6 1 1 65535\n", 18, 0, 1, 1, 16, 3},
      {"P4 9 3\n", 6, 0, 9, 3, 1, 1},
      {"P5 3 2 255\n", 5, -10},
      {"P2 3 2 255\n", 6, -10},
      {"P35 2 255\n", 6, -10},
      {"P5 3 2 255#\n", 6, -10},
      {"P5 3 2 0\n", 6, -10},
      {"P5 3 2 65536\n", 20, -10},
      {"P5 0 2 255\n", 6, -10},
      {"P4 8 0\n", 6, -10},
      {"P5 3 -2 255\n", 6, -10},
      {"P5 3x2 255\n", 6, -10},
      {"P5 2147483648 1 255\n", 6, -10},
      {"P6 2147483647 2147483647 65535\n", 6, -10},
      {"P5 18446744073709551619 2 255\n", 6, -10},
      {"P5 3 2", 0, -10},
      {"P5 # without end", 0, -10},
      {"P", 0, -10},
      {"", 0, -10},
  };
  for (const row &r : rows) {
    SCOPED_TRACE(r.header);
    const opened o(r.header + raster(r.pixels));
    EXPECT_EQ(o.code, r.code);
    EXPECT_EQ(std::string(o.image.devname, 5), r.code ? "NULL3" : "QVIMP");
    if (r.code < 0 || o.code < 0) continue;
    EXPECT_EQ(o.image.imdim.se.x, r.width);
    EXPECT_EQ(o.image.imdim.se.y, r.height);
    EXPECT_EQ(o.image.imdim.se.z, r.frames);
    EXPECT_EQ(o.image.d.i_bitsused, r.bits);
    EXPECT_EQ(o.image.d.pixelhint, r.header[1] == '6' ? QVIM_HINT_RGB : QVIM_HINT_GREY);
    EXPECT_EQ(o.info.pagecount, uint32_t(r.frames));
    EXPECT_EQ(o.info.pgm_magic, uint32_t(r.header[1]));
    EXPECT_EQ(std::string(o.info.type), "pgm");
  }
}

TEST(PgmRead, CommentsAreSizesAndTexts) {
  for (const char *locale : {"C", "de_DE.UTF-8"}) {
    std::setlocale(LC_ALL, locale);
    const opened o(
        "P5\n# one\n#two\n## PixelWidth=0.010000Millimeter\n## PixelHeight=2.5Unknown\n#\n"
        "## PixelDepth=1,5Inch\n3 # four \n2 # five\n255\n" +
        raster(6));
    EXPECT_EQ(o.texts(), "one|two||# PixelDepth=1,5Inch|");
    EXPECT_EQ(o.image.h.pixelwidth, 0.01f);
    EXPECT_EQ(o.image.h.widthunits, qvimstringtounit("Millimeter"));
    EXPECT_EQ(o.image.h.pixelheight, 2.5f);
    EXPECT_EQ(o.image.h.heightunits, 0);
    EXPECT_EQ(o.image.h.pixeldepth, 0) << "a comma is no point";
  }
  std::setlocale(LC_ALL, "C");
}

TEST(PgmRead, HandlesOfOthersAreRefused) {
  qvimagefileinfo info;
  uint32_t foreign[8] = {1};
  EXPECT_EQ(qvimage_pgmreadinfo(reinterpret_cast<pgmhandle *>(foreign), &info), -64);
}

}  // namespace
