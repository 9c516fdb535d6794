// Windows: checks, access lengths, coordinate advance. Each is written once over the dimension; the exported
// functions are its two instances.
#include <cstring>

#include <qvimage/null.h>
#include <qvimage/window.h>

#include "core/dimension.hpp"

namespace {

using namespace qvim;

template <class Dim>
bool all_nonzero(const int32_t *dims) {
  for (int axis = 0; axis < Dim::axes; axis++)
    if (dims[axis] == 0) return false;
  return true;
}

template <class Dim, class Point>
point<Dim> as_point(const Point *p) {
  static_assert(sizeof(point<Dim>) == sizeof *p);
  point<Dim> result;
  std::memcpy(&result, p, sizeof result);
  return result;
}

// Is the point at or after nw and before se, or at most at se where that counts as inside?
template <class Dim>
bool spans(const box<Dim> &w, const point<Dim> &p, bool se_inside) {
  for (int axis = 0; axis < Dim::axes; axis++)
    if (p[axis] < w.nw[axis] || p[axis] > w.se[axis] || (p[axis] == w.se[axis] && !se_inside)) return false;
  return true;
}

template <class Dim>
int32_t check(const box<Dim> &w) {
  int32_t result = 1;
  for (int axis = 0; axis < Dim::axes; axis++) {
    if (w.nw[axis] < 0 || w.nw[axis] > w.se[axis]) return -1;
    if (w.nw[axis] == w.se[axis]) result = 0;
  }
  return result;
}

template <class Dim>
int32_t check_inside(const box<Dim> &outer, const box<Dim> &inner) {
  if (check<Dim>(outer) < 0) return -1;
  for (int axis = 0; axis < Dim::axes; axis++)
    if (inner.nw[axis] < outer.nw[axis] || inner.se[axis] > outer.se[axis]) return -1;
  return check<Dim>(inner);
}

// Does a hold one of the corner points of b, se corners included?
template <class Dim>
bool holds_a_corner(const box<Dim> &a, const box<Dim> &b) {
  for (int corner = 0; corner < 1 << Dim::axes; corner++) {
    point<Dim> p;
    for (int axis = 0; axis < Dim::axes; axis++) p[axis] = corner >> axis & 1 ? b.se[axis] : b.nw[axis];
    if (spans<Dim>(a, p, false)) return true;
  }
  return false;
}

template <class Dim>
int32_t xwind(record<Dim> *im, typename Dim::window **window, int32_t letter) {
  typename Dim::window *const given = *window;
  *window = nullptr;
  switch (letter) {
    case 's': {
      // Through a copy: the window given may be the record itself.
      const auto wanted = box<Dim>::of(given ? given : reinterpret_cast<typename Dim::window *>(&im->imdim));
      std::memcpy(&im->wind, &wanted, sizeof wanted);
      if (check_inside<Dim>(box<Dim>::of(&im->imdim), wanted) >= 0) {
        *window = &im->wind;
        return 1;
      }
      if constexpr (Dim::axes == 2)
        qvimnullwind(im);
      else
        qvim3nullwind(im);
      return 0;
    }
    case 'w':
      if (given) std::memmove(given, &im->wind, sizeof *given);
      *window = &im->wind;
      return 0;
    case 'i':
      if (given) std::memmove(given, &im->imdim, sizeof *given);
      *window = &im->imdim;
      return 0;
    default: return 0;
  }
}

// --- access lengths ---

enum class run { nowrap, wrap, one };

// Pixels from a position to the end of the run. Without a check, positions outside give what wraps around.
template <class Dim, scan Scan, bool Checked, run Run>
uint64_t length(const typename Dim::window *window, const point<Dim> &at) {
  const auto w = box<Dim>::of(window);
  if (Checked && !w.holds(at)) return 0;
  constexpr auto order = axes_of<Dim>(Scan);
  if (Run == run::one) return uint32_t(at[order[0]]) != w.extent(order[0]);
  const uint64_t rest = w.extent(order[0]) - uint32_t(at[order[0]]);
  if (Run == run::nowrap) return rest;
  int64_t lines = 0;  // whole lines after this one
  for (int i = Dim::axes - 1; i > 0; i--) {
    const int axis = order[i];
    lines = int64_t(uint64_t(lines) * w.extent(axis)) + int32_t(w.extent(axis) - uint32_t(at[axis]) - 1);
  }
  return rest + uint64_t(lines) * w.extent(order[0]);
}

// The routine for a scan, checked or not.
template <class Dim, run Run, bool Checked>
uint64_t length_by_scan(const typename Dim::window *window, const point<Dim> &at, scan s) {
  switch (s) {
    case scan::x: return length<Dim, scan::x, Checked, Run>(window, at);
    case scan::y: return length<Dim, scan::y, Checked, Run>(window, at);
    default:
      if constexpr (Dim::axes == 3) return length<Dim, scan::z, Checked, Run>(window, at);
      return 0;
  }
}

template <class Dim, bool Checked>
uint64_t length_by_mode(const typename Dim::window *window, const point<Dim> &at, uint32_t mode) {
  scan s;
  if (!scan_of_mode<Dim>(mode, &s)) return 0;
  return mode & QVIM_WRAP ? length_by_scan<Dim, run::wrap, Checked>(window, at, s)
                          : length_by_scan<Dim, run::nowrap, Checked>(window, at, s);
}

// --- coordinate advance ---

// Moves a position on by n pixels in scan order: whole lines carry into the next axis.
template <class Dim>
void advance(const typename Dim::window *window, point<Dim> &at, scan s, uint32_t n) {
  const auto w = box<Dim>::of(window);
  const auto order = axes_of<Dim>(s);
  for (int i = 0; i < Dim::axes - 1; i++)
    if (w.extent(order[i]) == 0) return;
  for (int i = 0; i < Dim::axes - 1; i++) {
    const uint32_t extent = w.extent(order[i]);
    uint32_t carry = n / extent;
    uint32_t moved = uint32_t(at[order[i]]) + (n - carry * extent);
    if (moved >= extent) {
      moved -= extent;
      carry++;
    }
    at[order[i]] = int32_t(moved);
    n = carry;
  }
  at[order[Dim::axes - 1]] = int32_t(uint32_t(at[order[Dim::axes - 1]]) + n);
}

// Moves a position by one signed step, carrying or borrowing at the ends of lines.
template <class Dim>
void step(const typename Dim::window *window, point<Dim> &at, scan s, int32_t d) {
  const auto w = box<Dim>::of(window);
  const auto order = axes_of<Dim>(s);
  for (int i = 0; i < Dim::axes - 1; i++) {
    const int64_t extent = int32_t(w.extent(order[i]));
    int64_t moved = int64_t(at[order[i]]) + d;
    d = moved >= extent ? 1 : moved < 0 ? -1 : 0;
    at[order[i]] = int32_t(moved - d * extent);
  }
  at[order[Dim::axes - 1]] = int32_t(uint32_t(at[order[Dim::axes - 1]]) + uint32_t(d));
}

template <class Dim, class... Coordinates>
void apply(auto move, Coordinates *...coordinates) {
  point<Dim> at{*coordinates...};
  move(at);
  const int32_t *next = at.data();
  ((*coordinates = *next++), ...);
}

}  // namespace

