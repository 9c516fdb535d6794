// Images presented in other data types and bits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "core/dimension.hpp"
#include "tests/fault.hpp"
#include "tests/views/values.hpp"

namespace {

using namespace model;

struct ConverterFixed : testing::Test {
  void SetUp() override {
    for (int i = 0; i < 48; i++) words[i] = uint16_t(i * 1365);
    ASSERT_EQ(qvimage_memory2(&source, words, dims, 0, QVIM_UINT16, 0, 1, QVIM_HINT_GREY, 0, QVIM_UNIT_INCH,
                              2.5f, 1.5f),
              0);
    ASSERT_EQ(qvimage_converter(&view, &source, nullptr, 0, 0, 12, 0), 0);
  }
  int32_t dims[2] = {8, 6};
  uint16_t words[48];
  qvimage source, view;
};

TEST_F(ConverterFixed, StacksDeepAndEndsRings) {
  std::vector<qvimage> chain(600);
  for (size_t i = 0; i < chain.size(); i++)
    ASSERT_EQ(qvimage_converter(&chain[i], i ? &chain[i - 1] : &source, nullptr, 0, 0, 0, 0), 0);
  qvimage &last = chain.back();
  ASSERT_EQ(last.ioset(&last, 0, QVIM_UINT8 | QVIM_MSB, 1), 1);
  uint8_t out[8];
  ASSERT_EQ(last.ioread(&last, 0, out, 8, 0, 1), 8u);
  for (int x = 0; x < 8; x++) EXPECT_EQ(out[x], words[8 + x] >> 8);
  ASSERT_EQ(last.bxts(&last, 0, QVIM_UINT16, 1), 1);
  qvxyzcoord where{7, 5, 0};
  uint16_t value = 0;
  EXPECT_EQ(last.bxta(&last, QVIM_LIST, &value, &where, 1, QVIM_OP_READ), 1u);
  EXPECT_EQ(value, words[47]);
  EXPECT_EQ(last.aeiou(&last, 'i', 0, 0, nullptr) & 0xFF, 255u);

  for (const size_t ring : {size_t{0}, size_t{3}}) {  // over itself, and a ring of four
    chain[0].source[0] = int64_t(reinterpret_cast<intptr_t>(&chain[ring]));
    EXPECT_EQ(chain[ring].ioset(&chain[ring], 0, QVIM_UINT8, 1), -5);
    EXPECT_EQ(chain[ring].ioset(&chain[ring], 0, QVIM_UINT16, 1), -5);
    EXPECT_EQ(chain[ring].bxts(&chain[ring], 0, QVIM_UINT16, 1), -5);
    EXPECT_EQ(chain[ring].imapset(&chain[ring], 0, QVIM_UINT16, 1), -5);
    EXPECT_EQ(chain[ring].ioread(&chain[ring], 0, out, 1, 0, 0), 0u);
    chain[ring].aeiou(&chain[ring], 'i', 0, 0, nullptr);
  }
}

// A mapping shows that a request goes to the source as it is.
TEST_F(ConverterFixed, LeavesToItsSourceWhatItMakesNoDifferenceTo) {
  const struct {
    int32_t used, xsb;
    uint8_t masks, bits;
    uint32_t justified;
    int32_t answer;
  } cases[] = {{16, QVIM_MSB | QVIM_LSB, 0, 20, QVIM_MSB, 0x4005},
               {16, QVIM_MSB | QVIM_LSB, 0, 12, QVIM_MSB, 0x4005},
               {16, QVIM_MSB | QVIM_LSB, 0, 12, QVIM_LSB, -19},
               {16, QVIM_MSB | QVIM_LSB, 1, 0, 0, 0x4005},  // no bits to mask
               {12, QVIM_MSB, 0, 10, QVIM_MSB, 0x4005},
               {12, QVIM_MSB, 0, 14, QVIM_MSB, -19},
               {12, QVIM_LSB, 0, 14, QVIM_LSB, -19},
               {12, QVIM_LSB, 0, 14, 0, 0x4005},
               {12, QVIM_LSB, 1, 0, 0, -19},
               {12, QVIM_LSB, 0, 0, 0, 0x4005}};
  for (const auto &c : cases) {
    qvimagedata d;
    ASSERT_EQ(qviminitdata(&d, QVIM_UINT16, c.used, 1, QVIM_HINT_GREY), 1);
    d.i_bitsxsb = c.xsb;
    ASSERT_EQ(qvimage_memdata(&source, words, 0, dims, 0, &d, nullptr, 0), 0);
    ASSERT_EQ(qvimage_converter(&view, &source, nullptr, 0, c.masks, c.bits, 0), 0);
    EXPECT_EQ(view.imapset(&view, 0, QVIM_UINT16 | c.justified, 1), c.answer)
        << c.used << ", " << int(c.bits);
  }
}

TEST_F(ConverterFixed, RefusesThroughAnyNumberOfConverters) {
  ASSERT_EQ(qvimage_memory(&source, words, dims, 0, QVIM_UINT64, 0, 1, QVIM_HINT_GREY, 0), 0);
  qvimage chain[60];
  for (int i = 0; i < 60; i++) {
    qvimagedata d;
    ASSERT_EQ(qviminitdata(&d, i % 2 ? QVIM_UINT8 : QVIM_UINT16, 0, 1, QVIM_HINT_GREY), 1);
    ASSERT_EQ(qvimage_converter(&chain[i], i ? &chain[i - 1] : &source, &d, 0, 0, 0, 0), 0);
  }
  EXPECT_LT(chain[59].ioset(&chain[59], 0, QVIM_FLOAT32, 1), 0);
  EXPECT_LT(chain[59].bxts(&chain[59], 0, QVIM_FLOAT32, 1), 0);
}

// --- description, queries, windows, failures -----------------------------------------------------

TEST_F(ConverterFixed, DescribesTheSourceOrWhatItIsTold) {
  EXPECT_EQ(std::memcmp(&view.d, &source.d, sizeof view.d), 0);
  EXPECT_EQ(std::memcmp(&view.h, &source.h, sizeof view.h), 0);
  EXPECT_EQ(view.f.pixelsize, 2);
  qvimagedata d;
  qviminitdata(&d, QVIM_FLOAT64, 0, 3, QVIM_HINT_RGB);
  ASSERT_EQ(qvimage_converter(&view, &source, &d, 0, 0, 12, 1), 0);
  EXPECT_EQ(std::memcmp(&view.d, &d, sizeof d), 0);
  EXPECT_EQ(view.f.pixelsize, 24);
  EXPECT_EQ(view.aeiou(&view, 'I', 0, 0, nullptr), 0xFFFFFFFFu / 24);
}

TEST_F(ConverterFixed, SharesItsWindowOnlyWhenAsked) {
  const frame whole{{0, 0, 0}, {8, 6, 1}};
  qvywindow part = {{2, 1}, {5, 4}}, outside = {{2, 1}, {9, 4}};
  ASSERT_EQ(view.xwind(&view, &part, 's'), &view);
  EXPECT_EQ(frame_of(source.wind), whole);
  ASSERT_EQ(qvimage_converter(&view, &source, nullptr, 1, 0, 12, 0), 0);
  ASSERT_EQ(view.xwind(&view, &part, 's'), &view);
  EXPECT_EQ(frame_of(source.wind), frame_of(part));
  EXPECT_EQ(view.xwind(&view, &outside, 's'), nullptr);
  EXPECT_EQ(frame_of(source.wind), frame_of(part))
      << "a window that does not fit the view stays away from the source";
  // A view that is built shares the window that there is.
  ASSERT_EQ(qvimage_converter(&view, &source, nullptr, 1, 0, 12, 0), 0);
  EXPECT_EQ(frame_of(view.wind), frame_of(part));
  EXPECT_EQ(frame_of(view.imdim), whole);
  ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT16, 1), 1);
  uint16_t out;
  ASSERT_EQ(view.ioread(&view, 0, &out, 1, 0, 0), 1u);
  EXPECT_EQ(out, words[8 + 2]);
  // The source's window changed behind the view's back: what was set up is gone, and nothing moves.
  ASSERT_EQ(source.xwind(&source, nullptr, 's'), &source);
  EXPECT_EQ(view.ioread(&view, 0, &out, 1, 0, 0), 0u);
}

