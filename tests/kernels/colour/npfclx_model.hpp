// What a member of the npfclx family does to one pixel, read off its name: plain arithmetic in 64 bits, or in
// the precision that is asked for, one component at a time.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace qvim::test {

struct colour_arguments {
  uint32_t maxvalue = 255;
  uint32_t bits = 0;  // of members that take a pointer to it; 0 is also what a null pointer means
  int32_t integer_matrix[12] = {};
  double real_matrix[12] = {};
  const uint8_t *palette = nullptr;
};

// A name taken apart.
struct conversion {
  std::string what;
  size_t width;
  bool real;
  size_t inputs = 3, outputs = 3;

  explicit conversion(const std::string &name) : what(name.substr(8)) {
    const char letter = name[6];
    real = letter == 'f' || letter == 'd';
    width = letter == 'f' ? 4 : letter == 'd' ? 8 : size_t(letter - '0');
    if (has("BGRLut") || has("matrix31")) inputs = 1;
    if (has("CMYKto") || has("RGB4")) inputs = 4;
    if (has("toCMYK") || has("RGB4")) outputs = 4;
    if (has("matrix3s") || has("matrix3r")) outputs = 1;
  }
  bool has(const char *part) const { return what.find(part) != what.npos; }
  bool starts(const char *part) const { return what.rfind(part, 0) == 0; }
  bool ends(const char *part) const {
    const std::string end(part);
    return what.size() >= end.size() && what.substr(what.size() - end.size()) == end;
  }
  bool in_place_only() const { return ends("_1i"); }
  bool takes_bits() const { return has("CMY") || has("BSH"); }
  bool takes_matrix() const { return has("matr") || (has("YCrCb") && !has("YCbCr")); }
  bool moves() const { return has("BGR3") || has("BGR4") || has("_2n") || has("YCbCr"); }
};

using integers = std::vector<int64_t>;
template <class T>
using reals = std::vector<T>;

inline int64_t floor_quotient(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return q * b > a ? q - 1 : q;
}
inline int32_t wrapped(int64_t sum) { return int32_t(uint32_t(uint64_t(sum))); }

inline int64_t full_scale_of(size_t width, uint32_t bits) {
  const uint32_t used = bits == 0 || bits > 8 * width ? uint32_t(8 * width) : bits;
  return (int64_t(1) << used) - 1;
}

// --- Components moved

template <class T>
std::vector<T> moved(const conversion &c, std::vector<T> v) {
  if (c.has("YCbCr"))
    std::swap(v[1], v[2]);
  else if (!c.has("toRGBx"))
    std::swap(v[0], v[2]);
  return v;
}

// --- Brightness, saturation, hue

inline integers whole_to_bsh(int64_t r, int64_t g, int64_t b, int64_t full, int64_t steps) {
  const int64_t v = std::max({r, g, b}), delta = v - std::min({r, g, b});
  if (v == 0) return {0, 0, 0};
  const int64_t s = (v / 2 + delta * full) / v;
  if (s % steps == 0) return {v, s, 0};
  int64_t x;
  if (r >= g && r >= b)
    x = g - b;
  else if (g >= b)
    x = 2 * delta + b - r;
  else
    x = 4 * delta + r - g;
  int64_t h;
  if (x > 0) {
    h = (x * (full + 1) + 3 * delta) / (6 * delta);
  } else {
    const int64_t t = (x * (full + 1) - 3 * delta) / (6 * delta);
    h = t == 0 ? 0 : t + full + 1;
  }
  return {v, s, h};
}

inline integers whole_from_bsh(int64_t v, int64_t s, int64_t hue, int64_t full, int64_t F) {
  if (s == 0) return {v, v, v};
  const int64_t h = (full / 2 + hue * 6 * F) / (full + 1), k = h / F, f = h % F, unit = full * F;
  const int64_t p = floor_quotient(full / 2 + (full - s) * v, full),
                q = floor_quotient(unit / 2 + (unit - f * s) * v, unit),
                t = floor_quotient(unit / 2 + (unit - (F - f) * s) * v, unit);
  switch (k) {
    case 0: return {v, t, p};
    case 1: return {q, v, p};
    case 2: return {p, v, t};
    case 3: return {p, q, v};
    case 4: return {t, p, v};
    case 5: return {v, p, q};
  }
  return {0, 0, 0};
}

template <class T>
reals<T> real_to_bsh(T r, T g, T b) {
  T v = r, least = r;
  if (g > v) v = g;
  if (b > v) v = b;
  if (g < least) least = g;
  if (b < least) least = b;
  const T delta = v - least;
  if (v == 0) return {v, 0, 0};
  const T s = delta / v;
  if (s == 0) return {v, s, 0};
  T turn;
  if (v == r)
    turn = (g - b) / delta;
  else if (v == g)
    turn = (b - r) / delta + 2;
  else
    turn = (r - g) / delta + 4;
  T hue = 60 * turn;
  if (hue < 0) hue = hue + 360;
  return {v, s, hue};
}