extern "C" {

int32_t qvimchkxy(const int32_t dims[2]) { return all_nonzero<two_d>(dims); }
int32_t qvim3chkxyz(const int32_t dims[3]) { return all_nonzero<three_d>(dims); }

#define QVIM_CHECKS(Dim, twin, Window, Point, xy, Record)                                           \
  int32_t twin##chk##xy##e(const Window *window, const Point *p) {                                  \
    return spans<Dim>(box<Dim>::of(window), as_point<Dim>(p), true);                                \
  }                                                                                                 \
  int32_t twin##chk##xy##i(const Window *window, const Point *p) {                                  \
    return spans<Dim>(box<Dim>::of(window), as_point<Dim>(p), false);                               \
  }                                                                                                 \
  int32_t twin##chkwind(const Window *window) { return check<Dim>(box<Dim>::of(window)); }          \
  int32_t twin##chkwindsub(const Window *outer, const Window *inner) {                              \
    return check_inside<Dim>(box<Dim>::of(outer), box<Dim>::of(inner));                             \
  }                                                                                                 \
  int32_t twin##chkimage(const Record *image) {                                                     \
    return image ? check_inside<Dim>(box<Dim>::of(&image->imdim), box<Dim>::of(&image->wind)) : -1; \
  }                                                                                                 \
  int32_t twin##chkwindoverlap(const Window *a, const Window *b) {                                  \
    return holds_a_corner<Dim>(box<Dim>::of(a), box<Dim>::of(b));                                   \
  }                                                                                                 \
  int32_t twin##xwind(Record *image, Window **window, int32_t letter) {                             \
    return xwind<Dim>(image, window, letter);                                                       \
  }
