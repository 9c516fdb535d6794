// Data types, hints and units, and the records that describe pixels.
#include <gtest/gtest.h>

#include <cctype>
#include <clocale>
#include <cstring>
#include <map>
#include <string>

#include <qvimage/data.h>
#include <qvimage/null.h>

namespace {

TEST(DataTypes, HaveTheSizesOfTheirNames) {
  const std::map<uint32_t, int32_t> sizes = {{1, 1}, {2, 2}, {4, 4}, {8, 8}, {16, 4}, {32, 8}};
  for (uint32_t type = 0; type < 256; type++) {
    const auto found = sizes.find(type);
    const int32_t size = found == sizes.end() ? 0 : found->second;
    EXPECT_EQ(qvimdatasize(type), size) << type;
    EXPECT_EQ(qvimdatasize(type | 0xABCDEF00), size) << "flags beside the type " << type;
  }
  const int32_t integers[] = {0, 1, 2, 0, 4, 0, 0, 0, 8, 0}, floats[] = {0, 0, 0, 0, 16, 0, 0, 0, 32, 0};
  for (int32_t bytes = 0; bytes < 10; bytes++) {
    EXPECT_EQ(qvimuintsizedata(bytes), integers[bytes]) << bytes;
    EXPECT_EQ(qvimfloatsizedata(bytes), floats[bytes]) << bytes;
  }
  for (int32_t bytes : {-1, -8, 16, 32}) EXPECT_EQ(qvimuintsizedata(bytes) + qvimfloatsizedata(bytes), 0);
  for (uint32_t type : {0u, 3u, 16u, 0xFFFFFFFFu}) EXPECT_EQ(qvimtypemap(type), type);
}

TEST(DataTypes, ContainerOfSomeBitsIsTheSmallest) {
  const struct {
    int32_t bits, type;
  } cases[] = {{1, 1}, {8, 1}, {9, 2}, {12, 2}, {16, 2}, {17, 4}, {32, 4}, {33, 8}, {64, 8}, {65, 0}};
  for (const auto &c : cases) EXPECT_EQ(qvimdatabittype(c.bits), c.type) << c.bits;
}

TEST(PixelData, BitsUsedDecideWhereTheyLie) {
  const struct {
    int32_t type, bitsused, used, place;
  } cases[] = {{1, 0, 8, 0x300},   {1, 8, 8, 0x300},  {1, 7, 7, 0x200},   {2, 12, 12, 0x200},
               {2, 16, 16, 0x300}, {2, 0, 16, 0x300}, {4, 31, 31, 0x200}, {4, 32, 32, 0x300},
               {8, 1, 1, 0x200},   {8, 64, 64, 0x300}};
  for (const auto &c : cases) {
    qvimagedata d;
    std::memset(&d, 0xEE, sizeof d);
    ASSERT_EQ(qviminitdata(&d, c.type, c.bitsused, 3, QVIM_HINT_BGR), 1) << c.type << ' ' << c.bitsused;
    EXPECT_TRUE(d.pixietype == c.type && d.pixies == 3 && d.pixelhint == QVIM_HINT_BGR);
    EXPECT_TRUE(d.i_bitsused == c.used && d.i_bitsxsb == c.place) << c.type << ' ' << c.bitsused;
    EXPECT_TRUE(d.i_dirtyread == 0 && d.i_dirtyrite == 0 && d.i_endian == 0 && d.i_zero == 0);
  }
}

TEST(PixelData, FloatingTypesHaveARangeAndNoBits) {
  for (int32_t type : {QVIM_FLOAT32, QVIM_FLOAT64})
    for (int32_t bitsused : {0, 12, 99}) {
      qvimagedata d;
      std::memset(&d, 0xEE, sizeof d);
      ASSERT_EQ(qviminitdata(&d, type, bitsused, 32, 0), 1);
      EXPECT_TRUE(d.r_minvalue == 0.0f && d.r_maxvalue == 1.0f && d.r_zero[0] == 0 && d.r_zero[1] == 0);
    }
}

TEST(PixelData, WhatDescribesNoPixelIsRefusedAndZeroed) {
  const struct {
    int32_t type, bitsused, pixies;
  } cases[] = {{2, 17, 1}, {2, -1, 1}, {1, 9, 1},  {8, 65, 1}, {3, 0, 1},     {0, 0, 1}, {48, 0, 1},
               {64, 0, 1}, {2, 0, 0},  {2, 0, 33}, {2, 0, -1}, {0x102, 0, 1}, {-2, 0, 1}};
  const qvimagedata zero{};
  for (const auto &c : cases) {
    qvimagedata d;
    std::memset(&d, 0xEE, sizeof d);
    EXPECT_EQ(qviminitdata(&d, c.type, c.bitsused, c.pixies, 1), 0) << c.type << ' ' << c.bitsused;
    EXPECT_EQ(std::memcmp(&d, &zero, sizeof d), 0) << c.type << ' ' << c.bitsused;
  }
}

TEST(PixelFacts, FollowFromTheData) {
  const struct {
    int32_t type, pixies, pixiesize, pixelsize, flags;
  } cases[] = {{1, 1, 1, 1, 1}, {2, 3, 2, 6, 1}, {8, 32, 8, 256, 1}, {16, 2, 4, 8, 2}, {32, 4, 8, 32, 2}};
  for (const auto &c : cases) {
    qvimagedata d;
    ASSERT_EQ(qviminitdata(&d, c.type, 0, c.pixies, 0), 1);
    qvimagefacts f{};
    f.flags = 0x87;  // two flags of its own, the rest is kept
    EXPECT_EQ(qviminitfacts(&f, &d), c.pixiesize);
    EXPECT_TRUE(f.pixiesize == c.pixiesize && f.pixelsize == c.pixelsize) << c.type;
    EXPECT_EQ(f.flags, 0x84 | c.flags);
  }
}

TEST(PixelHints, AreStoredInTheirPlaces) {
  qvimagehints h;
  std::memset(&h, 0xEE, sizeof h);
  qviminithints(&h, QVIM_UNIT_INCH, QVIM_UNIT_FOOT, QVIM_UNIT_SECOND, 1.5f, 2.5f, 3.5f);
  EXPECT_TRUE(h.pixelwidth == 1.5f && h.pixelheight == 2.5f && h.pixeldepth == 3.5f);
  EXPECT_TRUE(h.widthunits == 188 && h.heightunits == 184 && h.depthunits == 131 && h.zero == 0);
}

TEST(PlainCopies, AreEnoughWhenCallerAndImageHoldBitsAlike) {
  constexpr uint32_t msb = QVIM_MSB, lsb = QVIM_LSB, dirty = QVIM_DIRTY, swapped = QVIM_SWAPPED;
  const struct {
    int32_t type, bitsused;
    uint32_t place, dirtyread, dirtyrite, endian;  // the image; place 0: as qviminitdata says
    uint32_t request;
    int32_t enough;
  } cases[] = {
      // all bits used: only the byte order counts
      {2, 16, 0, 0, 0, 0, 2, 1},
      {2, 16, 0, 0, 0, 0, 2 | msb, 1},
      {2, 16, 0, 0, 0, 0, 2 | lsb | dirty, 1},
      {2, 16, 0, 0, 0, 0, 2 | swapped, 0},
      {2, 16, 0, 0, 0, swapped, 2 | swapped, 1},
      {2, 16, 0, 0, 0, swapped, 2, 0},
      {2, 16, 0, 0, 0, 0, 1, 0},
      {2, 16, 0, 0, 0, 0, 16, 0},
      // 12 bits of 16: their place as well
      {2, 12, 0, 0, 0, 0, 2, 1},
      {2, 12, 0, 0, 0, 0, 2 | lsb, 1},
      {2, 12, 0, 0, 0, 0, 2 | msb, 0},
      {2, 12, 0, 0, 0, 0, 2 | msb | lsb, 1},
      {2, 12, msb, 0, 0, 0, 2 | msb, 1},
      {2, 12, msb, 0, 0, 0, 2 | lsb, 0},
      // and whether unused bits may be dirty: read from the image, written by the caller
      {2, 12, 0, dirty, 0, 0, 2, 0},
      {2, 12, 0, dirty, dirty, 0, 2 | dirty, 1},
      {2, 12, 0, 0, 0, 0, 2 | dirty, 0},
      {2, 12, 0, 0, dirty, 0, 2 | dirty, 1},
      {2, 12, 0, 0, dirty, 0, 2, 1},
      // floating types have neither order nor places
      {16, 0, 0, 0, 0, 0, 16, 1},
      {16, 0, 0, 0, 0, 0, 16 | msb | dirty | swapped, 1},
      {32, 0, 0, 0, 0, 0, 16, 0},
  };
  for (const auto &c : cases) {
    qvimage im;
    qvimage_defnull(&im);
    qvimagedata d;
    ASSERT_EQ(qviminitdata(&d, c.type, c.bitsused, 1, 1), 1);
    if (c.type < 16) {
      if (c.place) d.i_bitsxsb = int32_t(c.place);
      d.i_dirtyread = uint16_t(c.dirtyread);
      d.i_dirtyrite = uint16_t(c.dirtyrite);
      d.i_endian = uint16_t(c.endian);
    }
    im.d = d;
    qvimage3 im3;
    qvimage3_defnull(&im3);
    im3.d = d;
    SCOPED_TRACE(testing::Message() << c.type << ' ' << c.bitsused << std::hex << " request " << c.request);
    EXPECT_EQ(qvimdatasupportedwoutconversion(&im, c.request), c.enough);
    EXPECT_EQ(qvim3datasupportedwoutconversion(&im3, c.request), c.enough);
  }
}

TEST(ColourSelection, IsOneRunOfPixiesInsideThePixel) {
  for (int32_t pixies = -1; pixies <= 8; pixies++)
    for (uint32_t mask = 0; mask < 512; mask++) {
      // The model: a run from `from` on of `count` ones is that mask, for all of them.
      int32_t from = -1, count = 0;
      for (int32_t f = 0; f < pixies; f++)
        for (int32_t n = 1; f + n <= pixies; n++)
          if (mask == ((1u << n) - 1) << f) from = f, count = n;
      int32_t first = 77;
      uint16_t firsts = 77;
      ASSERT_EQ(qvimcolormap(pixies, mask, &first), count) << pixies << ' ' << mask;
      ASSERT_EQ(qvimcolormaps(pixies, mask, &firsts), count) << pixies << ' ' << mask;
      ASSERT_EQ(first, count ? from : 77) << pixies << ' ' << mask;
      ASSERT_EQ(firsts, first);
      ASSERT_EQ(qvimcolormap(pixies, mask, nullptr), count);
    }
  int32_t first = -1;
  EXPECT_EQ(qvimcolormap(32, 0xFFFFFFFF, &first), 32);
  EXPECT_EQ(first, 0);
  EXPECT_EQ(qvimcolormap(32, 0x80000000, &first), 1);
  EXPECT_EQ(first, 31);
  EXPECT_EQ(qvimcolormap(31, 0x80000000, &first), 0);
}

const std::map<int32_t, std::string> hint_names = {
    {0, "Unknown"},
    {1, "Grey scale monochrome"},
    {2, "Complex numbers"},
    {3, "Blue Green Red color"},
    {4, "Blue Green Red Pad color"},
    {17, "Index into palette"},
    {18, "Cb Y Cr Y color"},
    {19, "Y Cr Cb Y Cr Cb color"},
    {20, "Y Cr Cb Y Cr Cb Pad color"},
    {33, "Bayer RGB color"},
    {34, "Y Cb Y Cr color"},
    {35, "Brightness Saturation Hue color"},
    {36, "Red Green Blue Pad color"},
    {50, "Cr Y Cb Y color"},
    {52, "Bayer RGB color"},
    {66, "Y Cr Y Cb color"},
    {67, "Red Green Blue color"},
    {68, "Cyan Magenta Yellow Black color"},
    {82, "B G R G color"},
    {83, "Y I Q color"},
    {98, "R G G B color"},
    {99, "Cyan Magenta Yellow color"},
    {114, "R G B G color"},
};
const std::map<int32_t, std::string> unit_names = {{0, "Unknown"},  {109, "Meter"},      {114, "Ratio"},
                                                   {131, "Second"}, {171, "Centimeter"}, {183, "Millimeter"},
                                                   {184, "Foot"},   {188, "Inch"}};

std::string in_case(std::string text, int (*change)(int)) {
  for (char &c : text) c = char(change(c));
  return text;
}

void expect_names(const std::map<int32_t, std::string> &names, const char *(*text_of)(int32_t),
                  int32_t (*code_of)(const char *), int32_t second_of_a_name) {
  for (int32_t code = -2; code < 300; code++) {
    const auto found = names.find(code);
    if (found == names.end()) {
      EXPECT_EQ(text_of(code), nullptr) << code;
      continue;
    }
    EXPECT_STREQ(text_of(code), found->second.c_str());
    if (code == second_of_a_name) continue;
    for (const std::string &text :
         {found->second, in_case(found->second, toupper), in_case(found->second, tolower)})
      EXPECT_EQ(code_of(text.c_str()), code) << text;
  }
  for (const char *text : {"", "Grey", "Unknown ", "Inche"}) EXPECT_EQ(code_of(text), -1) << text;
  EXPECT_EQ(code_of(nullptr), -1);
}

TEST(Names, OfHintsAreFoundInAnyCase) {
  expect_names(hint_names, qvimhinttostring, qvimstringtohint, 52);
  EXPECT_EQ(qvimstringtohint("Bayer RGB color"), 33) << "the first of two codes with that name";
}

TEST(Names, OfUnitsAreFoundInAnyCase) { expect_names(unit_names, qvimunittostring, qvimstringtounit, -1); }

// In Turkish, I is not the capital of i.
TEST(Names, AreTheSameInEveryLocale) {
  const std::string before = std::setlocale(LC_CTYPE, nullptr);
  if (!std::setlocale(LC_CTYPE, "tr_TR.UTF-8") && !std::setlocale(LC_CTYPE, "tr_TR"))
    GTEST_SKIP() << "no Turkish locale is installed";
  EXPECT_EQ(qvimstringtounit("INCH"), QVIM_UNIT_INCH);
  EXPECT_EQ(qvimstringtohint("INDEX INTO PALETTE"), QVIM_HINT_INDEX);
  std::setlocale(LC_CTYPE, before.c_str());
}

TEST(Names, RedFirstAndBlueFirstChangePlaces) {
  const std::map<int32_t, int32_t> partners = {{67, 3}, {3, 67}, {36, 4}, {4, 36}};
  for (int32_t hint = -1; hint < 130; hint++) {
    const auto found = partners.find(hint);
    EXPECT_EQ(qvimhintrgbtobgr(hint), found == partners.end() ? hint : found->second) << hint;
  }
}

}  // namespace
