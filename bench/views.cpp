// Views over a memory image, read row by row over a 4000 x 3000 frame, against calling their kernel on the
// same rows.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <qvimage/qvimage.h>

#include "kernels/processor.hpp"

namespace {

constexpr int32_t width = 4000, height = 3000;
constexpr double target = 0.7;  // of the kernel's speed

// A view over an image in memory, and the kernel that does its work.
struct subject {
  std::string name;
  int32_t type, bits, pixies, hint;  // stored
  uint32_t asked, mask;              // set up for reading
  uint32_t pixel;                    // bytes then
  std::function<int32_t(qvimage *view, qvimage *source)> build;
  std::function<void(const uint8_t *row, uint8_t *out)> kernel;
};

subject conversion(const char *name, int32_t type, int32_t bits, uint32_t asked, uint8_t shown,
                   npfbix_fn *kernel, uint32_t shift, uint32_t mask) {
  const int32_t from = qvimdatasize(uint32_t(type)), to = qvimdatasize(asked);
  return {std::string("converter/") + name,
          type,
          bits,
          1,
          QVIM_HINT_GREY,
          asked,
          1,
          uint32_t(to),
          [=](qvimage *view, qvimage *source) {
            return qvimage_converter(view, source, nullptr, 0, 0, shown, 0);
          },
          [=](const uint8_t *row, uint8_t *out) { kernel(row, out, from, to, width, shift, mask); }};
}

subject colours(const char *name, int32_t type, int32_t from, int32_t to, npfclx_fn *kernel,
                const void *param) {
  const int32_t pixie = qvimdatasize(uint32_t(type));
  const auto pixel = [=](int32_t hint) { return uint32_t((hint & 15) * pixie); };
  return {std::string("colorconverter/") + name,
          type,
          0,
          from & 15,
          from,
          uint32_t(type),
          (1u << (to & 15)) - 1,
          pixel(to),
          [=](qvimage *view, qvimage *source) { return qvimage_colorconverter(view, source, to, 0); },
          [=](const uint8_t *row, uint8_t *out) {
            kernel(row, out, pixel(from), pixel(to), width, pixie == 1 ? 0xFF : 0xFFFF, param);
          }};
}

subject component(const char *name, int32_t type, npfbix_fn *kernel) {
  const int32_t pixie = qvimdatasize(uint32_t(type));
  return {std::string("colorslice/") + name,
          type,
          0,
          3,
          QVIM_HINT_RGB,
          uint32_t(type),
          1,
          uint32_t(pixie),
          [](qvimage *view, qvimage *source) { return qvimage_colorslice(view, source, 0, 2, 0); },
          [=](const uint8_t *row, uint8_t *out) { kernel(row + pixie, out, 3 * pixie, pixie, width, 0, 0); }};
}

subject table_of_bytes() {
  static uint8_t table[256];
  for (int i = 0; i < 256; i++) table[i] = uint8_t(255 - i);
  return {"lut/8",
          QVIM_UINT8,
          0,
          1,
          QVIM_HINT_GREY,
          QVIM_UINT8,
          1,
          1,
          [](qvimage *view, qvimage *source) {
            const void *const tables[4] = {table};
            return qvimage_lut2(view, source, 0, tables, tables, 0, 0, 0, 0);
          },
          [](const uint8_t *row, uint8_t *out) { npfpix1_2xlat_n(row, out, 1, 1, width, table, 8); }};
}

std::vector<subject> subjects() {
  static const uint32_t eight_bits = 8;
  return {conversion("12_to_8", QVIM_UINT16, 12, QVIM_UINT8 | QVIM_MSB, 12, npfbix_2to1_ri, 4, 0),
          conversion("16_to_8", QVIM_UINT16, 16, QVIM_UINT8 | QVIM_MSB, 16, npfbix_2to1_r8i, 8, 0),
          conversion("16_to_12", QVIM_UINT16, 16, QVIM_UINT16 | QVIM_LSB, 12, npfbix_2to2_ri, 4, 0),
          conversion("8_to_16", QVIM_UINT8, 8, QVIM_UINT16 | QVIM_MSB, 8, npfbix_1to2_l8i, 8, 0),
          conversion("16_to_float", QVIM_UINT16, 16, QVIM_FLOAT32, 16, npfbix_2tof_n, 0, 0),
          conversion("float_to_16", QVIM_FLOAT32, 0, QVIM_UINT16, 16, npfbix_fto2_an, 0, 0xFFFF),
          colours("rgb_to_bgr/8", QVIM_UINT8, QVIM_HINT_RGB, QVIM_HINT_BGR, npfclx1_RGBxtoBGRx_2n, nullptr),
          colours("rgb_to_bgr/16", QVIM_UINT16, QVIM_HINT_RGB, QVIM_HINT_BGR, npfclx2_RGBxtoBGRx_2n, nullptr),
          colours("rgb_to_grey/8", QVIM_UINT8, QVIM_HINT_RGB, QVIM_HINT_GREY, npfclx1_matrix3sl8r0,
                  clx_rgb_to_grey),
          colours("grey_to_rgb/8", QVIM_UINT8, QVIM_HINT_GREY, QVIM_HINT_RGB, npfclx1_matrix31sl8r0,
                  clx_grey_to_rgb),
          colours("rgb_to_ycrcb/8", QVIM_UINT8, QVIM_HINT_RGB, QVIM_HINT_YCRCB, npfclx1_RGBtoYCrCb8,
                  clx_rgb_to_ycrcb8),
          colours("rgb_to_cmy/8", QVIM_UINT8, QVIM_HINT_RGB, QVIM_HINT_CMY, npfclx1_RGBtoCMY, &eight_bits),
          component("8", QVIM_UINT8, npfbix_1to1_n),
          component("16", QVIM_UINT16, npfbix_2to2_n),
          table_of_bytes()};
}

void must(bool condition, const char *what) {
  if (condition) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::exit(1);
}

// A frame and a view over it.
struct scene {
  explicit scene(const subject &of)
      : s(of), pitch(size_t(width) * size_t(s.pixies * qvimdatasize(uint32_t(s.type)))) {
    pixels.resize(pitch * height);
    for (size_t i = 0; i < pixels.size(); i++) pixels[i] = uint8_t(i * 2654435761u >> 13);
    const int32_t dims[2] = {width, height};
    must(qvimage_memory(&source, pixels.data(), dims, 0, s.type, s.bits, s.pixies, s.hint, 0) == 0,
         "memory image");
    must(s.build(&view, &source) == 0, "view");
    must(view.ioset(&view, 0, s.asked, s.mask) == 1, "set-up");
    row.resize(size_t(width) * s.pixel);
  }
  const subject &s;
  size_t pitch;
  std::vector<uint8_t> pixels, row;
  qvimage source, view;
};

void by_view(benchmark::State &state, const subject &of) {
  scene s(of);
  for (auto _ : state)
    for (int32_t y = 0; y < height; y++) {
      must(s.view.ioread(&s.view, 0, s.row.data(), width, 0, y) == uint32_t(width), "read");
      benchmark::ClobberMemory();
    }
  state.counters["target"] = target;
}

void by_kernel(benchmark::State &state, const subject &of) {
  scene s(of);
  for (auto _ : state)
    for (int32_t y = 0; y < height; y++) {
      of.kernel(&s.pixels[size_t(y) * s.pitch], s.row.data());
      benchmark::ClobberMemory();
    }
}

// Views that move pixels: a flat frame of 8- or 16-bit pixels, and what the kernel of a row is.
struct turning {
  const char *name;
  int32_t type, pixies;
  uint32_t flags;  // of the rotation
};
constexpr turning turnings[] = {
    {"180_8", QVIM_UINT8, 1, 6}, {"180_16", QVIM_UINT16, 1, 6}, {"180_rgb8", QVIM_UINT8, 3, 6}};

struct turned {
  turned(int32_t type, int32_t pixies, uint32_t flags)
      : pixel(size_t(qvimdatasize(uint32_t(type)) * pixies)), pixels(size_t(width) * height * pixel) {
    for (size_t i = 0; i < pixels.size(); i++) pixels[i] = uint8_t(i * 2654435761u >> 13);
    const int32_t dims[2] = {width, height};
    must(qvimage_memory(&source, pixels.data(), dims, 0, type, 0, pixies, 0, 0) == 0, "memory image");
    must(qvimage_rotate_filt(&view, &source, 0, flags) == 0, "rotation");
  }
  void set_up(uint32_t mode) {
    must(view.ioset(&view, mode, uint32_t(view.d.pixietype), (1u << view.d.pixies) - 1) == 1, "set-up");
  }
  size_t pixel;
  std::vector<uint8_t> pixels;
  qvimage source, view;
};

void turn_by_view(benchmark::State &state, const turning &t) {
  turned s(t.type, t.pixies, t.flags);
  s.set_up(0);
  std::vector<uint8_t> row(width * s.pixel);
  for (auto _ : state)
    for (int32_t y = 0; y < height; y++) {
      must(s.view.ioread(&s.view, 0, row.data(), width, 0, y) == uint32_t(width), "read");
      benchmark::ClobberMemory();
    }
  state.counters["target"] = target;
}

void turn_by_kernel(benchmark::State &state, const turning &t) {
  turned s(t.type, t.pixies, t.flags);
  std::vector<uint8_t> row(width * s.pixel);
  for (auto _ : state)
    for (int32_t y = height - 1; y >= 0; y--) {
      const uint8_t *from = &s.pixels[size_t(y) * width * s.pixel];
      switch (s.pixel) {
        case 1: npfpix1_2transpose1_i(from, row.data(), width); break;
        case 2: npfpix1_2transpose2_i(from, row.data(), width); break;
        default: npfpix1_2transpose3_i(from, row.data(), width); break;
      }
      benchmark::ClobberMemory();
    }
}

// A whole window in one call, against copying it: 250 Mpixel/s are asked for.
void transpose_window(benchmark::State &state, uint32_t flags) {
  turned s(QVIM_UINT8, 1, flags);
  s.set_up(QVIM_WRAP);
  constexpr uint32_t all = uint32_t(width) * uint32_t(height);
  std::vector<uint8_t> out(all);
  for (auto _ : state) {
    must(s.view.ioread(&s.view, 0, out.data(), all, 0, 0) == all, "read");
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * all);
}

}  // namespace

int main(int argc, char **argv) {
  for (const subject &s : subjects()) {
    benchmark::RegisterBenchmark((s.name + "/qvimage").c_str(), by_view, s)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((s.name + "/kernel").c_str(), by_kernel, s)->Unit(benchmark::kMillisecond);
  }
  for (const turning &t : turnings) {
    const std::string name = std::string("rotate/") + t.name;
    benchmark::RegisterBenchmark((name + "/qvimage").c_str(), turn_by_view, t)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((name + "/kernel").c_str(), turn_by_kernel, t)
        ->Unit(benchmark::kMillisecond);
  }
  for (const auto &[name, flags] : {std::pair{"transposed", 1u}, {"90", 5u}, {"270", 3u}, {"as_it_is", 0u}})
    benchmark::RegisterBenchmark((std::string("rotate/") + name + "_8/qvimage").c_str(), transpose_window,
                                 flags)
        ->Unit(benchmark::kMillisecond);
  benchmark::AddCustomContext("qvimage_level", qvim::level_names[qvim::level_in_use()]);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