QVIM_CHECKS(two_d, qvim, qvywindow, qvxypoint, xy, qvimage)
QVIM_CHECKS(three_d, qvim3, qvyzwindow, qvxyzpoint, xyz, qvimage3)

void qvimwind3to2(const qvyzwindow *window3, qvywindow *window2) {
  *window2 = {{window3->nw.x, window3->nw.y}, {window3->se.x, window3->se.y}};
}

#define QVIM_LENGTHS_2(s)                                                           \
  uint64_t qvimacclen##s##scannowrap(const qvywindow *w, int32_t x, int32_t y) {    \
    return length<two_d, scan::s, false, run::nowrap>(w, {x, y});                   \
  }                                                                                 \
  uint64_t qvimacclen##s##scanwrap(const qvywindow *w, int32_t x, int32_t y) {      \
    return length<two_d, scan::s, false, run::wrap>(w, {x, y});                     \
  }                                                                                 \
  uint64_t qvimacclen##s##scanchknowrap(const qvywindow *w, int32_t x, int32_t y) { \
    return length<two_d, scan::s, true, run::nowrap>(w, {x, y});                    \
  }                                                                                 \
  uint64_t qvimacclen##s##scanchkwrap(const qvywindow *w, int32_t x, int32_t y) {   \
    return length<two_d, scan::s, true, run::wrap>(w, {x, y});                      \
  }                                                                                 \
  uint64_t qvimacclen##s##scan1(const qvywindow *w, int32_t x, int32_t y) {         \
    return length<two_d, scan::s, false, run::one>(w, {x, y});                      \
  }                                                                                 \
  uint64_t qvimacclen##s##scanchk1(const qvywindow *w, int32_t x, int32_t y) {      \
    return length<two_d, scan::s, true, run::one>(w, {x, y});                       \
  }
QVIM_LENGTHS_2(x)
QVIM_LENGTHS_2(y)

#define QVIM_LENGTHS_3(s)                                                                        \
  uint64_t qvim3acclen##s##scannowrap(const qvyzwindow *w, int32_t x, int32_t y, int32_t z) {    \
    return length<three_d, scan::s, false, run::nowrap>(w, {x, y, z});                           \
  }                                                                                              \
  uint64_t qvim3acclen##s##scanwrap(const qvyzwindow *w, int32_t x, int32_t y, int32_t z) {      \
    return length<three_d, scan::s, false, run::wrap>(w, {x, y, z});                             \
  }                                                                                              \
  uint64_t qvim3acclen##s##scanchknowrap(const qvyzwindow *w, int32_t x, int32_t y, int32_t z) { \
    return length<three_d, scan::s, true, run::nowrap>(w, {x, y, z});                            \
  }                                                                                              \
  uint64_t qvim3acclen##s##scanchkwrap(const qvyzwindow *w, int32_t x, int32_t y, int32_t z) {   \
    return length<three_d, scan::s, true, run::wrap>(w, {x, y, z});                              \
  }                                                                                              \
  uint64_t qvim3acclen##s##scan1(const qvyzwindow *w, int32_t x, int32_t y, int32_t z) {         \
    return length<three_d, scan::s, false, run::one>(w, {x, y, z});                              \
  }                                                                                              \
  uint64_t qvim3acclen##s##scanchk1(const qvyzwindow *w, int32_t x, int32_t y, int32_t z) {      \
    return length<three_d, scan::s, true, run::one>(w, {x, y, z});                               \
  }
QVIM_LENGTHS_3(x)
QVIM_LENGTHS_3(y)
QVIM_LENGTHS_3(z)

qvimacclen_fn *qvimacclenfunc(const qvimage *, uint32_t mode) {
  switch (mode & (6 | QVIM_WRAP | QVIM_TRUST)) {
    case QVIM_XSCAN: return qvimacclenxscanchknowrap;
    case QVIM_YSCAN: return qvimacclenyscanchknowrap;
    case QVIM_WRAP | QVIM_XSCAN: return qvimacclenxscanchkwrap;
    case QVIM_WRAP | QVIM_YSCAN: return qvimacclenyscanchkwrap;
    case QVIM_TRUST | QVIM_YSCAN: return qvimacclenyscannowrap;
    case QVIM_TRUST | QVIM_WRAP | QVIM_XSCAN: return qvimacclenxscanwrap;
    case QVIM_TRUST | QVIM_WRAP | QVIM_YSCAN: return qvimacclenyscanwrap;
    default: return qvimacclenxscannowrap;
  }
}

