// What constructors of views refuse, what views say of themselves, and which set-ups they refuse that others
// accept.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include <qvimage/qvimage.h>

namespace {

struct form {
  int32_t type = QVIM_UINT8, pixies = 1, hint = QVIM_HINT_GREY;
  int32_t width = 4, height = 3, depth = 2;
};
alignas(8) uint8_t some[8192];

// A view over a memory image of that form, and the constructor's answer.
template <class Source, class Make>
int32_t over(const form &f, Source *source, const Make &make, qvimage *view) {
  const int32_t size[3] = {f.width, f.height, f.depth};
  if constexpr (std::is_same_v<Source, qvimage>)
    EXPECT_EQ(qvimage_memory(source, some, size, 0, f.type, 0, f.pixies, f.hint, 0), 0);
  else
    EXPECT_EQ(qvimage3_memory(source, some, size, 0, f.type, 0, f.pixies, f.hint, 0), 0);
  const int32_t code = make(view, source);
  EXPECT_EQ(std::strcmp(view->devname, "NULL2") == 0, code < 0);
  return code;
}

using maker = std::function<int32_t(qvimage *, qvimage *)>;

maker decimate(uint32_t xperiod, uint32_t yperiod, uint32_t xphase = 0, uint32_t yphase = 0) {
  return [=](auto *v, auto *s) { return qvimage_decimate(v, s, 0, xperiod, yperiod, xphase, yphase); };
}
maker rotate(uint32_t flags) {
  return [=](auto *v, auto *s) { return qvimage_rotate_filt(v, s, 0, flags); };
}
maker lines(uint32_t odd) {
  return [=](auto *v, auto *s) { return qvimage_yodd(v, s, 0, odd); };
}
maker component(uint32_t mask) {
  return [=](auto *v, auto *s) { return qvimage_colorslice(v, s, 0, mask, 0); };
}
maker colours(int32_t hint) {
  return [=](auto *v, auto *s) { return qvimage_colorconverter(v, s, hint, 0); };
}
maker cells(uint32_t phase) {
  return [=](auto *v, auto *s) { return qvimage_Beyer4_filter(v, s, 0, phase); };
}
maker resample(uint32_t entries) {
  return [=](auto *v, auto *s) { return qvimage_lutconvert(v, s, entries, 0); };
}
const void *const all[4] = {some, some, some, some}, *const two[4] = {some, some};
maker tables(const void *const *read, const void *const *write, int32_t pixies = 0, int32_t hint = 0) {
  return [=](auto *v, auto *s) { return qvimage_lut2(v, s, 0, read, write, pixies, hint, 0, 0); };
}

constexpr form grey{}, real{.type = QVIM_FLOAT32}, deep{.type = QVIM_UINT16}, wide{.type = QVIM_UINT64},
    rgb{QVIM_UINT8, 3, QVIM_HINT_RGB}, padded{QVIM_UINT8, 3, QVIM_HINT_RGBPAD}, four{QVIM_UINT8, 4},
    line{.height = 1}, table{.width = 256, .height = 1};

TEST(Views, AreRefusedWithTheCodeOfTheReason) {
  const struct {
    form source;
    maker make;
    int32_t code;
  } rows[] = {{grey, decimate(0, 1), -1},
              {grey, decimate(1, 0), -1},
              {grey, decimate(2, 1, 2), -1},
              {grey, decimate(1, 3, 0, 3), -1},
              {grey, decimate(5, 1), -1},
              {grey, decimate(1, 4), -1},
              {rgb, decimate(1, 1), -1},
              {real, decimate(1, 1), -19},
              {real, rotate(1), -19},
              {line, lines(1), -1},
              {line, lines(0), 0},
              {rgb, component(0), -1},
              {rgb, component(3), -1},
              {rgb, component(5), -1},
              {rgb, component(8), -1},
              {rgb, component(0x80000000), -1},
              {padded, colours(QVIM_HINT_GREY), -21},
              {{QVIM_UINT8, 4, QVIM_HINT_RGB}, colours(QVIM_HINT_BGR), -21},
              {{QVIM_UINT8, 1, QVIM_HINT_INDEX}, colours(QVIM_HINT_RGB), -21},
              {rgb, colours(QVIM_HINT_INDEX), -21},
              {rgb, colours(QVIM_HINT_YIQ), -21},
              {rgb, colours(-1), -21},
              {{QVIM_UINT64, 3, QVIM_HINT_RGB}, colours(QVIM_HINT_GREY), -19},
              {{QVIM_FLOAT32, 3, QVIM_HINT_RGB}, colours(QVIM_HINT_YCRCB), -21},
              {grey, tables(nullptr, all), -1},
              {grey, tables(all, nullptr), -1},
              {grey, tables(all, all, 5), -1},
              {rgb, tables(two, all), -1},
              {four, tables(all, two), -1},
              {grey, tables(all, two, 3, QVIM_HINT_RGB), -1},
              {grey, tables(all, all, -1), -1},
              {grey, tables(all, all, 3, 5), -1},
              {{QVIM_UINT8, 2}, tables(all, all, 3, QVIM_HINT_RGB), -1},
              {real, tables(all, all), -19},
              {wide, tables(all, all), -19},
              {{.width = 256, .height = 2}, resample(64), -1},
              {{.width = 100, .height = 1}, resample(64), -1},
              {table, resample(0), -1},
              {table, resample(3), -1},
              {table, resample(0x80000000), -1},
              {deep, cells(0), 0},
              {{.type = QVIM_UINT32}, cells(0), -19},
              {real, cells(0), -19}};
  qvimage source, view;
  for (const auto &r : rows) EXPECT_EQ(over(r.source, &source, r.make, &view), r.code) << &r - rows;
  over(table, &source, resample(64), &view);
  EXPECT_EQ(qvimage_lutconvert(nullptr, &source, 64, 0), -1);
  EXPECT_EQ(qvimage_lutconvert(&view, nullptr, 64, 0), -1);
}

TEST(Views, OfVolumesAreRefusedWithTheCodeOfTheReason) {
  constexpr int32_t frames = 65537, sum = 1 << 24;
  const auto stack = [](int32_t depth) {
    return [=](qvimage *v, qvimage3 *s) {
      s->imdim.se.z = s->wind.se.z = depth;
      return qvimage_stack(v, s);
    };
  };
  const auto plane = [](uint32_t xaxis, uint32_t yaxis) {
    return [=](qvimage *v, qvimage3 *s) { return qvimage_def2from3(v, s, xaxis, yaxis, 0, 0); };
  };
  const auto joined = [](uint8_t how, int32_t width) {
    return [=](qvimage *v, qvimage3 *s) {
      s->imdim.se = s->wind.se = {width, 4, 0x40000000};
      return qvimage_def2from3(v, s, 0, 2, 0, how);
    };
  };
  constexpr uint8_t below = 0x80, beside = 0x40;
  const struct {
    form source;
    std::function<int32_t(qvimage *, qvimage3 *)> make;
    int32_t code;
  } rows[] = {{real, stack(2), -19},         {deep, stack(frames), 0},      {deep, stack(frames + 1), -15},
              {grey, stack(sum + 1), -15},   {grey, plane(0, 0), -1},       {grey, plane(2, 2), -1},
              {grey, plane(0, 1), -1},       {grey, plane(3, 0), -1},       {grey, plane(0, 6), -1},
              {grey, plane(0x10000, 2), -1}, {grey, joined(below, 3), -15}, {grey, joined(beside, 3), -15},
              {grey, joined(beside, 1), 0}};
  qvimage3 source, view3;
  qvimage view;
  for (const auto &r : rows) EXPECT_EQ(over(r.source, &source, r.make, &view), r.code) << &r - rows;
  EXPECT_EQ(view.imdim.se.x, 0x40000000);
  source.imdim.se.z = source.wind.se.z = 0;
  EXPECT_EQ(qvimage3_def3from3(&view3, &source, 0, 0, 0, 0), -1);
  EXPECT_STREQ(view3.devname, "NULL3");
}

TEST(Views, DescribeTheirPixels) {
  const struct {
    form source;
    maker make;
    int32_t pixies, hint, width, height;
  } rows[] = {{rgb, rotate(1), 3, QVIM_HINT_RGB, 3, 4},
              {rgb, component(4), 1, QVIM_HINT_RGB, 4, 3},
              {rgb, colours(QVIM_HINT_CMYK), 4, QVIM_HINT_CMYK, 4, 3},
              {grey, tables(all, all, 3, QVIM_HINT_RGB), 3, QVIM_HINT_RGB, 4, 3},
              {table, resample(64), 1, QVIM_HINT_GREY, 64, 1},
              {deep, cells(0), 4, QVIM_HINT_BAYER4, 4, 3}};
  for (const auto &r : rows) {
    qvimage source, view;
    ASSERT_EQ(over(r.source, &source, r.make, &view), 0);
    EXPECT_EQ(view.d.pixies, r.pixies);
    EXPECT_EQ(view.d.pixelhint, r.hint);
    EXPECT_EQ(view.f.pixelsize, r.pixies * qvimdatasize(uint32_t(r.source.type)));
    EXPECT_EQ(view.imdim.se.x, r.width);
    EXPECT_EQ(view.imdim.se.y, r.height);
  }
}

TEST(Views, RefuseSetUpsThatOthersAccept) {
  const struct {
    form source;
    maker make;
    uint32_t mode, type, mask;
    int32_t code;
  } rows[] = {{four, tables(all, all), 0, QVIM_UINT16, 15, -19},
              {four, tables(all, all), 0, QVIM_UINT8, 3, -21},
              {rgb, colours(QVIM_HINT_CMYK), 0, QVIM_UINT8 | QVIM_SWAPPED, 15, -19},
              {rgb, colours(QVIM_HINT_CMYK), 0, QVIM_UINT8, 3, -21},
              {rgb, colours(QVIM_HINT_CMYK), 0, QVIM_UINT8, 7, -21},
              {rgb, colours(QVIM_HINT_CMYK), 0, QVIM_UINT8, 16, -21},
              {rgb, colours(QVIM_HINT_CMYK), 0, QVIM_UINT8, 31, -21},
              {rgb, component(4), 0, QVIM_UINT8, 2, -21},
              {rgb, component(4), 0, QVIM_UINT8, 3, -21},
              {deep, cells(0), 0, QVIM_UINT16, 1, -21},
              {deep, cells(0), 0, QVIM_UINT16, 7, -21},
              {deep, cells(0), 0, QVIM_UINT16, 31, -21},
              {deep, cells(0), 0, QVIM_UINT8, 15, -19},
              {table, resample(64), 0, QVIM_UINT16, 1, -19},
              {table, resample(64), 0, QVIM_UINT8, 2, -21},
              {table, resample(64), QVIM_ZSCAN, QVIM_UINT8, 1, -11}};
  qvimage source, view;
  for (const auto &r : rows) {
    ASSERT_EQ(over(r.source, &source, r.make, &view), 0);
    EXPECT_EQ(view.ioset(&view, r.mode, r.type, r.mask), r.code) << &r - rows;
  }
  EXPECT_EQ(view.aeiou(&view, 'b', 0, 0, nullptr), (source.aeiou(&source, 'b', 0, 0, nullptr) + 2) | 0x10000);
  EXPECT_EQ(view.aeiou(&view, 'I', 0, 0, nullptr), 0xFFFFFFFFu);
  view.source[0] = -65;  // itself
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 1), -5);
}

}  // namespace
