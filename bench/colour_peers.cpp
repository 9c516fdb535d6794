// Colour kernels, tables and turned views against other libraries' conversions of the same pixels: a line of
// 64 KiB, which stays in the cache, and frames of 4000 x 3000 pixels, on one thread.
//
// The fastest peer is what ours has to keep up with. Every peer is first compared with ours on a few pixels,
// so that a wrong call is noticed: they may differ by what other coefficients or roundings explain. Two
// things are comparable rather than the same: where a pixel has a pad, peers write it (opaque, or from the
// source), while ours reads it back and leaves it as it was; and where brightness, saturation and hue are
// compared with hue, saturation and value, the order of components is the reverse.
#include "bench/colour_peers.hpp"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>

#include <qvimage/qvimage.h>

#include "kernels/processor.hpp"

namespace colour_peers {

const float matrix[3][4] = {{32 / 64.f, 16 / 64.f, 8 / 64.f, 0},
                            {-16 / 64.f, 40 / 64.f, 4 / 64.f, 0.25f},
                            {4 / 64.f, -8 / 64.f, 48 / 64.f, 0.125f}};

const uint8_t *palette() {
  static uint8_t entries[256][4];
  for (int i = 0; i < 256; i++)
    for (int c = 0; c < 4; c++) entries[i][c] = uint8_t(c == 3 ? 255 : i * (3 + 2 * c) + 7);
  return entries[0];
}

const uint8_t *byte_table() {
  static uint8_t table[256];
  for (int i = 0; i < 256; i++) table[i] = uint8_t(i * 7 + 3);
  return table;
}

namespace {

enum class type { u8, u16, f32 };
constexpr uint32_t bytes_of(type t) { return t == type::u8 ? 1 : t == type::u16 ? 2 : 4; }

struct conversion {
  std::string name;
  type component;
  uint32_t from, to;  // components of a pixel
  set_up prepare;
  bool hue_to = false, hue_from = false;  // brightness, saturation, hue: the peers' order is the reverse
  bool turns = false;                     // needs lines as well as columns

