// Views over a memory image, read row by row over a 4000 x 3000 frame, against calling their kernel on the
// same rows.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <qvimage/qvimage.h>

namespace {

constexpr int32_t width = 4000, height = 3000;
constexpr double target = 0.7;  // of the kernel's speed

struct conversion {
  const char *name;
  uint32_t type, bits;    // stored
  uint32_t asked, shown;  // the caller's type word, the converter's bits
  npfbix_fn *kernel;
  uint32_t shift, mask;
};
constexpr conversion conversions[] = {
    {"12_to_8", QVIM_UINT16, 12, QVIM_UINT8 | QVIM_MSB, 12, npfbix_2to1_ri, 4, 0},
    {"16_to_8", QVIM_UINT16, 16, QVIM_UINT8 | QVIM_MSB, 16, npfbix_2to1_r8i, 8, 0},
    {"16_to_12", QVIM_UINT16, 16, QVIM_UINT16 | QVIM_LSB, 12, npfbix_2to2_ri, 4, 0},
    {"8_to_16", QVIM_UINT8, 8, QVIM_UINT16 | QVIM_MSB, 8, npfbix_1to2_l8i, 8, 0},
    {"16_to_float", QVIM_UINT16, 16, QVIM_FLOAT32, 16, npfbix_2tof_n, 0, 0},
    {"float_to_16", QVIM_FLOAT32, 0, QVIM_UINT16, 16, npfbix_fto2_an, 0, 0xFFFF},
};

void must(bool condition, const char *what) {
  if (condition) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::exit(1);
}

// A frame and a converter over it.
struct scene {
  explicit scene(const conversion &of)
      : c(of),
        from(qvimdatasize(of.type)),
        to(qvimdatasize(of.asked)),
        pixels(size_t(width) * height * size_t(from)) {
    for (size_t i = 0; i < pixels.size(); i++) pixels[i] = uint8_t(i * 2654435761u >> 13);
    const int32_t dims[2] = {width, height};
    must(qvimage_memory(&source, pixels.data(), dims, 0, int32_t(c.type), int32_t(c.bits), 1, QVIM_HINT_GREY,
                        0) == 0,
         "memory image");
    must(qvimage_converter(&view, &source, nullptr, 0, 0, uint8_t(c.shown), 0) == 0, "converter");
    must(view.ioset(&view, 0, c.asked, 1) == 1, "set-up");
    row.resize(size_t(width) * size_t(to));
  }
  const conversion &c;
  int32_t from, to;
  std::vector<uint8_t> pixels, row;
  qvimage source, view;
};

void by_view(benchmark::State &state, const conversion &c) {
  scene s(c);
  for (auto _ : state)
    for (int32_t y = 0; y < height; y++) {
      must(s.view.ioread(&s.view, 0, s.row.data(), width, 0, y) == uint32_t(width), "read");
      benchmark::ClobberMemory();
    }
  state.counters["target"] = target;
}

void by_kernel(benchmark::State &state, const conversion &c) {
  scene s(c);
  for (auto _ : state)
    for (int32_t y = 0; y < height; y++) {
      c.kernel(&s.pixels[size_t(y) * width * size_t(s.from)], s.row.data(), s.from, s.to, width, c.shift,
               c.mask);
      benchmark::ClobberMemory();
    }
}

}  // namespace

int main(int argc, char **argv) {
  for (const conversion &c : conversions) {
    const std::string name = std::string("converter/") + c.name;
    benchmark::RegisterBenchmark((name + "/qvimage").c_str(), by_view, c)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((name + "/kernel").c_str(), by_kernel, c)->Unit(benchmark::kMillisecond);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
