// What a member of the npfpix family does to one item of a run, read off its name: plain arithmetic in 64
// bits, one value at a time.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/kernels/operands.hpp"

namespace qvim::test {

// What a call's other arguments give: a block of words or a table, and pixies of a pixel (sets), bits used
// (xlats) or bytes of a pixel (transposek).
struct pixel_arguments {
  std::vector<uint32_t> w;
  std::vector<uint8_t> table;
  uint32_t number = 0;
};

// A name taken apart: npfpix<width>_[2]<what>[_i|_n], or npfpix<width><width>_<what>.
struct meaning {
  std::string what;
  size_t source, destination;  // bytes of a pixie
  bool two_runs, strided;

  explicit meaning(const std::string &name) {
    const size_t head = name.find('_');
    source = size_t(name[6] - '0');
    destination = size_t(name[head - 1] - '0');
    const bool two = name[head + 1] == '2';
    what = name.substr(head + 1 + two);
    two_runs = two || head > 7;
    strided = what.ends_with("_n");
    what = what.substr(0, what.find('_'));
  }
  bool starts(const char *part) const { return what.starts_with(part); }
  bool mirrors() const { return starts("transpose"); }
  bool translates() const { return starts("xlat"); }

  // Bytes of what is done at a time.
  size_t item(size_t pixie, uint32_t number) const {
    if (what == "sets") return number * pixie;
    if (what == "transposek") return number;
    return mirrors() ? size_t(what.back() - '0') : pixie;
  }
};

struct pixie {
  uint64_t v;
  size_t size;  // of the result, as which words are read
  const uint32_t *w;
  uint32_t width() const { return uint32_t(8 * size); }
  uint64_t most() const { return (uint64_t(1) << width()) - 1; }
  uint64_t narrow(int i) const { return w[i] & most(); }  // a word read in the pixie's width
  bool inside() const { return narrow(0) <= v && v <= narrow(1); }
};

inline uint64_t saturated(double v) {
  return !(v > 0) ? 0 : v >= 4294967295.0 ? 4294967295u : uint64_t(std::trunc(v));
}

inline uint64_t rotated(const pixie &p, bool left) {
  const uint32_t bits = p.w[1], turned = bits > 0 && bits <= p.width();
  uint64_t v = p.v;
  for (uint32_t i = 0; i < p.w[0]; ++i) {
    const uint64_t in = turned ? left ? v >> (bits - 1) & 1 : (v & 1) << (bits - 1) : 0;
    v = left ? (v << 1 & p.most()) | in : v >> 1 | in;
  }
  return v;
}

inline uint64_t reversed(const pixie &p) {
  uint64_t result = 0;
  for (uint32_t bit = 0; bit < p.w[0] && bit < p.width(); ++bit)
    if (p.v >> bit & 1 && p.w[0] - 1 - bit < 64) result |= uint64_t(1) << (p.w[0] - 1 - bit);
  return result;
}

inline uint64_t from_gray(uint64_t v) {
  uint64_t result = 0;
  for (; v; v >>= 1) result ^= v;
  return result;
}

inline uint64_t contrasted(const pixie &p) {
  if (p.v <= p.narrow(0) || p.narrow(0) == p.narrow(1)) return 0;
  const auto product = uint32_t(p.v - p.narrow(0)) * p.w[2];
  return std::min(product / uint32_t(p.narrow(1) - p.narrow(0)), p.w[2]);
}

inline uint64_t pivoted(const pixie &p) {
  double d[4];
  std::memcpy(d, p.w, sizeof d);
  return saturated(std::min(std::max(std::fma(double(p.v) - d[2], d[3], d[2]), d[0]), d[1]) + 0.5);
}

inline uint64_t gamma_of(const pixie &p) {
  const double g = p.w[0] / 1000.0, m = p.w[1];
  return saturated(std::pow(double(p.v), g) * (m / std::pow(m, g)) + 0.5);
}

inline uint64_t shifted_sum(const pixie &p) {
  const uint32_t s = p.w[0] % 32;
  return s ? (p.v + (uint64_t(1) << (s - 1))) >> s : p.v;
}
inline uint64_t mean(const pixie &p) { return p.w[0] ? (p.v + p.w[0] / 2) / p.w[0] : 0; }

// Results before they are cut to the pixie's width.
inline const std::map<std::string, std::function<uint64_t(const pixie &)>> operations = {
    {"and", [](const pixie &p) { return p.v & p.w[0]; }},
    {"or", [](const pixie &p) { return p.v | p.w[0]; }},
    {"xor", [](const pixie &p) { return p.v ^ p.w[0]; }},
    {"neg", [](const pixie &p) { return p.w[0] - p.v; }},
    {"neg255", [](const pixie &p) { return 255 - p.v; }},
    {"negffff", [](const pixie &p) { return 65535 - p.v; }},
    {"addmodulo", [](const pixie &p) { return p.v + p.w[0]; }},
    {"biased", [](const pixie &p) { return p.v + p.w[0]; }},
    {"submodulo", [](const pixie &p) { return p.v - p.w[0]; }},
    {"addbound255", [](const pixie &p) { return std::min<uint64_t>(uint16_t(p.v + p.w[0]), 255); }},
    {"addboundffff", [](const pixie &p) { return std::min<uint64_t>(uint32_t(p.v + p.w[0]), 65535); }},
    {"addbound", [](const pixie &p) { return std::min(p.v + p.narrow(0), p.narrow(1)); }},
    {"subbound0", [](const pixie &p) { return p.v > p.narrow(0) ? p.v - p.narrow(0) : 0; }},
    {"shl", [](const pixie &p) { return p.v << p.w[0] % 32; }},
    {"shr", [](const pixie &p) { return p.v >> p.w[0] % 32; }},
    {"shr1", [](const pixie &p) { return p.v >> 1; }},
    {"rotl", [](const pixie &p) { return rotated(p, true); }},
    {"rotr", [](const pixie &p) { return rotated(p, false); }},
    {"msb", [](const pixie &p) { return p.v & p.narrow(1) ? p.w[0] : 0u; }},
    {"threshold", [](const pixie &p) { return p.inside() ? p.w[2] : p.v; }},
    {"threshold2", [](const pixie &p) { return p.inside() ? p.w[2] : p.w[3]; }},
    {"set", [](const pixie &p) { return p.w[0]; }},
    {"mul",
     [](const pixie &p) {
       return p.w[1] ? std::min<uint64_t>(p.narrow(2), uint32_t(p.v * p.w[0]) / p.w[1]) : 0;
     }},
    {"mull", [](const pixie &p) { return p.w[1] ? std::min(p.narrow(2), p.v * p.w[0] / p.w[1]) : 0; }},
    {"contrast", contrasted},
    {"contrastpivot", pivoted},
    {"gamma", gamma_of},
    {"gray", [](const pixie &p) { return p.v ^ p.v >> 1; }},
    {"gray1", [](const pixie &p) { return from_gray(p.v); }},
    {"reverse", reversed},
    {"assshri", shifted_sum},
    {"assdivi", mean},
    {"assdivlb", [](const pixie &p) { return std::min(mean(p), p.narrow(1)); }},
};

// One item of the source makes one of the destination. Mirroring copies: the caller says from where.
inline void model_item(const meaning &m, const uint8_t *in, uint8_t *out, const pixel_arguments &a) {
  if (m.mirrors()) {
    std::memcpy(out, in, m.item(1, a.number));
  } else if (m.what == "sets") {
    for (uint32_t j = 0; j < a.number; ++j) write(out + j * m.destination, m.destination, a.w[j]);
  } else if (m.what == "pairadd") {
    write(out, 4, read(out, 4) + read(in, m.source));
  } else if (m.translates()) {
    uint64_t v = read(in, m.source);
    if (m.what == "xlats" && a.number && a.number < 32) v %= uint64_t(1) << a.number;
    std::memcpy(out, &a.table[v * m.source], m.source);
  } else if (m.what != "stub") {
    const uint64_t v = operations.at(m.what)({read(in, m.source), m.destination, a.w.data()});
    write(out, m.destination, v);
  }
}

}  // namespace qvim::test
