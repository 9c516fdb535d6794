// Windows: what counts as one, how long runs are, where a position goes next.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include <qvimage/null.h>
#include <qvimage/window.h>

#include "tests/views/values.hpp"

namespace {

using position = std::array<int32_t, 3>;

constexpr int32_t most = std::numeric_limits<int32_t>::max();

qvywindow window2(int32_t x0, int32_t y0, int32_t x1, int32_t y1) { return {{x0, y0}, {x1, y1}}; }
qvyzwindow window3(position nw, position se) { return {{nw[0], nw[1], nw[2]}, {se[0], se[1], se[2]}}; }

// --- checks ---

// A 2-D window on two of the three axes, from `low` to `high` on the third.
std::array<qvyzwindow, 3> turned(const qvywindow &w, int32_t low, int32_t high) {
  return {window3({w.nw.x, w.nw.y, low}, {w.se.x, w.se.y, high}),
          window3({low, w.nw.x, w.nw.y}, {high, w.se.x, w.se.y}),
          window3({w.nw.y, low, w.nw.x}, {w.se.y, high, w.se.x})};
}

TEST(WindowChecks, WindowIsValidWhenNwIsInsideTheQuadrantAndNotBeyondSe) {
  const struct {
    qvywindow window;
    int32_t result;
  } cases[] = {
      {{{0, 0}, {5, 5}}, 1},   {{{3, 4}, {4, 5}}, 1},   {{{0, 0}, {most, most}}, 1}, {{{0, 0}, {0, 5}}, 0},
      {{{2, 3}, {9, 3}}, 0},   {{{0, 0}, {0, 0}}, 0},   {{{2, 2}, {1, 5}}, -1},      {{{2, 2}, {5, 1}}, -1},
      {{{-1, 0}, {5, 5}}, -1}, {{{0, -1}, {5, 5}}, -1}, {{{-5, -5}, {-1, -1}}, -1},  {{{5, 0}, {-5, 0}}, -1},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(qvimchkwind(&c.window), c.result) << c.window.nw.x << ',' << c.window.nw.y;
    for (const auto &t : turned(c.window, 0, 1)) EXPECT_EQ(qvim3chkwind(&t), c.result);
  }
}

TEST(WindowChecks, InnerWindowMayTouchTheOuterOnesEdgesButNotPassThem) {
  const qvywindow outer = window2(2, 3, 10, 20);
  const struct {
    qvywindow inner;
    int32_t result;
  } cases[] = {
      {{{2, 3}, {10, 20}}, 1},  {{{4, 5}, {6, 7}}, 1},    {{{10, 20}, {10, 20}}, 0},
      {{{2, 3}, {2, 20}}, 0},   {{{1, 3}, {10, 20}}, -1}, {{{2, 2}, {10, 20}}, -1},
      {{{2, 3}, {11, 20}}, -1}, {{{2, 3}, {10, 21}}, -1}, {{{6, 5}, {4, 7}}, -1},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(qvimchkwindsub(&outer, &c.inner), c.result) << c.inner.nw.x;
    for (size_t i = 0; i < 3; i++)
      EXPECT_EQ(qvim3chkwindsub(&turned(outer, 4, 7)[i], &turned(c.inner, 4, 7)[i]), c.result) << i;
  }
  const qvywindow invalid = window2(5, 5, 4, 9), inside = window2(5, 5, 5, 5);
  EXPECT_EQ(qvimchkwindsub(&invalid, &inside), -1);
}

TEST(WindowChecks, PointAtSeIsOutsideUnlessTheEdgeCounts) {
  const qvyzwindow w3 = window3({2, 3, 4}, {5, 6, 7});
  const qvywindow w2 = window2(2, 3, 5, 6);
  for (int32_t x = 0; x < 9; x++)
    for (int32_t y = 0; y < 9; y++) {
      const qvxypoint p2{x, y};
      EXPECT_EQ(qvimchkxyi(&w2, &p2), x >= 2 && x < 5 && y >= 3 && y < 6);
      EXPECT_EQ(qvimchkxye(&w2, &p2), x >= 2 && x <= 5 && y >= 3 && y <= 6);
      for (int32_t z = 0; z < 9; z++) {
        const qvxyzpoint p3{x, y, z};
        EXPECT_EQ(qvim3chkxyzi(&w3, &p3), x >= 2 && x < 5 && y >= 3 && y < 6 && z >= 4 && z < 7);
        EXPECT_EQ(qvim3chkxyze(&w3, &p3), x >= 2 && x <= 5 && y >= 3 && y <= 6 && z >= 4 && z <= 7);
      }
    }
}

TEST(WindowChecks, DimensionsAreOnlyHeldAgainstZero) {
  const int32_t dims[][3] = {{1, 2, 3}, {-1, 5, 2}, {0, 5, 5}, {5, 0, 5}, {5, 5, 0}, {0, 0, 0}};
  const int32_t flat[] = {1, 1, 0, 0, 1, 0}, deep[] = {1, 1, 0, 0, 0, 0};
  for (int i = 0; i < 6; i++) {
    EXPECT_EQ(qvimchkxy(dims[i]), flat[i]);
    EXPECT_EQ(qvim3chkxyz(dims[i]), deep[i]);
  }
}

TEST(WindowChecks, OverlapAsksForACornerOfTheSecondWindowInTheFirst) {
  const qvywindow a = window2(0, 0, 10, 10);
  const struct {
    qvywindow b;
    int32_t result;
  } cases[] = {
      {{{2, 2}, {4, 4}}, 1},      // inside
      {{{5, 5}, {15, 15}}, 1},    // over a corner
      {{{-5, 2}, {15, 4}}, 0},    // crossing
      {{{-5, -5}, {15, 15}}, 0},  // around
      {{{-5, 2}, {0, 4}}, 1},     // touching at its se corner, which is taken as a point
      {{{10, 2}, {15, 4}}, 0},    // touching at its nw corner
      {{{20, 20}, {30, 30}}, 0},  // apart
  };
  for (const auto &c : cases)
    EXPECT_EQ(qvimchkwindoverlap(&a, &c.b), c.result) << c.b.nw.x << ' ' << c.b.se.x;

  const qvyzwindow a3 = window3({0, 0, 0}, {10, 10, 10});
  const qvyzwindow inside = window3({2, 2, 2}, {20, 20, 20}), beside = window3({2, 2, 10}, {4, 4, 20});
  EXPECT_EQ(qvim3chkwindoverlap(&a3, &inside), 1);
  EXPECT_EQ(qvim3chkwindoverlap(&a3, &beside), 0);
}

TEST(WindowChecks, ImageIsCheckedByItsOwnWindow) {
  const int32_t size[] = {10, 20, 30};
  qvimage image;
  ASSERT_EQ(qvimage_defnop(&image, size, nullptr, nullptr), 0);
  EXPECT_EQ(qvimchkimage(&image), 1);
  image.wind.se.x = 11;
  EXPECT_EQ(qvimchkimage(&image), -1);
  EXPECT_EQ(qvimchkimage(nullptr), -1);

  qvimage3 image3;
  qvimage3_defnull(&image3);
  EXPECT_EQ(qvim3chkimage(&image3), 0);
  image3.imdim.se = {10, 20, 30};
  image3.wind = {{0, 0, 29}, {10, 20, 31}};
  EXPECT_EQ(qvim3chkimage(&image3), -1);
  EXPECT_EQ(qvim3chkimage(nullptr), -1);
}

TEST(WindowChecks, ThreeDWindowLosesItsDepth) {
  const qvyzwindow from = window3({1, 2, 3}, {4, 5, 6});
  qvywindow to;
  qvimwind3to2(&from, &to);
  EXPECT_TRUE(to.nw.x == 1 && to.nw.y == 2 && to.se.x == 4 && to.se.y == 5);
}

// --- runs: the positions of a window one by one are the model's ---

constexpr uint32_t scans[] = {QVIM_XSCAN, QVIM_YSCAN, QVIM_ZSCAN};
constexpr position sizes[] = {{5, 3, 4}, {1, 7, 2}, {6, 1, 1}, {2, 2, 2}};
constexpr position origin{11, 22, 33};

// The forms along an axis: [checked][wrapped], and those of one pixel: [checked].
#define QVIM_RUNS(scan)                                            \
  {                                                                \
    {scan##nowrap, scan##wrap}, { scan##chknowrap, scan##chkwrap } \
  }
#define QVIM_ONES(scan) \
  { scan##1, scan##chk1 }

// 2-D and 3-D functions behind one face.
struct two_d {
  static constexpr int axes = 2;
  static constexpr qvimacclen_fn *runs[axes][2][2] = {QVIM_RUNS(qvimacclenxscan), QVIM_RUNS(qvimacclenyscan)},
                                 *ones[axes][2] = {QVIM_ONES(qvimacclenxscan), QVIM_ONES(qvimacclenyscan)};
  qvywindow w;
  explicit two_d(position s) : w(window2(origin[0], origin[1], origin[0] + s[0], origin[1] + s[1])) {}
  uint64_t length(qvimacclen_fn *f, position p) const { return f(&w, p[0], p[1]); }
  uint64_t acclen(position p, uint32_t mode) const { return qvimacclen(&w, p[0], p[1], mode); }
  uint64_t acclenchk(position p, uint32_t mode) const { return qvimacclenchk(&w, p[0], p[1], mode); }
  static auto func(uint32_t mode) { return qvimacclenfunc(nullptr, mode); }
  static auto func1(uint32_t mode) { return qvimacclen1func(nullptr, mode); }
  position advance(position p, int scan, uint32_t n) const {
    (scan == 0 ? qvimnewcoordxscan : qvimnewcoordyscan)(&w, &p[0], &p[1], n);
    return p;
  }
  position step(position p, int scan, int32_t d) const {
    (scan == 0 ? qvimnewcoordxscan1 : qvimnewcoordyscan1)(&w, &p[0], &p[1], d);
    return p;
  }
};
struct three_d {
  static constexpr int axes = 3;
  static constexpr qvim3acclen_fn *runs[axes][2][2] = {QVIM_RUNS(qvim3acclenxscan),
                                                       QVIM_RUNS(qvim3acclenyscan),
                                                       QVIM_RUNS(qvim3acclenzscan)},
                                  *ones[axes][2] = {QVIM_ONES(qvim3acclenxscan), QVIM_ONES(qvim3acclenyscan),
                                                    QVIM_ONES(qvim3acclenzscan)};
  qvyzwindow w;
  explicit three_d(position s) : w(window3(origin, {origin[0] + s[0], origin[1] + s[1], origin[2] + s[2]})) {}
  uint64_t length(qvim3acclen_fn *f, position p) const { return f(&w, p[0], p[1], p[2]); }
  uint64_t acclen(position p, uint32_t mode) const { return qvim3acclen(&w, p[0], p[1], p[2], mode); }
  uint64_t acclenchk(position p, uint32_t mode) const { return qvim3acclenchk(&w, p[0], p[1], p[2], mode); }
  static auto func(uint32_t mode) { return qvim3acclenfunc(nullptr, mode); }
  static auto func1(uint32_t mode) { return qvim3acclen1func(nullptr, mode); }
  position advance(position p, int scan, uint32_t n) const {
    constexpr decltype(&qvim3newcoordxscan) move[] = {qvim3newcoordxscan, qvim3newcoordyscan,
                                                      qvim3newcoordzscan};
    move[scan](&w, &p[0], &p[1], &p[2], n);
    return p;
  }
  position step(position p, int scan, int32_t d) const {
    constexpr decltype(&qvim3newcoordxscan1) move[] = {qvim3newcoordxscan1, qvim3newcoordyscan1,
                                                       qvim3newcoordzscan1};
    move[scan](&w, &p[0], &p[1], &p[2], d);
    return p;
  }
};

template <class Dim>
class Runs : public testing::Test {};
using both = testing::Types<two_d, three_d>;
TYPED_TEST_SUITE(Runs, both);

TYPED_TEST(Runs, LengthsCountThePositionsThatFollow) {
  for (position size : sizes) {
    if (TypeParam::axes == 2) size[2] = 1;
    const TypeParam window(size);
    for (int scan = 0; scan < TypeParam::axes; scan++) {
      const auto all = model::run_of(size, TypeParam::axes, scans[scan] | QVIM_WRAP, {}, UINT64_MAX);
      for (size_t i = 0; i < all.size(); i++)
        for (uint32_t wrap : {0u, uint32_t(QVIM_WRAP)}) {
          const uint32_t mode = scans[scan] | wrap;
          const uint64_t expected = model::run_of(size, TypeParam::axes, mode, all[i], UINT64_MAX).size();
          SCOPED_TRACE(testing::Message() << "scan " << scan << " mode " << mode << " position " << i);
          EXPECT_EQ(window.length(TypeParam::func(mode), all[i]), expected);
          EXPECT_EQ(window.length(TypeParam::func(mode | QVIM_TRUST), all[i]), expected);
          EXPECT_EQ(window.acclen(all[i], mode), expected);
          EXPECT_EQ(window.acclenchk(all[i], mode), expected);
          EXPECT_EQ(window.length(TypeParam::func1(mode), all[i]), 1u);
          EXPECT_EQ(window.length(TypeParam::func1(mode | QVIM_TRUST), all[i]), 1u);
        }
    }
  }
}

TYPED_TEST(Runs, CheckedLengthsAreZeroOutside) {
  const position size = TypeParam::axes == 2 ? position{5, 3, 1} : position{5, 3, 4};
  const TypeParam window(size);
  for (int axis = 0; axis < TypeParam::axes; axis++)
    for (int32_t outside : {-1, size[axis], size[axis] + 1, most, -most - 1}) {
      position p{};
      p[axis] = outside;
      for (int scan = 0; scan < TypeParam::axes; scan++)
        for (uint32_t wrap : {0u, uint32_t(QVIM_WRAP)}) {
          EXPECT_EQ(window.length(TypeParam::func(scans[scan] | wrap), p), 0u) << axis << ' ' << outside;
          EXPECT_EQ(window.acclenchk(p, scans[scan] | wrap), 0u) << axis << ' ' << outside;
          EXPECT_EQ(window.length(TypeParam::func1(scans[scan]), p), 0u) << axis << ' ' << outside;
          position none = size;  // a window without pixels
          none[axis] = 0;
          EXPECT_EQ(TypeParam(none).length(TypeParam::func(scans[scan] | wrap), {0, 0, 0}), 0u) << axis;
        }
    }
}

TYPED_TEST(Runs, ModeChoosesTheRoutine) {
  const uint32_t depth = QVIM_ZSCAN, both_scans = QVIM_YSCAN | QVIM_ZSCAN, wrap = QVIM_WRAP,
                 trust = QVIM_TRUST;
  const TypeParam window({5, 3, 4});
  for (const uint32_t ignored : {0u, ~(both_scans | wrap | trust)})
    for (const uint32_t how : {0u, wrap, trust, wrap | trust}) {
      for (int scan = 0; scan < TypeParam::axes; scan++) {
        const uint32_t mode = scans[scan] | how | ignored;
        EXPECT_EQ(TypeParam::func(mode), TypeParam::runs[scan][!(how & trust)][how & wrap ? 1 : 0]) << mode;
        EXPECT_EQ(TypeParam::func1(mode), TypeParam::ones[scan][!(how & trust)]) << mode;
      }
      for (const uint32_t lacked : {both_scans, TypeParam::axes == 2 ? depth : both_scans}) {
        EXPECT_EQ(TypeParam::func(lacked | how | ignored), TypeParam::runs[0][0][0]);
        EXPECT_EQ(TypeParam::func1(lacked | how | ignored), TypeParam::ones[0][0]);
        EXPECT_EQ(window.acclen({}, lacked | how) + window.acclenchk({}, lacked | how), 0u);
      }
    }
}

TYPED_TEST(Runs, AdvanceGoesToThePositionThatManyPlacesOn) {
  for (position size : sizes) {
    if (TypeParam::axes == 2) size[2] = 1;
    const TypeParam window(size);
    for (int scan = 0; scan < TypeParam::axes; scan++) {
      auto all = model::run_of(size, TypeParam::axes, scans[scan] | QVIM_WRAP, {}, UINT64_MAX);
      const int last = TypeParam::axes - (scan == TypeParam::axes - 1 ? 2 : 1);
      position end{};  // behind the last pixel a new line of the last axis begins
      end[last] = size[last];
      all.push_back(end);
      for (size_t i = 0; i + 1 < all.size(); i++) {
        for (size_t j = i; j < all.size(); j++)
          EXPECT_EQ(window.advance(all[i], scan, uint32_t(j - i)), all[j]) << scan << ' ' << i << ' ' << j;
        EXPECT_EQ(window.step(all[i], scan, 1), all[i + 1]) << scan << ' ' << i;
        EXPECT_EQ(window.step(all[i + 1], scan, -1), all[i]) << scan << ' ' << i;
      }
    }
  }
}

TYPED_TEST(Runs, AdvanceInAWindowWithEmptyLinesChangesNothing) {
  for (int scan = 0; scan < TypeParam::axes; scan++) {
    position size{5, 3, 4};
    size[scan] = 0;
    const position at{1, 2, 0};
    EXPECT_EQ(TypeParam(size).advance(at, scan, 7), at) << scan;
  }
}

TEST(RunLengths, AreExactInTheLargestWindow) {
  const qvywindow w = window2(0, 0, most, most);
  const uint64_t side = uint64_t(most);
  EXPECT_EQ(qvimacclen(&w, 0, 0, QVIM_WRAP), side * side);
  EXPECT_EQ(qvimacclenchk(&w, most - 1, most - 2, QVIM_WRAP), side + 1);
  EXPECT_EQ(qvimacclenyscanchkwrap(&w, most - 2, most - 1), side + 1);
  const qvyzwindow slab = window3({0, 0, 0}, {most, most, 3});
  EXPECT_EQ(qvim3acclen(&slab, 0, 0, 0, QVIM_WRAP), 3 * side * side);
  // Of one pixel, unchecked: the scanned axis alone counts.
  EXPECT_TRUE(qvimacclenxscan1(&w, most, 0) == 0 && qvimacclenxscan1(&w, 3, most) == 1);
  EXPECT_TRUE(qvimacclenyscan1(&w, 3, most) == 0 && qvimacclenyscan1(&w, most, 3) == 1);
}

TEST(Xwind, SetsAWindowThatLiesInTheImageAndAnswersTheOthers) {
  const int32_t size[] = {10, 20};
  qvimage image;
  qvimage_defnop(&image, size, nullptr, nullptr);
  qvywindow wanted = window2(1, 2, 3, 4), whole = image.imdim;
  const struct {
    qvywindow *given;
    int32_t letter, answer;
    void *place;                // what the pointer becomes
    const qvywindow &now, &to;  // the image's window, and what is found where the pointer led
  } cases[] = {{&wanted, 's', 1, &image, wanted, wanted},
               {&image.wind, 's', 1, &image, wanted, image.wind},  // a record stands for its window
               {&whole, 'w', 0, &image.wind, wanted, wanted},
               {nullptr, 'w', 0, &image.wind, wanted, wanted},
               {&whole, 'i', 0, &image.imdim, wanted, image.imdim},
               {nullptr, 'i', 0, &image.imdim, wanted, image.imdim},
               {&whole, 'q', 0, nullptr, wanted, image.imdim},
               {nullptr, 's', 1, &image, image.imdim, image.imdim}};  // none: the whole image
  for (const auto &c : cases) {
    qvywindow *w = c.given;
    EXPECT_EQ(qvimxwind(&image, &w, c.letter), c.answer) << &c - cases;
    EXPECT_EQ(static_cast<void *>(w), c.place) << &c - cases;
    EXPECT_EQ(std::memcmp(&image.wind, &c.now, sizeof wanted), 0) << &c - cases;
    EXPECT_TRUE(!c.given || std::memcmp(c.given, &c.to, sizeof wanted) == 0) << &c - cases;
  }
}

}  // namespace