  uint32_t from_bytes() const { return from * bytes_of(component); }
  uint32_t to_bytes() const { return to * bytes_of(component); }
};

[[noreturn]] void fail(const std::string &what) {
  std::fprintf(stderr, "%s\n", what.c_str());
  std::exit(1);
}

// --- Ours ---

set_up line_by_line(std::function<void(const char *from, char *to, const area &)> line) {
  return [=](const area &a) {
    return [=] {
      auto from = static_cast<const char *>(a.from);
      auto to = static_cast<char *>(a.to);
      for (uint32_t y = 0; y < a.height; y++, from += a.from_line(), to += a.to_line()) line(from, to, a);
    };
  };
}

set_up kernel(npfclx_fn *f, const void *param = nullptr, uint32_t maxvalue = 0) {
  return line_by_line([=](const char *from, char *to, const area &a) {
    f(from, to, a.from_pixel, a.to_pixel, a.width, maxvalue, param);
  });
}

set_up mirrored(npfpix2tr_fn *f) {
  return line_by_line([=](const char *from, char *to, const area &a) { f(from, to, a.width); });
}

set_up table_of_bytes() {
  return line_by_line([](const char *from, char *to, const area &a) {
    npfpix1_2xlat_i(from, to, 1, 1, a.width, byte_table(), 8);
  });
}

// A view over an image in memory, read whole in one call.
set_up turned(int32_t pixietype, int32_t pixies, uint32_t flags) {
  return [=](const area &a) -> run {
    struct images {
      qvimage source, view;
    };
    const auto kept = std::make_shared<images>();
    const int32_t dims[2] = {int32_t(a.width), int32_t(a.height)};
    qvimage *const view = &kept->view;
    if (qvimage_memory(&kept->source, const_cast<void *>(a.from), dims, 0, pixietype, 0, pixies, 0, 0) < 0 ||
        qvimage_rotate_filt(view, &kept->source, 0, flags) < 0 ||
        view->ioset(view, QVIM_WRAP, uint32_t(pixietype), (1u << pixies) - 1) != 1)
      fail("no turned view");
    return [=] { kept->view.ioread(&kept->view, 0, a.to, a.width * a.height, 0, 0); };
  };
}

// The matrix with `bits` bits of fraction, for values from 0 to maxvalue, or without its constants.
template <int bits, uint32_t maxvalue = 0>
const int32_t *integers() {
  static int32_t m[3][4];
  for (int r = 0; r < 3; r++)
    for (int c = 0; c < 4; c++)
      m[r][c] = int32_t(std::lround(matrix[r][c] * (1 << bits) * (c == 3 ? double(maxvalue) : 1.0)));
  return m[0];
}

const double *reals() {
  static double m[3][4];
  for (int r = 0; r < 3; r++)
    for (int c = 0; c < 4; c++) m[r][c] = matrix[r][c];
  return m[0];
}

// What OpenCV's floating-point conversion computes, as matrices.
constexpr double to_ycrcb[3][4] = {{0.299, 0.587, 0.114, 0},
                                   {0.713 * 0.701, -0.713 * 0.587, -0.713 * 0.114, 0.5},
                                   {-0.564 * 0.299, -0.564 * 0.587, 0.564 * 0.886, 0.5}};
constexpr double from_ycrcb[3][4] = {
    {1, 1.403, 0, -0.7015}, {1, -0.714, -0.344, 0.529}, {1, 0, 1.773, -0.8865}};

void add_moves(std::vector<conversion> &to, const char *suffix, type t, npfclx_fn *exchange,
               npfclx_fn *copy) {
  const auto add = [&](const char *name, uint32_t in, uint32_t out, npfclx_fn *f) {
    to.push_back({name + std::string(suffix), t, in, out, kernel(f)});
  };
  add("RGB to BGR", 3, 3, exchange);
  add("RGB to BGRx", 3, 4, exchange);
  add("RGB to RGBx", 3, 4, copy);
  add("RGBx to BGR", 4, 3, exchange);
  add("RGBx to RGB", 4, 3, copy);
  add("RGBx to BGRx", 4, 4, exchange);
}

std::vector<conversion> conversions() {
  using enum type;
  std::vector<conversion> all;
  add_moves(all, " 8", u8, npfclx1_RGBxtoBGRx_2n, npfclx1_RGBxtoRGBx_2n);
  add_moves(all, " 16", u16, npfclx2_RGBxtoBGRx_2n, npfclx2_RGBxtoRGBx_2n);
  add_moves(all, " float", f32, npfclxf_RGBxtoBGRx_2n, npfclxf_RGBxtoRGBx_2n);
  const std::vector<conversion> computed = {
      {"RGB to grey 8", u8, 3, 1, kernel(npfclx1_matrix3sl8r0, clx_rgb_to_grey, 255)},
      {"RGB to grey 16", u16, 3, 1, kernel(npfclx2_matrix3sl8r0, clx_rgb_to_grey, 65535)},
      {"RGB to grey float", f32, 3, 1, kernel(npfclxf_matrix3r0, clx_rgb_to_grey_d)},
      {"RGBx to grey 8", u8, 4, 1, kernel(npfclx1_matrix3sl8r0, clx_rgb_to_grey, 255)},
      {"grey to RGB 8", u8, 1, 3, kernel(npfclx1_matrix31sl8r0, clx_grey_to_rgb, 255)},
      {"grey to RGB 16", u16, 1, 3, kernel(npfclx2_matrix31sl8r0, clx_grey_to_rgb, 65535)},
      {"grey to RGB float", f32, 1, 3, kernel(npfclxf_matrix31r0, clx_grey_to_rgb_d)},
      {"grey to RGBx 8", u8, 1, 4, kernel(npfclx1_matrix31sl8r0, clx_grey_to_rgb, 255)},
      {"RGB to YCrCb 8", u8, 3, 3, kernel(npfclx1_RGBtoYCrCb8, clx_rgb_to_ycrcb8, 255)},
      {"RGB to YCrCb 16", u16, 3, 3, kernel(npfclx2_RGBtoYCrCb, clx_rgb_to_ycrcb16, 65535)},
      {"RGB to YCrCb float", f32, 3, 3, kernel(npfclxf_matrix34r0, to_ycrcb)},
      {"YCrCb to RGB 8", u8, 3, 3, kernel(npfclx1_YCrCb8toRGB, clx_ycrcb_to_rgb8, 255)},
      {"YCrCb to RGB 16", u16, 3, 3, kernel(npfclx2_YCrCbtoRGB, clx_ycrcb_to_rgb16, 65535)},
      {"YCrCb to RGB float", f32, 3, 3, kernel(npfclxf_matrix34r0, from_ycrcb)},
      {"RGB to BSH 8", u8, 3, 3, kernel(npfclx1_RGBtoBSH), true},
      {"RGB to BSH float", f32, 3, 3, kernel(npfclxf_RGBtoBSH), true},
      {"BSH to RGB 8", u8, 3, 3, kernel(npfclx1_BSHtoRGB), false, true},
      {"BSH to RGB float", f32, 3, 3, kernel(npfclxf_BSHtoRGB), false, true},
      {"RGB to CMY 8", u8, 3, 3, kernel(npfclx1_RGBtoCMY)},
      {"RGB to CMY 16", u16, 3, 3, kernel(npfclx2_RGBtoCMY)},
      {"palette to RGB 8", u8, 1, 3, kernel(npfclx1_BGRLut4toBGRx, palette())},
      {"matrix 8", u8, 3, 3, kernel(npfclx1_matrix34sl8r0, integers<8, 255>(), 255)},
      {"matrix limited 8", u8, 3, 3, kernel(npfclx1_matrix34sl12r1, integers<12, 255>(), 255)},
      {"matrix limited 8 padded", u8, 4, 4, kernel(npfclx1_matrix34sl12r1, integers<12>(), 255)},
      {"matrix limited 16", u16, 3, 3, kernel(npfclx2_matrix34sl12r1, integers<12, 65535>(), 65535)},
      {"matrix float", f32, 3, 3, kernel(npfclxf_matrix34r0, reals())},
      {"table of bytes", u8, 1, 1, table_of_bytes()},
      {"mirrored 8", u8, 1, 1, mirrored(npfpix1_2transpose1_i)},
      {"mirrored 16", u16, 1, 1, mirrored(npfpix1_2transpose2_i)},
      {"mirrored RGB 8", u8, 3, 3, mirrored(npfpix1_2transpose3_i)},
      {"mirrored RGBx 8", u8, 4, 4, mirrored(npfpix1_2transpose4_i)},
      {"transposed 8", u8, 1, 1, turned(QVIM_UINT8, 1, 1), false, false, true},
      {"transposed 16", u16, 1, 1, turned(QVIM_UINT16, 1, 1), false, false, true},
      {"transposed RGB 8", u8, 3, 3, turned(QVIM_UINT8, 3, 1), false, false, true},
      {"transposed RGBx 8", u8, 4, 4, turned(QVIM_UINT8, 4, 1), false, false, true},
      {"turned by 90 8", u8, 1, 1, turned(QVIM_UINT8, 1, 5), false, false, true},
      {"turned by 90 RGB 8", u8, 3, 3, turned(QVIM_UINT8, 3, 5), false, false, true},
      {"turned by 180 8", u8, 1, 1, turned(QVIM_UINT8, 1, 6), false, false, true},
      {"turned by 180 RGB 8", u8, 3, 3, turned(QVIM_UINT8, 3, 6), false, false, true},
  };
  all.insert(all.end(), computed.begin(), computed.end());
  return all;
}

// --- Do they agree? ---

// Values below the largest one, which only our limited matrices treat in a way of their own.
double random_value(type t, std::mt19937 &random) {
  switch (t) {
    case type::u8: return random() % 255;
    case type::u16: return random() % 65535;
    default: return (random() >> 8) * 0x1p-24;
  }
}

double value(type t, const void *from, size_t i) {
  switch (t) {
    case type::u8: return static_cast<const uint8_t *>(from)[i];
    case type::u16: return static_cast<const uint16_t *>(from)[i];
    default: return static_cast<const float *>(from)[i];
  }
}

void store(type t, void *to, size_t i, double v) {
  switch (t) {
    case type::u8: static_cast<uint8_t *>(to)[i] = uint8_t(v); break;
    case type::u16: static_cast<uint16_t *>(to)[i] = uint16_t(v); break;
    default: static_cast<float *>(to)[i] = float(v);
  }
}

// The distance of hues on their circle.
double hue_distance(type t, double difference) {
  const double circle = t == type::u8 ? 256 : 360;
  return std::min(difference, circle - difference);
}

// The largest difference between ours and the peer's.
double difference(const conversion &c, const peer &p) {
  constexpr uint32_t width = 48, height = 32, pixels = width * height;
  alignas(64) static float ours_in[pixels * 4], peers_in[pixels * 4], ours_out[pixels * 4],
      peers_out[pixels * 4];
  std::memset(ours_out, 0x55, sizeof ours_out);
  std::memset(peers_out, 0xAA, sizeof peers_out);
  std::mt19937 random(1);
  for (size_t i = 0; i < pixels * c.from; i++) {
    const size_t at = i % c.from, reverse = c.hue_from ? i - at + (2 - at) : i;
    double v = random_value(c.component, random);
    if (c.hue_from && at == 2 && c.component == type::f32) v *= 360;
    store(c.component, ours_in, i, v);
    store(c.component, peers_in, reverse, v);
  }
  c.prepare({ours_in, ours_out, width, height, c.from_bytes(), c.to_bytes()})();
  p.prepare({peers_in, peers_out, width, height, c.from_bytes(), c.to_bytes()})();
  double most = 0;
  for (size_t i = 0; i < pixels * c.to; i++) {
    const size_t at = i % c.to, reverse = c.hue_to ? i - at + (2 - at) : i;
    if (at == 3) continue;  // the pad
    const double d = std::fabs(value(c.component, ours_out, i) - value(c.component, peers_out, reverse));
    most = std::max(most, c.hue_to && at == 2 ? hue_distance(c.component, d) : d);
  }
  return most;
}

void check(const conversion &c, const peer &p) {
  const double most = difference(c, p);
  if (!(most <= p.difference))
    fail(c.name + ": " + p.who + " differs by " + std::to_string(most) + ", more than " +
         std::to_string(p.difference));
}

// --- The benchmarks ---

constexpr uint32_t frame_width = 4000, frame_height = 3000, small = 64 << 10;

// Room for a frame of the largest pixels, to read from and to write to.
void *memory(type t, bool to_read) {
  static void *kept[2], *written;
  void *&at = to_read ? kept[t == type::f32] : written;
  if (at) return at;
  constexpr size_t size = size_t(frame_width) * frame_height * 4 * sizeof(float);
  at = std::aligned_alloc(64, size);
  if (!at) fail("no memory");
  std::mt19937 random(2);
  constexpr size_t period = 1 << 20;
  for (size_t i = 0; i < period; i += 4) {
    const auto bits = uint32_t(random());
    const float f = float(bits >> 8) * 0x1p-24f;
    std::memcpy(static_cast<char *>(at) + i, t == type::f32 ? static_cast<const void *>(&f) : &bits, 4);
  }
  for (size_t i = period; i < size; i++) static_cast<char *>(at)[i] = static_cast<char *>(at)[i - period];
  return at;
}

area area_for(const conversion &c, bool frame) {
  area a{nullptr, nullptr, frame_width, frame_height, c.from_bytes(), c.to_bytes()};
  if (frame) return a;
  const uint32_t pixels = small / std::max(a.from_pixel, a.to_pixel);
  a.width = c.turns ? uint32_t(std::sqrt(pixels)) : pixels;
  a.height = c.turns ? a.width : 1;
  return a;
}

void time(benchmark::State &state, const conversion &c, const set_up &prepare, bool frame, bool ours) {
  area a = area_for(c, frame);
  a.from = memory(c.component, true);
  a.to = memory(c.component, false);
  const run convert = prepare(a);
  for (auto _ : state) {
    convert();
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * int64_t(a.width) * a.height * (a.from_pixel + a.to_pixel));
  if (ours) state.counters["target"] = 1;
}

void add(const conversion &c, const std::vector<peer> &peers) {
  for (bool frame : {false, true}) {
    const auto row = [&](const char *who, const set_up &prepare, bool ours) {
      benchmark::RegisterBenchmark((c.name + (frame ? "/frame/" : "/64KiB/") + who).c_str(),
                                   [=](benchmark::State &state) { time(state, c, prepare, frame, ours); })
          ->MinTime(frame ? 0.03 : 0.005)
          ->Unit(frame ? benchmark::kMillisecond : benchmark::kMicrosecond);
    };
    row("qvimage", c.prepare, true);
    for (const peer &p : peers) row(p.who, p.prepare, false);
  }
}

}  // namespace
}  // namespace colour_peers

int main(int argc, char **argv) {
  using namespace colour_peers;
  peers others;
#ifdef QVIM_HAVE_OPENCV
  add_opencv(others);
#endif
#ifdef QVIM_HAVE_LIBYUV
  add_libyuv(others);
#endif
#ifdef QVIM_HAVE_SWSCALE
  add_swscale(others);
#endif
  for (const conversion &c : conversions()) {
    const auto found = others.extract(c.name);
    if (!found) continue;
    for (const peer &p : found.mapped()) check(c, p);
    add(c, found.mapped());
  }
  if (!others.empty()) fail("no such conversion: " + others.begin()->first);
  benchmark::AddCustomContext("qvimage_level", qvim::level_names[qvim::level_in_use()]);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