template <class T>
reals<T> real_from_bsh(T v, T s, T hue) {
  if (s == 0) return {v, v, v};
  if (!(hue >= 0 && hue <= 360)) return {0, 0, 0};
  if (hue == 360) hue = 0;
  const int k = int(hue / 60);
  const T f = hue / 60 - T(k), p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
  const reals<T> by_sector[] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
  return by_sector[k];
}

// Integers of many bits, by way of single precision.
inline int64_t rounded(float v, int64_t full) {
  const double up = v + 0.5f;
  return up < 0 ? 0 : up > double(full) ? full : int64_t(up);
}
inline integers normalised_to_bsh(const integers &v, int64_t full) {
  const auto scale = float(full), hue_scale = float(full + 1) / 360.0f;
  const auto bsh = real_to_bsh<float>(float(v[0]) / scale, float(v[1]) / scale, float(v[2]) / scale);
  const float hue = bsh[2] * hue_scale;
  return {rounded(bsh[0] * scale, full), rounded(bsh[1] * scale, full),
          hue >= scale + 0.5f ? 0 : rounded(hue, full)};
}
inline integers normalised_from_bsh(const integers &v, int64_t full) {
  const auto scale = float(full), hue_scale = float(full + 1) / 360.0f;
  const auto rgb = real_from_bsh<float>(float(v[0]) / scale, float(v[1]) / scale, float(v[2]) / hue_scale);
  return {rounded(rgb[0] * scale, full), rounded(rgb[1] * scale, full), rounded(rgb[2] * scale, full)};
}

// --- Families of conversions: components in the order R, G, B

inline integers hexcone(const conversion &c, const integers &v, uint32_t bits) {
  const int64_t full = full_scale_of(c.width, bits), steps = int64_t(1) << 8 * c.width;
  if (c.width == 1 || (c.width == 2 && full < 1 << 14)) {
    if (c.has("toBSH")) return whole_to_bsh(v[0], v[1], v[2], full, steps);
    return whole_from_bsh(v[0], v[1], v[2], full, c.width == 1 ? 256 : 16384);
  }
  return c.has("toBSH") ? normalised_to_bsh(v, full) : normalised_from_bsh(v, full);
}
template <class T>
reals<T> hexcone(const conversion &c, const reals<T> &v, uint32_t) {
  return c.has("toBSH") ? real_to_bsh<T>(v[0], v[1], v[2]) : real_from_bsh<T>(v[0], v[1], v[2]);
}

inline integers inks(const conversion &c, const integers &v, uint32_t bits) {
  const int64_t full = full_scale_of(c.width, bits);
  if (c.has("toCMYK")) {
    const int64_t m = std::max({v[0], v[1], v[2]});
    return {m - v[0], m - v[1], m - v[2], full - m};
  }
  if (c.has("CMYKto"))
    return {full - std::min(full, v[0] + v[3]), full - std::min(full, v[1] + v[3]),
            full - std::min(full, v[2] + v[3])};
  return {full - v[0], full - v[1], full - v[2]};
}
template <class T>
reals<T> inks(const conversion &c, const reals<T> &v, uint32_t) {
  if (c.has("toCMYK")) {
    T m = v[0];
    if (v[1] > m) m = v[1];
    if (v[2] > m) m = v[2];
    const T k = 1 - m;
    return {(1 - v[0]) - k, (1 - v[1]) - k, (1 - v[2]) - k, k};
  }
  reals<T> out;
  for (int i = 0; i < 3; ++i) {
    const T ink = c.has("CMYKto") ? v[size_t(i)] + v[3] : v[size_t(i)];
    out.push_back(c.has("CMYKto") && ink > 1 ? 0 : 1 - ink);
  }
  return out;
}

inline int64_t limited(int64_t v, uint32_t maxvalue) {
  if ((uint32_t(int32_t(v)) & ~maxvalue) == 0) return uint32_t(int32_t(v));
  return v < 0 ? 0 : maxvalue;
}