TEST_F(ConverterFixed, AnswersForMappingsWhatItsSourceAnswers) {
  const struct {
    uint32_t mode, mask;
    int32_t code;
  } cases[] = {{0, 2, -21},         {QVIM_ZSCAN, 3, -21}, {6, 3, -21},
               {QVIM_ZSCAN, 1, -1}, {6, 1, -1},           {QVIM_YSCAN, 1, -11}};
  qvimagemap map;
  for (const auto &c : cases) {
    ASSERT_EQ(view.imapset(&view, 0, QVIM_UINT16, 1), 0x4005);
    ASSERT_EQ(source.imapset(&source, c.mode, QVIM_UINT16, c.mask), c.code);
    EXPECT_EQ(view.imapset(&view, c.mode, QVIM_UINT16, c.mask), c.code) << c.mode;
    EXPECT_EQ(view.imap(&view, &map, 0, 0), 0) << "what was set up before is gone";
  }
}

TEST_F(ConverterFixed, ReadsDepthOnlyWithoutConversion) {
  qvimage3 deep, over;
  const int32_t cube[3] = {4, 3, 4};
  ASSERT_EQ(qvimage3_memory(&deep, words, cube, 0, QVIM_UINT16, 0, 1, QVIM_HINT_GREY, 0), 0);
  ASSERT_EQ(qvimage3_converter(&over, &deep, nullptr, 0, 0, 0, 0), 0);
  ASSERT_EQ(over.ioset(&over, QVIM_ZSCAN, QVIM_UINT16, 1), 1);
  uint16_t out[4];
  ASSERT_EQ(over.ioread(&over, 0, out, 9, 1, 1, 0), 4u);
  for (int z = 0; z < 4; z++) EXPECT_EQ(out[z], words[12 * z + 5]);
  EXPECT_EQ(over.ioset(&over, QVIM_ZSCAN, QVIM_UINT8, 1), -1);
  EXPECT_EQ(over.ioset(&over, 6, QVIM_UINT16, 1), -1);
}

}  // namespace
