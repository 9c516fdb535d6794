#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include <qvimage/qvimage.h>

#include "core/dimension.hpp"

namespace {

template <class Record>
constexpr bool is_2d = std::is_same_v<Record, qvimage>;

void defnull(qvimage *im) { qvimage_defnull(im); }
void defnull(qvimage3 *im) { qvimage3_defnull(im); }
void nullsafe(qvimage *im) { qvimnullsafe(im); }
void nullsafe(qvimage3 *im) { qvim3nullsafe(im); }
void nullwind(qvimage *im) { qvimnullwind(im); }
void nullwind(qvimage3 *im) { qvim3nullwind(im); }

uint8_t pixels[64];
int32_t memory(qvimage *im, int32_t x) {
  const int32_t dims[] = {x, 4};
  return qvimage_memory(im, pixels, dims, 0, QVIM_UINT8, 0, 1, 0, 0);
}
int32_t memory(qvimage3 *im, int32_t x) {
  const int32_t dims[] = {x, 4, 4};
  return qvimage3_memory(im, pixels, dims, 0, QVIM_UINT8, 0, 1, 0, 0);
}

// Calls every transfer and set-up slot with arguments that no image could serve; nothing may be touched.
template <class Record>
void expect_nothing_moves(Record *im) {
  const auto at = [&](auto slot, auto... arguments) {
    if constexpr (is_2d<Record>)
      return slot(im, arguments..., INT32_MIN, INT32_MAX);
    else
      return slot(im, arguments..., INT32_MIN, INT32_MAX, -1);
  };
  void *const wild = reinterpret_cast<void *>(8);
  auto *const list = static_cast<qvxyzcoord *>(wild);
  EXPECT_EQ(at(im->ioread, ~0u, wild, ~0u), 0u);
  EXPECT_EQ(at(im->iorite, ~0u, static_cast<const void *>(wild), ~0u), 0u);
  EXPECT_EQ(im->iowait(im, ~0u, wild), 1);
  EXPECT_EQ(im->ioset(im, ~0u, ~0u, ~0u), 0);
  EXPECT_EQ(at(im->iolen, ~0u), 0u);
  EXPECT_EQ(im->bxts(im, ~0u, ~0u, ~0u), 0);
  EXPECT_EQ(im->bxtp(im, ~0u, wild, list, ~0u, ~0u), 0u);
  EXPECT_EQ(im->bxta(im, ~0u, wild, list, ~0u, ~0u), 0u);
  EXPECT_EQ(im->bxtw(im, ~0u, wild, list, ~0u, ~0u), 1);
  EXPECT_EQ(im->imapset(im, ~0u, ~0u, ~0u), -11);
  qvimagemap map{5, 6, 7, 8};
  EXPECT_EQ(at(im->imap, &map), 0);
  EXPECT_EQ(+map.count, 0u);
  map.count = 5;
  EXPECT_EQ(im->imapr(im, &map), 0);
  EXPECT_EQ(+map.count, 0u);
  EXPECT_EQ(at(im->imap, static_cast<qvimagemap *>(nullptr)), 0);
  EXPECT_EQ(im->imapr(im, nullptr), 0);
}

template <class Record>
void expect_null_answers(Record *im) {
  EXPECT_EQ(im->aeiou(im, 'B', -1, -1, nullptr), 357913941u);
  EXPECT_EQ(im->aeiou(im, 'I', -1, -1, nullptr), 4294967295u);
  for (int code : {int('i'), int('e'), int('p'), 0})
    EXPECT_EQ(im->aeiou(im, uint32_t(code), -1, -1, nullptr), 0u);
  decltype(im->wind) window;
  std::memset(&window, 0x55, sizeof window);
  EXPECT_EQ(im->xwind(im, &window, 's'), im);
  EXPECT_EQ(im->xwind(im, &window, 'w'), &im->wind);
  EXPECT_EQ(std::memcmp(&window, &im->wind, sizeof window), 0);
  EXPECT_EQ(im->xwind(im, nullptr, 'i'), &im->imdim);
  EXPECT_EQ(im->xwind(im, &window, -1), nullptr);
}

template <class Record>
class NullImage : public testing::Test {};
using Records = testing::Types<qvimage, qvimage3>;
TYPED_TEST_SUITE(NullImage, Records);

// As it is made, and as a constructor that fails leaves it.
TYPED_TEST(NullImage, TakesEveryCallAndDoesNothing) {
  for (const bool failed : {false, true}) {
    TypeParam im;
    std::memset(static_cast<void *>(&im), 0xEE, sizeof im);
    if (failed)
      ASSERT_EQ(memory(&im, -1), -1);
    else
      defnull(&im);
    EXPECT_STREQ(im.devname, is_2d<TypeParam> ? "NULL2" : "NULL3");
    EXPECT_EQ(im.imdim.se.x | im.wind.se.y | im.d.pixietype | im.f.pixelsize | int(im.source[0]), 0);
    expect_nothing_moves(&im);
    expect_null_answers(&im);
  }
  defnull(static_cast<TypeParam *>(nullptr));
}

TYPED_TEST(NullImage, SafeSlotsLeaveTheDescriptionAlone) {
  TypeParam im;
  ASSERT_EQ(memory(&im, 3), 0);
  nullsafe(&im);
  EXPECT_EQ(im.imdim.se.x, 3);
  EXPECT_EQ(im.d.pixietype, QVIM_UINT8);
  expect_nothing_moves(&im);
  expect_null_answers(&im);
}

TYPED_TEST(NullImage, WithoutAWindowAnImageWaitsForAValidOne) {
  TypeParam im;
  ASSERT_EQ(memory(&im, 3), 0);
  ASSERT_EQ(im.ioset(&im, 0, QVIM_UINT8, 1), 1);
  ASSERT_EQ(im.bxts(&im, 0, QVIM_UINT8, 1), 1);
  decltype(im.wind) outside = im.imdim;
  outside.se.x++;
  for (bool by_hand : {false, true}) {
    if (by_hand)
      nullwind(&im);
    else
      EXPECT_EQ(im.xwind(&im, &outside, 's'), nullptr);
    EXPECT_EQ(im.wind.se.x | im.wind.se.y, 0);
    expect_nothing_moves(&im);
    EXPECT_EQ(im.aeiou(&im, 'i', 0, 0, nullptr), 513u);
    uint8_t pixel;
    qvimagemap map;
    for (const bool set_up : {false, true}) {  // a valid window takes set-ups away, too
      EXPECT_EQ(im.xwind(&im, nullptr, 's'), &im);
      EXPECT_EQ(qvim::call_read(&im, 0, &pixel, 1, {}), 0u);
      EXPECT_EQ(qvim::call_map(&im, &map, {}), 0);
      if (set_up) continue;
      EXPECT_EQ(im.ioset(&im, 0, QVIM_UINT8, 1), 1);
      EXPECT_GT(im.imapset(&im, 0, QVIM_UINT8, 1), 0);
    }
    EXPECT_EQ(im.ioset(&im, 0, QVIM_UINT8, 1), 1);
  }
}

TEST(NopImage, DescribesAnImageWithoutPixels) {
  qvimagedata d;
  qvimagehints h;
  qviminitdata(&d, QVIM_UINT16, 12, 3, QVIM_HINT_RGB);
  qviminithints(&h, QVIM_UNIT_INCH, 0, 0, 0.5f, 0, 0);
  const int32_t dims[] = {640, 480};
  qvimage im;
  EXPECT_EQ(qvimage_defnop(nullptr, dims, &d, &h), -1);
  ASSERT_EQ(qvimage_defnop(&im, dims, &d, &h), 0);
  EXPECT_EQ(im.wind.se.x, 640);
  EXPECT_EQ(im.imdim.se.y, 480);
  EXPECT_EQ(im.f.pixelsize, 6);
  EXPECT_EQ(im.h.pixelwidth, 0.5f);
  expect_nothing_moves(&im);
  ASSERT_EQ(qvimage_defnop(&im, &im.imdim.se.x, &im.d, &im.h), 0) << "its own members";
  EXPECT_EQ(im.wind.se.x, 640);
  EXPECT_EQ(im.f.pixelsize, 6);
  EXPECT_EQ(im.h.pixelwidth, 0.5f);
  ASSERT_EQ(qvimage_defnop(&im, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(im.wind.se.x, 0);
}

}  // namespace
