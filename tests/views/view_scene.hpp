// A random memory image with a view over it, windows and requests of any kind, and the accesses that are
// checked against a model of whole pixels: what the view's pixel reads as, and what the source holds after it
// was written.
#pragma once

#include <algorithm>

#include "tests/views/model.hpp"

namespace model {

inline void describe(pixels &im, generator &g, const qvimagedata &d, int axes, const extent &most) {
  im.d = d;
  for (int axis = 0; axis < axes; axis++) im.dims[axis] = between(g, 1, most[axis]);
  const int pixel = d.pixies * im.size();
  im.pitch = uint32_t(im.dims[0] * pixel + (chance(g, 50) ? between(g, 1, 9) : 0));
  im.planepitch = im.pitch * uint32_t(im.dims[1]) + uint32_t(chance(g, 30) ? between(g, 1, 50) : 0);
  im.allocate();
  im.fill(g, im.dirty());
}

template <class Dim>
struct view_scene {
  generator g;
  pixels stored;
  qvim::record<Dim> source, view;
  frame within;  // the source's window, as the view was built
  bool shared = false;
  request r{};

  // Over `stored`, which the test made: construct(view, source, shared) is the constructor's result.
  template <class Construct>
  void set_up(Construct construct) {
    ASSERT_NO_FATAL_FAILURE(build(&source, stored));
    if (chance(g, 60)) {
      ASSERT_NO_FATAL_FAILURE(set_window(&source, random_part(g, stored.dims)));
    }
    within = frame_of(source.wind);
    shared = chance(g, 40);
    ASSERT_EQ(construct(&view, &source, shared), 0);
    ASSERT_EQ(frame_of(view.wind), shared ? within : (frame{{0, 0, 0}, within.size}));
    if (chance(g, 60)) {
      ASSERT_NO_FATAL_FAILURE(set_window(&view, random_part(g, frame_of(view.imdim).size)));
    }
  }
  extent size() const { return frame_of(view.wind).size; }
  // A position of the view's window in the view's image, and in the source's.
  pos in_view(const pos &at) const { return sum(frame_of(view.wind).nw, at); }
  pos in_source(const pos &at) const { return shared ? in_view(at) : sum(within.nw, in_view(at)); }
  std::string text() const {
    char line[160];
    std::snprintf(
        line, sizeof line, "; source type %d pixies %d used %d xsb 0x%x dirty %d/%d endian %d shared %d",
        stored.d.pixietype, stored.d.pixies, stored.used(), stored.integer() ? stored.d.i_bitsxsb : 0,
        stored.dirty(), stored.tolerant(), stored.reversed(), shared);
    return r.text() + line;
  }
  // Whole pixels or one pixie of those that the view has.
  uint32_t one_or_all() {
    const int pixies = view.d.pixies;
    return chance(g, 60) ? uint32_t(ones(pixies)) : 1u << between(g, 0, pixies - 1);
  }

  // expected(position in the view's window, pixie)
  template <class Expected>
  void check_reads(Expected expected) {
    ASSERT_EQ(view.ioset(&view, r.mode, r.datatype, r.mask), 1);
    for (int i = 0; i < 4; i++)
      ASSERT_NO_FATAL_FAILURE(check_read<Dim>(&view, r, random_pos(g, size()),
                                              uint32_t(between(g, 1, i == 3 ? 9000 : 200)), expected));
  }

  // given() is a value to write; apply(position, values of its selected pixies).
  template <class Given, class Apply>
  void check_writes(Given given, Apply apply) {
    ASSERT_EQ(view.ioset(&view, r.mode, r.datatype, r.mask), 1);
    for (int i = 0; i < 4; i++) {
      std::vector<uint64_t> values;
      ASSERT_NO_FATAL_FAILURE(check_write<Dim>(&view, r, random_pos(g, size()),
                                               uint32_t(between(g, 1, i == 3 ? 9000 : 200)), given,
                                               [&](const pos &at, int, uint64_t v) {
                                                 values.push_back(v);
                                                 if (values.size() < size_t(r.colours())) return;
                                                 apply(at, values);
                                                 values.clear();
                                               }));
    }
  }

  // Scattered pixels, each once, some positions outside; reading and writing.
  template <class Expected, class Given, class Apply>
  void check_blocks(Expected expected, Given given, Apply apply) {
    ASSERT_EQ(view.bxts(&view, 0, r.datatype, r.mask), 1);
    std::vector<qvxyzcoord> list;
    for (int n = between(g, 1, 60); n > 0; n--) {
      pos p = random_pos(g, size());
      if (chance(g, 10)) p[between(g, 0, Dim::axes - 1)] = chance(g, 50) ? -between(g, 1, 9) : 1000;
      const qvxyzcoord entry{p[0], p[1], p[2]};
      if (std::none_of(list.begin(), list.end(),
                       [&](const auto &e) { return std::memcmp(&e, &entry, sizeof e) == 0; }))
        list.push_back(entry);
    }
    const uint32_t ops[] = {QVIM_OP_READ, QVIM_OP_WRITE, QVIM_OP_EXCHANGE}, op = one_of(g, ops);
    const size_t pixel = size_t(r.size() * r.colours());
    std::vector<uint8_t> buffer(list.size() * pixel);
    std::vector<std::vector<uint64_t>> values(list.size());
    for (size_t i = 0; i < list.size(); i++)
      for (int c = 0; c < r.colours(); c++) {
        values[i].push_back(given());
        store(&buffer[i * pixel + size_t(c * r.size())], r.size(), r.reversed(), values[i].back());
      }
    const auto before = buffer;
    std::vector<qvxyzcoord> sent = list;
    const uint32_t mode = view.bxtp(&view, QVIM_LIST, buffer.data(), sent.data(), uint32_t(list.size()), op)
                              ? 0
                              : uint32_t(QVIM_LIST);
    // What is read is judged by the source as it was.
    std::vector<bits> presented;
    for (const auto &e : list)
      for (int c = 0; c < r.colours(); c++) {
        const pos at{e.x, e.y, e.z};
        presented.push_back(holds(size(), at) ? expected(at, r.first() + c) : bits{0, 0});
      }
    ASSERT_EQ(view.bxta(&view, mode, buffer.data(), sent.data(), uint32_t(list.size()), op), list.size());
    for (size_t i = 0; i < list.size(); i++) {
      const pos at{list[i].x, list[i].y, list[i].z};
      const bool inside = holds(size(), at);
      for (int c = 0; c < r.colours(); c++) {
        const size_t place = i * pixel + size_t(c * r.size());
        if (inside && op != QVIM_OP_WRITE) {
          ASSERT_NO_FATAL_FAILURE(
              expect_pixie(&buffer[place], r, presented[i * size_t(r.colours()) + size_t(c)], at, c));
        } else {
          ASSERT_EQ(std::memcmp(&buffer[place], &before[place], size_t(r.size())), 0);
        }
      }
      if (inside && op != QVIM_OP_READ) apply(at, values[i]);
    }
  }
};

// The same constructor call for either dimension.
#define QVIM_EITHER_DIMENSION(name, two, three)                            \
  template <class... Arguments>                                            \
  int32_t name(qvimage *view, qvimage *source, Arguments... arguments) {   \
    return two(view, source, arguments...);                                \
  }                                                                        \
  template <class... Arguments>                                            \
  int32_t name(qvimage3 *view, qvimage3 *source, Arguments... arguments) { \
    return three(view, source, arguments...);                              \
  }

}  // namespace model
