// Views that only move pixels, all against the slow model: each says where its pixels lie in the source.
#include <gtest/gtest.h>

#include "tests/convert/model.hpp"

namespace {

using namespace model;
using qvim::three_d;
using qvim::two_d;

// What a view's place in its source depends on.
struct geometry {
  frame within;      // the source's window
  frame window;      // the view's window
  extent dims;       // of the source's pixels
  extent presented;  // the source's window when the view was built
  bool shared;
  pos absolute(const pos &at) const { return sum(at, window.nw); }
  // Along an axis that the view passes on: where in the source's pixels.
  int same(const pos &at, int axis) const {
    return at[axis] + within.nw[axis] + (shared ? 0 : window.nw[axis]);
  }
};

template <class Source, class View>
struct kind {
  using source_dim = Source;
  using view_dim = View;
  static constexpr bool shares = true, keeps_imdim = false;
  static constexpr int scans = View::axes;
  static pixel_choice choice() { return {}; }
  void pick(generator &, const extent &) {}
  extent size(const extent &e) const { return e; }
};

struct decimated : kind<two_d, two_d> {
  static constexpr bool shares = false;
  static pixel_choice choice() {
    pixel_choice c;
    c.types = {QVIM_UINT8, QVIM_UINT16};
    c.most_pixies = 1;
    return c;
  }
  int period[2], phase[2];
  void pick(generator &g, const extent &e) {
    for (int axis = 0; axis < 2; axis++) {
      period[axis] = between(g, 1, chance(g, 20) ? e[axis] : std::min(e[axis], 4));
      phase[axis] = between(g, 0, period[axis] - 1);
    }
  }
  extent size(const extent &e) const { return {e[0] / period[0], e[1] / period[1], 1}; }
  int32_t build(qvimage *view, qvimage *source, bool) const {
    return qvimage_decimate(view, source, 77, uint32_t(period[0]), uint32_t(period[1]), uint32_t(phase[0]),
                            uint32_t(phase[1]));
  }
  pos place(const geometry &of, const pos &at) const {
    pos p = of.absolute(at);
    for (int axis = 0; axis < 2; axis++) p[axis] = p[axis] * period[axis] + phase[axis];
    return sum(p, of.within.nw);
  }
};

struct rotated : kind<two_d, two_d> {
  static pixel_choice choice() {
    pixel_choice c;
    c.types = {QVIM_UINT8, QVIM_UINT16};
    c.most_pixies = 9;
    c.most = {70, 40, 1};
    return c;
  }
  uint32_t flags;
  void pick(generator &g, const extent &) { flags = uint32_t(between(g, 0, 7)); }
  extent size(const extent &e) const { return flags & 1 ? extent{e[1], e[0], 1} : e; }
  int32_t build(qvimage *view, qvimage *source, bool shared) const {
    return qvimage_rotate_filt(view, source, shared, flags);
  }
  pos place(const geometry &of, const pos &at) const {
    pos p = of.shared ? at : of.absolute(at);
    const extent whole = of.shared ? of.window.size : size(of.presented);
    if (flags & 4) p[0] = whole[0] - 1 - p[0];
    if (flags & 2) p[1] = whole[1] - 1 - p[1];
    if (flags & 1) std::swap(p[0], p[1]);
    return sum(p, of.within.nw);
  }
};

struct halved : kind<two_d, two_d> {  // in its lines
  uint32_t odd;
  void pick(generator &g, const extent &e) { odd = e[1] > 1 ? uint32_t(between(g, 0, 1)) : 0; }
  int32_t build(qvimage *view, qvimage *source, bool shared) const {
    return qvimage_yodd(view, source, shared, odd);
  }
  pos place(const geometry &of, const pos &at) const {
    const int line = of.absolute(at)[1], first = of.shared ? of.within.nw[1] : 0,
              end = first + of.within.size[1];
    const auto inside = [&](int y) { return y >= first && y < end; };
    const int wanted = line - line % 2 + int(odd);
    int y = line;
    for (const int candidate : {wanted - 2, wanted + 2, wanted})
      if (inside(candidate)) y = candidate;
    return {of.same(at, 0), of.shared ? y : y + of.within.nw[1], 0};
  }
};

struct deepened : kind<two_d, three_d> {
  static constexpr int scans = 2;
  int32_t build(qvimage3 *view, qvimage *source, bool shared) const {
    return qvimage_def3from2(view, source, shared);
  }
  pos place(const geometry &of, const pos &at) const { return {of.same(at, 0), of.same(at, 1), 0}; }
};

struct renumbered : kind<three_d, three_d> {
  static constexpr bool keeps_imdim = true;
  int32_t offset;
  void pick(generator &g, const extent &) { offset = chance(g, 20) ? 0 : between(g, -9, 9); }
  int32_t build(qvimage3 *view, qvimage3 *source, bool shared) const {
    return qvimage3_def3from3(view, source, offset, 3, 4, shared);
  }
  pos place(const geometry &of, const pos &at) const {
    const int depth = of.shared ? of.dims[2] : of.presented[2];
    const int z = ((of.absolute(at)[2] + offset) % depth + depth) % depth;
    return {of.same(at, 0), of.same(at, 1), of.shared ? z : z + of.within.nw[2]};
  }
};

struct monitored : kind<two_d, two_d> {
  static constexpr bool keeps_imdim = true;
  int32_t build(qvimage *view, qvimage *source, bool shared) const {
    return qvimage_cachemonitor(view, source, shared, 0);
  }
  pos place(const geometry &of, const pos &at) const { return {of.same(at, 0), of.same(at, 1), 0}; }
};

template <class Kind>
struct scene {
  using source_dim = typename Kind::source_dim;
  using view_dim = typename Kind::view_dim;
  generator g;
  pixels stored;
  qvim::record<source_dim> source;
  qvim::record<view_dim> view;
  Kind how;
  bool shared;
  extent presented;
  request r;