qvimacclen_fn *qvimacclen1func(const qvimage *, uint32_t mode) {
  switch (mode & (6 | QVIM_TRUST)) {
    case QVIM_XSCAN: return qvimacclenxscanchk1;
    case QVIM_YSCAN: return qvimacclenyscanchk1;
    case QVIM_TRUST | QVIM_YSCAN: return qvimacclenyscan1;
    default: return qvimacclenxscan1;
  }
}

qvim3acclen_fn *qvim3acclenfunc(const qvimage3 *, uint32_t mode) {
  switch (mode & (6 | QVIM_WRAP | QVIM_TRUST)) {
    case QVIM_XSCAN: return qvim3acclenxscanchknowrap;
    case QVIM_YSCAN: return qvim3acclenyscanchknowrap;
    case QVIM_ZSCAN: return qvim3acclenzscanchknowrap;
    case QVIM_WRAP | QVIM_XSCAN: return qvim3acclenxscanchkwrap;
    case QVIM_WRAP | QVIM_YSCAN: return qvim3acclenyscanchkwrap;
    case QVIM_WRAP | QVIM_ZSCAN: return qvim3acclenzscanchkwrap;
    case QVIM_TRUST | QVIM_YSCAN: return qvim3acclenyscannowrap;
    case QVIM_TRUST | QVIM_ZSCAN: return qvim3acclenzscannowrap;
    case QVIM_TRUST | QVIM_WRAP | QVIM_XSCAN: return qvim3acclenxscanwrap;
    case QVIM_TRUST | QVIM_WRAP | QVIM_YSCAN: return qvim3acclenyscanwrap;
    case QVIM_TRUST | QVIM_WRAP | QVIM_ZSCAN: return qvim3acclenzscanwrap;
    default: return qvim3acclenxscannowrap;
  }
}

qvim3acclen_fn *qvim3acclen1func(const qvimage3 *, uint32_t mode) {
  switch (mode & (6 | QVIM_TRUST)) {
    case QVIM_XSCAN: return qvim3acclenxscanchk1;
    case QVIM_YSCAN: return qvim3acclenyscanchk1;
    case QVIM_ZSCAN: return qvim3acclenzscanchk1;
    case QVIM_TRUST | QVIM_YSCAN: return qvim3acclenyscan1;
    case QVIM_TRUST | QVIM_ZSCAN: return qvim3acclenzscan1;
    default: return qvim3acclenxscan1;
  }
}

uint64_t qvimacclen(const qvywindow *w, int32_t x, int32_t y, uint32_t mode) {
  return length_by_mode<two_d, false>(w, {x, y}, mode);
}
uint64_t qvimacclenchk(const qvywindow *w, int32_t x, int32_t y, uint32_t mode) {
  return length_by_mode<two_d, true>(w, {x, y}, mode);
}
uint64_t qvim3acclen(const qvyzwindow *w, int32_t x, int32_t y, int32_t z, uint32_t mode) {
  return length_by_mode<three_d, false>(w, {x, y, z}, mode);
}
uint64_t qvim3acclenchk(const qvyzwindow *w, int32_t x, int32_t y, int32_t z, uint32_t mode) {
  return length_by_mode<three_d, true>(w, {x, y, z}, mode);
}

#define QVIM_ADVANCE_2(s)                                                              \
  void qvimnewcoord##s##scan(const qvywindow *w, int32_t *x, int32_t *y, uint32_t n) { \
    apply<two_d>([&](auto &at) { advance<two_d>(w, at, scan::s, n); }, x, y);          \
  }                                                                                    \
  void qvimnewcoord##s##scan1(const qvywindow *w, int32_t *x, int32_t *y, int32_t d) { \
    apply<two_d>([&](auto &at) { step<two_d>(w, at, scan::s, d); }, x, y);             \
  }
QVIM_ADVANCE_2(x)
QVIM_ADVANCE_2(y)

#define QVIM_ADVANCE_3(s)                                                                            \
  void qvim3newcoord##s##scan(const qvyzwindow *w, int32_t *x, int32_t *y, int32_t *z, uint32_t n) { \
    apply<three_d>([&](auto &at) { advance<three_d>(w, at, scan::s, n); }, x, y, z);                 \
  }                                                                                                  \
  void qvim3newcoord##s##scan1(const qvyzwindow *w, int32_t *x, int32_t *y, int32_t *z, int32_t d) { \
    apply<three_d>([&](auto &at) { step<three_d>(w, at, scan::s, d); }, x, y, z);                    \
  }
QVIM_ADVANCE_3(x)
QVIM_ADVANCE_3(y)
QVIM_ADVANCE_3(z)

}  // extern "C"
