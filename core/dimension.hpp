// The dimension trait: what differs between 2-D and 3-D images. Everything else is written once over it.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include <qvimage/record.h>
#include <qvimage/window.h>

#include "kernels/words.hpp"

namespace qvim {

struct two_d {
  static constexpr int axes = 2;
  using record = qvimage;
  using window = qvywindow;
  using point = std::array<int32_t, 2>;
  using length_fn = qvimacclen_fn;
};

struct three_d {
  static constexpr int axes = 3;
  using record = qvimage3;
  using window = qvyzwindow;
  using point = std::array<int32_t, 3>;
  using length_fn = qvim3acclen_fn;
};

template <class Record>
struct dimension_of_record;
template <>
struct dimension_of_record<qvimage> {
  using type = two_d;
};
template <>
struct dimension_of_record<qvimage3> {
  using type = three_d;
};
template <class Record>
using dimension_of = typename dimension_of_record<Record>::type;

template <class Dim>
using record = typename Dim::record;
template <class Dim>
using point = typename Dim::point;  // a position, one coordinate an axis: x, y, z

// The position that an entry of a block transfer's list names.
template <class Dim>
point<Dim> position_of(const qvxyzcoord &entry) {
  if constexpr (Dim::axes == 2)
    return {entry.x, entry.y};
  else
    return {entry.x, entry.y, entry.z};
}

// Coordinates come from callers and from kinds of any origin: they wrap around, and what lies outside is
// found to be outside.
constexpr int32_t moved(int32_t at, int32_t by) { return int32_t(uint32_t(at) + uint32_t(by)); }
constexpr int32_t distance(int32_t from, int32_t to) { return int32_t(uint32_t(to) - uint32_t(from)); }

// The sides of a window, below 0 where its corners are exchanged.
constexpr int64_t width_of(const qvywindow &w) { return int64_t(w.se.x) - w.nw.x; }
constexpr int64_t height_of(const qvywindow &w) { return int64_t(w.se.y) - w.nw.y; }

// A window with its axes as arrays. Unsigned extents: a valid window is never wider than 2^31 - 1.
template <class Dim>
struct box {
  point<Dim> nw, se;

  static box of(const typename Dim::window *window) {
    static_assert(sizeof(box) == sizeof(*window));
    box result;
    std::memcpy(&result, window, sizeof result);
    return result;
  }
  uint32_t extent(int axis) const { return uint32_t(se[axis]) - uint32_t(nw[axis]); }
  // One unsigned comparison an axis: a negative position lies outside.
  bool holds(const point<Dim> &at) const {
    bool inside = true;
    for (int axis = 0; axis < Dim::axes; axis++) inside &= uint32_t(at[axis]) < extent(axis);
    return inside;
  }
};

// Scan orders, named by the axis along which runs go.
enum class scan : uint32_t { x = 0, y = 1, z = 2 };

// The axes in the order in which a wrapped run passes over them: the scanned one, then the others ascending.
template <class Dim>
constexpr std::array<int, Dim::axes> axes_of(scan s) {
  std::array<int, Dim::axes> order{int(s)};
  for (int axis = 0, next = 1; axis < Dim::axes; axis++)
    if (axis != int(s)) order[next++] = axis;
  return order;
}

// The scan bits of a mode word; false when they name no axis of this dimension.
template <class Dim>
constexpr bool scan_of_mode(uint32_t mode, scan *result) {
  const uint32_t axis = (mode & scan_bits) / QVIM_YSCAN;
  *result = scan(axis);
  return axis < uint32_t(Dim::axes);
}

// Slot functions have their coordinates side by side; library code has them in a point. slots<Dim> turns a
// function F over points into a slot function, and calls slots with points.
template <class Dim>
struct slots;

template <>
struct slots<two_d> {
  template <auto F>
  static uint32_t read(qvimage *im, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y) {
    return F(im, mode, buffer, count, {x, y});
  }
  template <auto F>
  static uint32_t write(qvimage *im, uint32_t mode, const void *buffer, uint32_t count, int32_t x,
                        int32_t y) {
    return F(im, mode, buffer, count, {x, y});
  }
  template <auto F>
  static uint32_t length(qvimage *im, uint32_t count, int32_t x, int32_t y) {
    return F(im, count, {x, y});
  }
  template <auto F>
  static int32_t map(qvimage *im, qvimagemap *map, int32_t x, int32_t y) {
    return F(im, map, {x, y});
  }
};

template <>
struct slots<three_d> {
  template <auto F>
  static uint32_t read(qvimage3 *im, uint32_t mode, void *buffer, uint32_t count, int32_t x, int32_t y,
                       int32_t z) {
    return F(im, mode, buffer, count, {x, y, z});
  }
  template <auto F>
  static uint32_t write(qvimage3 *im, uint32_t mode, const void *buffer, uint32_t count, int32_t x, int32_t y,
                        int32_t z) {
    return F(im, mode, buffer, count, {x, y, z});
  }
  template <auto F>
  static uint32_t length(qvimage3 *im, uint32_t count, int32_t x, int32_t y, int32_t z) {
    return F(im, count, {x, y, z});
  }
  template <auto F>
  static int32_t map(qvimage3 *im, qvimagemap *map, int32_t x, int32_t y, int32_t z) {
    return F(im, map, {x, y, z});
  }
};

inline uint32_t call_read(qvimage *im, uint32_t mode, void *buffer, uint32_t count, const two_d::point &at) {
  return im->ioread(im, mode, buffer, count, at[0], at[1]);
}
inline uint32_t call_read(qvimage3 *im, uint32_t mode, void *buffer, uint32_t count,
                          const three_d::point &at) {
  return im->ioread(im, mode, buffer, count, at[0], at[1], at[2]);
}
inline uint32_t call_write(qvimage *im, uint32_t mode, const void *buffer, uint32_t count,
                           const two_d::point &at) {
  return im->iorite(im, mode, buffer, count, at[0], at[1]);
}
inline uint32_t call_write(qvimage3 *im, uint32_t mode, const void *buffer, uint32_t count,
                           const three_d::point &at) {
  return im->iorite(im, mode, buffer, count, at[0], at[1], at[2]);
}
inline uint32_t call_length(qvimage *im, uint32_t count, const two_d::point &at) {
  return im->iolen(im, count, at[0], at[1]);
}
inline uint32_t call_length(qvimage3 *im, uint32_t count, const three_d::point &at) {
  return im->iolen(im, count, at[0], at[1], at[2]);
}
inline int32_t call_map(qvimage *im, qvimagemap *map, const two_d::point &at) {
  return im->imap(im, map, at[0], at[1]);
}
inline int32_t call_map(qvimage3 *im, qvimagemap *map, const three_d::point &at) {
  return im->imap(im, map, at[0], at[1], at[2]);
}
inline uint64_t call_length_fn(qvimacclen_fn *fn, const qvywindow *window, const two_d::point &at) {
  return fn(window, at[0], at[1]);
}
inline uint64_t call_length_fn(qvim3acclen_fn *fn, const qvyzwindow *window, const three_d::point &at) {
  return fn(window, at[0], at[1], at[2]);
}

// The access-length routine for a mode.
inline qvimacclen_fn *access_length(const qvimage *im, uint32_t mode) { return qvimacclenfunc(im, mode); }
inline qvim3acclen_fn *access_length(const qvimage3 *im, uint32_t mode) { return qvim3acclenfunc(im, mode); }

}  // namespace qvim