  void set_up(int seed) {
    g.seed(uint64_t(seed));
    pixel_choice choice = Kind::choice();
    if (chance(g, 25)) choice.most = {chance(g, 50) ? 3000 : 4, chance(g, 50) ? 2500 : 3, 1};
    if (choice.most[0] * choice.most[1] > 1000000) choice.most[1] = 3;
    stored = random_pixels(g, source_dim::axes, choice);
    ASSERT_NO_FATAL_FAILURE(build(&source, stored));
    shared = Kind::shares && chance(g, 40);
    const bool whole_depth = shared && Kind::keeps_imdim;  // else not all frames are served
    if (chance(g, 60)) {
      ASSERT_NO_FATAL_FAILURE(set_window(&source, part(stored.dims, whole_depth)));
    }
    presented = frame_of(source.wind).size;
    how.pick(g, presented);
    ASSERT_EQ(how.build(&view, &source, shared), 0);
    const bool whole = shared || Kind::keeps_imdim;
    ASSERT_EQ(frame_of(view.imdim), (frame{{}, how.size(whole ? stored.dims : presented)}));
    ASSERT_EQ(frame_of(view.wind).size, how.size(presented));
    if (chance(g, 50)) {
      const extent e = how.size(shared ? stored.dims : presented);
      ASSERT_NO_FATAL_FAILURE(set_window(&view, part(e, whole_depth)));
    }
    if (shared) {
      ASSERT_EQ(frame_of(source.wind).size, how.size(frame_of(view.wind).size));
    }
    r = {random_mode(g, Kind::scans), uint32_t(stored.d.pixietype) | random_flags(g),
         random_mask(g, stored.d.pixies)};
  }
  frame part(const extent &of, bool whole_depth) {
    frame f = random_part(g, of);
    if (whole_depth) f.nw[2] = 0, f.size[2] = of[2];
    return f;
  }
  extent size() const { return frame_of(view.wind).size; }
  pos in_source(const pos &at) const {
    return how.place({frame_of(source.wind), frame_of(view.wind), stored.dims, presented, shared}, at);
  }
  uint32_t count() { return uint32_t(between(g, 1, chance(g, 25) ? 9000 : 200)); }
};

template <class Kind>
struct Geometry : testing::Test {};
using kinds = testing::Types<decimated, rotated, halved, deepened, renumbered, monitored>;
TYPED_TEST_SUITE(Geometry, kinds);

TYPED_TEST(Geometry, ReadsWhatTheModelSays) {
  for_seeds(300, [](int seed) {
    scene<TypeParam> s;
    ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
    ASSERT_EQ(s.view.ioset(&s.view, s.r.mode, s.r.datatype, s.r.mask), 1);
    const auto expected = [&](const pos &at, int pixie) {
      return as_read(s.stored, s.stored.get(s.in_source(at), pixie), s.r.datatype);
    };
    for (int i = 0; i < 4; i++)
      ASSERT_NO_FATAL_FAILURE(check_read<typename TypeParam::view_dim>(
          &s.view, s.r, random_pos(s.g, s.size()), s.count(), expected));
  });
}

TYPED_TEST(Geometry, WritesWhatTheModelSaysAndNothingElse) {
  for_seeds(300, [](int seed) {
    scene<TypeParam> s;
    ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
    pixels expected = s.stored;
    ASSERT_EQ(s.view.ioset(&s.view, s.r.mode, s.r.datatype, s.r.mask), 1);
    for (int i = 0; i < 4; i++)
      ASSERT_NO_FATAL_FAILURE(check_write<typename TypeParam::view_dim>(
          &s.view, s.r, random_pos(s.g, s.size()), s.count(),
          [&] { return random_given(s.g, s.stored, s.r.datatype); },
          [&](const pos &at, int pixie, uint64_t v) {
            expected.put(s.in_source(at), pixie, as_written(s.stored, v, s.r.datatype));
          }));
    s.stored.expect_equal(expected);
  });
}

TYPED_TEST(Geometry, MovesNothingOutsideItsWindow) {
  for_seeds(40, [](int seed) {
    scene<TypeParam> s;
    ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
    ASSERT_EQ(s.view.ioset(&s.view, s.r.mode, s.r.datatype, s.r.mask), 1);
    const extent e = s.size();
    uint8_t buffer[256];
    for (const pos &p : {pos{-1, 0}, pos{0, -1}, pos{e[0], 0}, pos{0, e[1]}, pos{INT32_MAX, INT32_MIN}}) {
      const auto at = as_point<typename TypeParam::view_dim>(p);
      EXPECT_EQ(qvim::call_read(&s.view, 0, buffer, 1, at), 0u);
      EXPECT_EQ(qvim::call_write(&s.view, 0, buffer, 1, at), 0u);
      EXPECT_EQ(qvim::call_length(&s.view, 1, at), 0u);
    }
  });
}

TYPED_TEST(Geometry, TransfersBlocks) {
  for_seeds(200, [](int seed) {
    scene<TypeParam> s;
    ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
    s.r.mask = uint32_t(ones(s.stored.d.pixies));
    if (s.stored.d.pixies > 8) return;  // a generic block transfer names eight components
    ASSERT_GE(s.view.bxts(&s.view, 0, s.r.datatype, s.r.mask), 0);
    const bool writes = chance(s.g, 50);
    pixels expected = s.stored;
    pos places[40];
    qvxyzcoord list[40];
    const size_t pixel = size_t(s.r.size() * s.stored.d.pixies);
    std::vector<uint8_t> buffer(40 * pixel, 0xA5);
    for (size_t i = 0; i < 40; i++) {
      places[i] = random_pos(s.g, s.size());
      list[i] = {places[i][0], places[i][1], places[i][2]};
      if (i == 7) list[i].x = s.size()[0];  // outside
      for (int c = 0; writes && c < s.stored.d.pixies; c++) {
        const uint64_t v = random_given(s.g, s.stored, s.r.datatype);
        store(&buffer[i * pixel + size_t(c * s.r.size())], s.r.size(), s.r.reversed(), v);
        if (i != 7) expected.put(s.in_source(places[i]), c, as_written(s.stored, v, s.r.datatype));
      }
    }
    const uint32_t op = writes ? QVIM_OP_WRITE : QVIM_OP_READ;
    ASSERT_EQ(s.view.bxta(&s.view, QVIM_LIST, buffer.data(), list, 40, op), 40u);
    s.stored.expect_equal(expected);
    for (size_t i = 0; !writes && i < 40; i++)
      for (int c = 0; c < s.stored.d.pixies; c++) {
        const uint8_t *value = &buffer[i * pixel + size_t(c * s.r.size())];
        if (i == 7)
          ASSERT_EQ(*value, 0xA5);
        else
          ASSERT_NO_FATAL_FAILURE(expect_pixie(
              value, s.r, as_read(s.stored, s.stored.get(s.in_source(places[i]), c), s.r.datatype), places[i],
              c));
      }
  });
}

TYPED_TEST(Geometry, MapsPixelsWhereTheyLieOrNotAtAll) {
  int mapped = 0;
  for_seeds(200, [&](int seed) {
    scene<TypeParam> s;
    ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
    const qvimagedata &d = s.stored.d;
    uint32_t type = uint32_t(d.pixietype);
    if (s.stored.integer())
      type |= uint32_t(d.i_bitsxsb & 0x300) % 0x300 | uint32_t(d.i_dirtyread) | uint32_t(d.i_endian);
    const uint32_t mode = s.r.mode | QVIM_STEP;
    if (s.view.imapset(&s.view, mode, type, uint32_t(ones(d.pixies))) < 0) return;
    const pos at = random_pos(s.g, s.size());
    qvimagemap map{};
    ASSERT_EQ(qvim::call_map(&s.view, &map, as_point<typename TypeParam::view_dim>(at)), 1);
    const auto run = run_of(s.size(), TypeParam::view_dim::axes, mode, at, map.length);
    ASSERT_EQ(run.size(), uint64_t{map.length});
    for (size_t i = 0; i < run.size(); i++)
      ASSERT_EQ(
          map.address + i * map.step,
          uint64_t(reinterpret_cast<uintptr_t>(&s.stored.bytes[s.stored.offset(s.in_source(run[i]), 0)])));
    mapped++;
  });
  EXPECT_EQ(mapped > 0, (!std::is_same_v<TypeParam, decimated>));
}

// --- the mean of frames ------------------------------------------------------------------------------

struct mean_scene {
  generator g;
  pixels stored, shown;
  qvimage3 source;
  qvimage view;

