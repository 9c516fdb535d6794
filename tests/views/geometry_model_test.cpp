// Views that only move pixels, all against the slow model: each says where its pixels lie in the source.
#include "tests/views/geometry_model.hpp"

#include <gtest/gtest.h>

#include "tests/views/model.hpp"

namespace {

using namespace model;
using qvim::three_d;
using qvim::two_d;

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
    expect_equal(s.stored, expected);
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

// The source's window shrinks behind the back of a view with its own: some pixels can no longer be had.
TYPED_TEST(Geometry, PromisesWhatItMoves) {
  for_seeds(300, [](int seed) {
    scene<TypeParam> s;
    ASSERT_NO_FATAL_FAILURE(s.set_up(seed));
    if (s.shared) return;
    const frame had = frame_of(s.source.wind);
    frame left = random_part(s.g, had.size);
    left.nw = sum(left.nw, had.nw);
    ASSERT_NO_FATAL_FAILURE(set_window(&s.source, left));
    ASSERT_EQ(s.view.ioset(&s.view, s.r.mode, s.r.datatype, s.r.mask), 1);
    for (int i = 0; i < 8; i++) {
      const pos at = random_pos(s.g, s.size());
      const auto from = as_point<typename TypeParam::view_dim>(at);
      const uint32_t count = s.count();
      std::vector<uint8_t> buffer(count * size_t(s.r.size() * s.r.colours()));
      const uint32_t promised = qvim::call_length(&s.view, count, from);
      ASSERT_EQ(qvim::call_read(&s.view, 0, buffer.data(), count, from), promised);
      const auto run = run_of(s.size(), TypeParam::view_dim::axes, s.r.mode, at, count);
      size_t served = 0;
      while (served < run.size()) {
        const pos there = s.in_source(run[served]);
        if (!holds(left.size, {there[0] - left.nw[0], there[1] - left.nw[1], there[2] - left.nw[2]})) break;
        served++;
      }
      ASSERT_EQ(promised, served);
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
    expect_equal(s.stored, expected);
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
    ASSERT_EQ(frame_of(view.wind), frame_of(view.imdim));
    const extent reached{seen.size[0], seen.size[1], 1};
    ASSERT_NO_FATAL_FAILURE(set_window(&view, chance(g, 50) ? random_part(g, reached) : frame{{}, reached}));
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