inline integers matrix(const conversion &c, const integers &v, const colour_arguments &a) {
  const int32_t *m = a.integer_matrix;
  auto sum = [&](int row) { return m[4 * row] * v[0] + m[4 * row + 1] * v[1] + m[4 * row + 2] * v[2]; };
  integers out;
  if (c.has("YCrCb")) {
    const uint32_t maxvalue = c.has("YCrCb8") ? 255 : a.maxvalue;
    const int shift = c.width == 1 ? 8 : 12;
    const int64_t half = (int64_t(maxvalue) + 1) / 2, round = int64_t(1) << (shift - 1);
    for (int row = 0; row < 3; ++row) {
      const int64_t offset =
          c.has("toYCrCb") ? (row ? half << shift : 0) : -(int64_t(m[4 * row + 1]) + m[4 * row + 2]) * half;
      out.push_back(limited(wrapped(sum(row) + round + offset) >> shift, maxvalue));
    }
  } else if (c.has("31sl8")) {
    for (int i = 0; i < 3; ++i) out.push_back((v[0] * m[i]) >> 8);
  } else if (c.has("3sl8r0")) {
    out.push_back(sum(0) >> 8);
  } else if (c.has("3sl8r1")) {
    out.push_back(limited(wrapped(sum(0)) >> 8, c.width == 1 ? 0xFF : 0xFFFF));
  } else {
    const bool white = std::count(v.begin(), v.end(), int64_t(a.maxvalue)) > 0;
    for (int row = 0; row < 3; ++row) {
      const int64_t all = sum(row) + m[4 * row + 3];
      if (c.has("sl8r0"))
        out.push_back(uint32_t(uint64_t(all)) >> 8);
      else
        out.push_back(white ? a.maxvalue : limited(wrapped(all) >> 12, a.maxvalue));
    }
  }
  return out;
}

template <class T>
reals<T> real_matrix(const conversion &c, const reals<T> &v, const colour_arguments &a, T largest) {
  T m[12];
  for (int i = 0; i < 12; ++i) m[i] = T(a.real_matrix[i]);
  reals<T> out;
  if (c.has("matrix31")) {
    for (int i = 0; i < 3; ++i) out.push_back(m[i] * v[0]);
  } else if (c.outputs == 1) {
    out.push_back(std::fma(m[2], v[2], std::fma(m[1], v[1], m[0] * v[0])));
  } else {
    for (int i = 0; i < 12; i += 4)
      out.push_back(std::fma(m[i + 2], v[2], std::fma(m[i + 1], v[1], std::fma(m[i], v[0], m[i + 3]))));
  }
  if (c.ends("r1"))
    for (T &r : out) {
      if (r < 0) r = 0;
      if (r > largest) r = largest;
    }
  return out;
}
template <class T>
reals<T> matrix(const conversion &c, const reals<T> &v, const colour_arguments &a) {
  return real_matrix<T>(c, v, a, 1);
}
inline integers matrix_of_words(const conversion &c, const integers &v, const colour_arguments &a) {
  integers out;
  for (double r : real_matrix<double>(c, reals<double>(v.begin(), v.end()), a, a.maxvalue))
    out.push_back(r >= 4294967295.0 ? 0xFFFFFFFF : r > 0 ? int64_t(r) : 0);
  return out;
}

template <class Values>
Values converted(const conversion &c, Values v, const colour_arguments &a) {
  if (c.moves()) return moved(c, v);
  if (c.starts("BGR") || c.has("matrjx")) std::swap(v[0], v[2]);
  Values out;
  if (c.has("BSH"))
    out = hexcone(c, v, a.bits);
  else if (c.has("CMY"))
    out = inks(c, v, a.bits);
  else if constexpr (std::is_same_v<Values, integers>)
    out = c.width == 4 ? matrix_of_words(c, v, a) : matrix(c, v, a);
  else
    out = matrix(c, v, a);
  if (c.ends("toBGR") || c.has("matrjx")) std::swap(out[0], out[2]);
  return out;
}

// One pixel from bytes to bytes.
template <class T, class Value>
void model_pixel_of(const conversion &c, const uint8_t *in, uint8_t *out, const colour_arguments &a) {
  if (c.has("Lut")) {
    T index;
    memcpy(&index, in, sizeof index);
    const uint64_t entry = c.has("Lut4") ? 4 * (uint64_t(index) % (1u << 30)) : 3 * uint64_t(index);
    memcpy(out, a.palette + entry * sizeof(T), 3 * sizeof(T));
    return;
  }
  std::vector<Value> v(c.inputs);
  for (size_t i = 0; i < c.inputs; ++i) {
    T component;
    memcpy(&component, in + i * sizeof(T), sizeof(T));
    v[i] = Value(component);
  }
  const std::vector<Value> result = converted(c, v, a);
  for (size_t i = 0; i < c.outputs; ++i) {
    const T component = T(result[i]);
    memcpy(out + i * sizeof(T), &component, sizeof(T));
  }
}

inline void model_pixel(const conversion &c, const uint8_t *in, uint8_t *out, const colour_arguments &a) {
  if (c.real && c.width == 4) return model_pixel_of<float, float>(c, in, out, a);
  if (c.real) return model_pixel_of<double, double>(c, in, out, a);
  if (c.width == 1) return model_pixel_of<uint8_t, int64_t>(c, in, out, a);
  if (c.width == 2) return model_pixel_of<uint16_t, int64_t>(c, in, out, a);
  model_pixel_of<uint32_t, int64_t>(c, in, out, a);
}

}  // namespace qvim::test
