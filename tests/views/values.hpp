// A slow model of images: values one pixie at a time, the bits of them that are certain, windows, runs, and
// what an image makes of values by itself.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <qvimage/qvimage.h>

#include "core/dimension.hpp"

namespace model {

using generator = std::mt19937_64;
using pos = std::array<int, 3>;     // x, y, z; z is 0 in two dimensions
using extent = std::array<int, 3>;  // 1 along an axis that is not there

inline int between(generator &g, int low, int high) {
  return std::uniform_int_distribution<int>(low, high)(g);
}
inline bool chance(generator &g, int percent) { return between(g, 1, 100) <= percent; }
inline uint64_t ones(int n) { return n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1; }

// The number in a container, with the bits of it that are certain.
struct bits {
  uint64_t value;
  uint64_t known = ~uint64_t{0};
};

inline bool is_integer(uint32_t type) { return type & 0x0F; }

inline uint64_t load(const uint8_t *from, int size, bool reversed) {
  uint64_t value = 0;
  for (int i = 0; i < size; i++) value |= uint64_t{from[reversed ? size - 1 - i : i]} << 8 * i;
  return value;
}
inline void store(uint8_t *to, int size, bool reversed, uint64_t value) {
  for (int i = 0; i < size; i++) to[reversed ? size - 1 - i : i] = uint8_t(value >> 8 * i);
}

// --- images in memory ----------------------------------------------------------------------------

// What a description says about pixies.
struct form {
  qvimagedata d{};

  int size() const { return qvimdatasize(uint32_t(d.pixietype)); }
  bool integer() const { return is_integer(uint32_t(d.pixietype)); }
  bool reversed() const { return integer() && d.i_endian; }
  int used() const { return integer() ? d.i_bitsused : 8 * size(); }
  bool high() const { return integer() && d.i_bitsxsb == QVIM_MSB; }
  bool dirty() const { return integer() && d.i_dirtyread; }
  bool tolerant() const { return integer() && d.i_dirtyrite; }
  uint64_t significant() const { return ones(used()) << (high() ? 8 * size() - used() : 0); }
};

// The pixels of a memory image and the bytes around them.
struct pixels : form {
  static constexpr int margin = 64;
  extent dims{1, 1, 1};
  uint32_t pitch = 0, planepitch = 0;
  std::vector<uint8_t> bytes, known;  // known: bits that must agree

  uint8_t *base() { return bytes.data() + margin; }

  size_t offset(const pos &p, int pixie) const {
    return size_t(margin) + size_t(p[2]) * planepitch + size_t(p[1]) * pitch +
           size_t((p[0] * d.pixies + pixie) * size());
  }
  uint64_t get(const pos &p, int pixie) const { return load(&bytes[offset(p, pixie)], size(), reversed()); }
  void put(const pos &p, int pixie, const bits &v) {
    store(&bytes[offset(p, pixie)], size(), reversed(), v.value);
    store(&known[offset(p, pixie)], size(), reversed(), v.known);
  }

  void allocate() {
    bytes.assign(2 * margin + size_t(planepitch) * size_t(dims[2]), 0);
    known.assign(bytes.size(), 0xFF);
  }
  void fill(generator &g, bool with_dirt) {
    for (uint8_t &b : bytes) b = uint8_t(g());
    for (pos p{}; p[2] < dims[2]; p[2]++)
      for (p[1] = 0; p[1] < dims[1]; p[1]++)
        for (p[0] = 0; p[0] < dims[0]; p[0]++)
          for (int c = 0; c < d.pixies; c++) put(p, c, {random_value(g, with_dirt)});
  }
  uint64_t random_value(generator &g, bool with_dirt) const {
    if (integer()) return g() & (with_dirt ? ones(8 * size()) : significant());
    // Mostly values that some integer or the normalised range holds, some beyond.
    const double v = std::uniform_real_distribution<double>(-0.2, 1.2)(g) * (chance(g, 50) ? 1.0 : 70000.0);
    uint64_t raw = 0;
    const float f = float(v);
    if (size() == 4)
      std::memcpy(&raw, &f, 4);
    else
      std::memcpy(&raw, &v, 8);
    return raw;
  }
};

// --- windows -------------------------------------------------------------------------------------

struct frame {
  pos nw{0, 0, 0};
  extent size{1, 1, 1};
  bool operator==(const frame &) const = default;
};

inline frame frame_of(const qvywindow &w) {
  return {{w.nw.x, w.nw.y, 0}, {w.se.x - w.nw.x, w.se.y - w.nw.y, 1}};
}
inline frame frame_of(const qvyzwindow &w) {
  return {{w.nw.x, w.nw.y, w.nw.z}, {w.se.x - w.nw.x, w.se.y - w.nw.y, w.se.z - w.nw.z}};
}
inline pos sum(const pos &a, const pos &b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline bool holds(const extent &e, const pos &p) {
  for (int axis = 0; axis < 3; axis++)
    if (p[axis] < 0 || p[axis] >= e[axis]) return false;
  return true;
}
template <class Dim>
qvim::point<Dim> as_point(const pos &p) {
  qvim::point<Dim> result;
  for (int axis = 0; axis < Dim::axes; axis++) result[axis] = p[axis];
  return result;
}

// The positions that a run passes over, one by one.
inline std::vector<pos> run_of(const extent &e, int axes, uint32_t mode, pos at, uint64_t count) {
  const int scan = int(mode & 6) / 2;
  std::vector<int> order{scan};
  for (int axis = 0; axis < axes; axis++)
    if (axis != scan) order.push_back(axis);
  std::vector<pos> run;
  while (run.size() < count && holds(e, at)) {
    run.push_back(at);
    for (size_t i = 0; i < order.size(); i++) {
      if (++at[order[i]] < e[order[i]]) break;
      if (!(mode & QVIM_WRAP) || i + 1 == order.size()) return run;
      at[order[i]] = 0;
    }
  }
  return run;
}

// --- requests ------------------------------------------------------------------------------------

struct request {
  uint32_t mode, datatype, mask;
  int size() const { return qvimdatasize(datatype); }
  int first() const { return __builtin_ctz(mask); }
  int colours() const { return __builtin_popcount(mask); }
  bool reversed() const { return is_integer(datatype) && datatype & QVIM_SWAPPED; }
  std::string text() const {
    char line[80];
    std::snprintf(line, sizeof line, "mode 0x%x type 0x%x mask 0x%x", mode, datatype, mask);
    return line;
  }
};

// --- what an image's own read and write make of values -------------------------------------------

inline int place(const form &im, uint32_t datatype) {
  const bool high = datatype & QVIM_MSB ? true : datatype & QVIM_LSB ? false : im.high();
  return high ? 8 * im.size() - im.used() : 0;
}
// The caller asks in the image's own type.
inline bits as_read(const form &im, uint64_t stored, uint32_t datatype) {
  if (!im.integer() || im.used() == 8 * im.size()) return {stored};
  const uint64_t number = (stored & im.significant()) >> (im.high() ? 8 * im.size() - im.used() : 0);
  const int to = place(im, datatype);
  return {number << to, datatype & QVIM_DIRTY ? ones(im.used()) << to : ~uint64_t{0}};
}
inline bits as_written(const form &im, uint64_t given, uint32_t datatype) {
  if (!im.integer() || im.used() == 8 * im.size()) return {given};
  const uint64_t number = given >> place(im, datatype) & ones(im.used());
  const bool dirt_stays = datatype & QVIM_DIRTY && im.tolerant();
  return {number << (im.high() ? 8 * im.size() - im.used() : 0),
          dirt_stays ? im.significant() : ~uint64_t{0}};
}

}  // namespace model
