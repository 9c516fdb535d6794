// Views that only move pixels: what each is made with, and where its pixels lie in the source.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "tests/views/values.hpp"

namespace model {

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

struct decimated {
  int period[2], phase[2];
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

struct rotated {
  uint32_t flags;
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

struct halved {  // in its lines
  uint32_t odd;
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

struct deepened {
  int32_t build(qvimage3 *view, qvimage *source, bool shared) const {
    return qvimage_def3from2(view, source, shared);
  }
  pos place(const geometry &of, const pos &at) const { return {of.same(at, 0), of.same(at, 1), 0}; }
};

struct renumbered {
  int32_t offset;
  int32_t build(qvimage3 *view, qvimage3 *source, bool shared) const {
    return qvimage3_def3from3(view, source, offset, 3, 4, shared);
  }
  pos place(const geometry &of, const pos &at) const {
    const int depth = of.shared ? of.dims[2] : of.presented[2];
    const int z = ((of.absolute(at)[2] + offset) % depth + depth) % depth;
    return {of.same(at, 0), of.same(at, 1), of.shared ? z : z + of.within.nw[2]};
  }
};

struct monitored {
  int32_t build(qvimage *view, qvimage *source, bool shared) const {
    return qvimage_cachemonitor(view, source, shared, 0);
  }
  pos place(const geometry &of, const pos &at) const { return {of.same(at, 0), of.same(at, 1), 0}; }
};

// A 3-D image as a plane, or with its frames joined.
inline constexpr uint8_t below = 0x80, beside = 0x40;

struct frames_presented {
  uint32_t xaxis = 0, yaxis = 2;
  int32_t plane = 0;
  uint8_t flags = 0;
  pos place(const geometry &of, const pos &at) const;
};

inline pos place_of(const frames_presented &p, const extent &s, const pos &at) {
  if (p.flags == below) return {at[0], at[1] % s[1], at[1] / s[1]};
  if (p.flags == beside) return {at[0] % s[0], at[1], at[0] / s[0]};
  pos result{p.plane, p.plane, p.plane};
  result[p.xaxis / 2] = at[0];
  result[p.yaxis / 2] = at[1];
  return result;
}

inline pos frames_presented::place(const geometry &of, const pos &at) const {
  return sum(of.within.nw, place_of(*this, of.presented, of.absolute(at)));
}

// A table of a power of two entries with another number of them.
struct resampled {
  int spread;  // how many entries become one of the source, as a logarithm; negative: of how many one is left
  bool decimates;
  pos place(const geometry &of, const pos &at) const {
    const int x = of.absolute(at)[0];
    return {spread >= 0 ? x / (1 << spread) : decimates ? x * (1 << -spread) : x, of.absolute(at)[1], 0};
  }
};

// Where a component of a pixel of filter cells lies: in its cell, or in the nearest line and column of its
// kind that the window has.
inline int nearest_alike(int c, int begin, int end) {
  int best = -1;
  for (int i = begin; i < end; i++)
    if ((i - c) % 2 == 0 && (best < 0 || std::abs(i - c) < std::abs(best - c))) best = i;
  return best < 0 ? begin : best;
}
inline pos cell_value(const frame &reach, pos p, int phase, int component) {
  const int place = phase ^ component;
  const int in_cell[] = {place & 1, place >> 1};
  for (int axis = 0; axis < 2; axis++)
    p[axis] =
        nearest_alike((p[axis] & ~1) + in_cell[axis], reach.nw[axis], reach.nw[axis] + reach.size[axis]);
  return p;
}

}  // namespace model