  void set_up(int seed) {
    g.seed(uint64_t(seed));
    pixel_choice choice;
    choice.types = {QVIM_UINT8, QVIM_UINT16};
    choice.most = {chance(g, 20) ? 1500 : 40, 6, 9};
    stored = random_pixels(g, 3, choice);
    ASSERT_NO_FATAL_FAILURE(build(&source, stored));
    if (chance(g, 60)) {
      ASSERT_NO_FATAL_FAILURE(set_window(&source, random_part(g, stored.dims)));
    }
    ASSERT_EQ(qvimage_stack(&view, &source), 0);
    ASSERT_EQ(frame_of(view.imdim).size, (extent{stored.dims[0], stored.dims[1], 1}));
    const frame seen = frame_of(source.wind);
    ASSERT_EQ(frame_of(view.wind).size, (extent{seen.size[0], seen.size[1], 1}));
    if (chance(g, 50)) {
      ASSERT_NO_FATAL_FAILURE(set_window(&view, random_part(g, {seen.size[0], seen.size[1], 1})));
    }
    shown.d = view.d;
    shown.dims = stored.dims;
  }
  uint64_t mean(const pos &at, int pixie) const {
    const frame seen = frame_of(source.wind);
    const pos p = sum(sum(at, frame_of(view.wind).nw), seen.nw);
    const uint64_t n = uint64_t(seen.size[2]);
    uint64_t total = 0;
    for (int z = 0; z < seen.size[2]; z++)
      total += as_read(stored, stored.get({p[0], p[1], z + seen.nw[2]}, pixie), QVIM_LSB).value;
    return (2 * total + n) / (2 * n);
  }
};

TEST(Stack, ReadsTheMeanOfTheFrames) {
  for_seeds(300, [](int seed) {
    mean_scene s;
    ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
    const request r = {random_mode(s.g, 2), uint32_t(s.stored.d.pixietype) | random_flags(s.g),
                       random_mask(s.g, s.stored.d.pixies)};
    ASSERT_EQ(s.view.ioset(&s.view, r.mode, r.datatype, r.mask), 1);
    const auto expected = [&](const pos &at, int pixie) {
      return as_read(s.shown, s.mean(at, pixie), r.datatype);
    };
    const extent e = frame_of(s.view.wind).size;
    for (int i = 0; i < 4; i++)
      ASSERT_NO_FATAL_FAILURE(check_read<two_d>(
          &s.view, r, random_pos(s.g, e), uint32_t(between(s.g, 1, chance(s.g, 25) ? 4000 : 100)), expected));
  });
}

TEST(Stack, ReadsScatteredMeans) {
  for_seeds(100, [](int seed) {
    mean_scene s;
    ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
    const request r = {0, uint32_t(s.stored.d.pixietype) | random_flags(s.g),
                       uint32_t(ones(s.stored.d.pixies))};
    ASSERT_GE(s.view.bxts(&s.view, 0, r.datatype, r.mask), 0);
    std::vector<uint8_t> value(size_t(r.size() * r.colours()));
    for (int i = 0; i < 10; i++) {
      const pos at = random_pos(s.g, frame_of(s.view.wind).size);
      qvxyzcoord entry = {at[0], at[1], 0};
      ASSERT_EQ(s.view.bxta(&s.view, QVIM_LIST, value.data(), &entry, 1, QVIM_OP_READ), 1u);
      for (int c = 0; c < r.colours(); c++)
        ASSERT_NO_FATAL_FAILURE(expect_pixie(&value[size_t(c * r.size())], r,
                                             as_read(s.shown, s.mean(at, c), r.datatype), at, c));
    }
  });
}

}  // namespace
