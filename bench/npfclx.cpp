// Colour kernels against memcpy of the same number of bytes read and written: bytes are those of the memory
// that the runs span, gaps included, and the longer of the two runs spans the size in the benchmark's name.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include <qvimage/npfclx.h>

namespace {

constexpr uint64_t small = 64 << 10, large = 256 << 20;

struct buffers {
  char *source, *destination;
};

const buffers &memory(uint64_t size) {
  static buffers kept[2];
  buffers &b = kept[size == large];
  if (!b.source) {
    for (char **p : {&b.source, &b.destination}) {
      *p = static_cast<char *>(std::malloc(size));
      if (!*p) std::abort();
      // Floats and doubles in 0 .. 1 as well as integers, none of them special.
      for (uint64_t i = 0; i < size; ++i) (*p)[i] = char(i % 4 == 3 ? 0x3E : i * 7);
    }
  }
  return b;
}

// What a kernel's param points to: bits for those that take a count, and otherwise coefficients.
const void *parameter(const std::string &name) {
  static const uint32_t ten_bits = 10, all_bits = 0;
  static const uint8_t palette[4 * 65536 * 2] = {};
  const bool bytes = name[6] == '1', words = name[6] == '2';
  if (name.find("BSH") != name.npos) return words ? &ten_bits : &all_bits;
  if (name.find("CMY") != name.npos) return &all_bits;
  if (name.find("Lut") != name.npos) return palette;
  if (name.find("toYCrCb") != name.npos) return bytes ? clx_rgb_to_ycrcb8 : clx_rgb_to_ycrcb16;
  if (name.find("YCrCb") != name.npos) return bytes ? clx_ycrcb_to_rgb8 : clx_ycrcb_to_rgb16;
  if (name.find("34sl") != name.npos) return clx_ycrcb_to_rgb16;
  if (name.find("31sl") != name.npos) return clx_grey_to_rgb;
  if (name.find("3sl") != name.npos) return clx_rgb_to_grey;
  static const double matrix[12] = {0.5, 0.25, 0.25, 0, 0.5, -0.25, 0.75, 0.125, 1, 0, -0.5, 0.5};
  return matrix;
}

// One row for the kernel and one for memcpy, or for bytes a second when there is no target against memcpy.
void add(const std::string &name, npfclx_fn *f, uint64_t srcstride, uint64_t dststride, double target,
         uint64_t size = small, const char *kind = "") {
  const uint64_t count = size / std::max(srcstride, dststride), bytes = count * (srcstride + dststride);
  const std::string what = name + kind + (size == small ? "/64KiB" : "/256MiB");
  const void *param = parameter(name);
  const uint32_t maxvalue = name[6] == '1' ? 255 : name[6] == '2' ? 65535 : 0xFFFFFFFF;
  benchmark::RegisterBenchmark((what + "/qvimage").c_str(), [=](benchmark::State &state) {
    const buffers &b = memory(size);
    for (auto _ : state) {
      f(b.source, b.destination, srcstride, dststride, count, maxvalue, param);
      benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations() * bytes));
    state.SetItemsProcessed(int64_t(state.iterations() * count));
    state.counters["target"] = target;
  });
  benchmark::RegisterBenchmark((what + "/memcpy").c_str(), [=](benchmark::State &state) {
    const buffers &b = memory(size);
    for (auto _ : state) {
      std::memcpy(b.destination, b.source, bytes / 2);
      benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations() * bytes));
  });
}

// Hue needs divisions: 100 million pixels a second are asked for, in nanoseconds a run.
void add_hue(const std::string &name, npfclx_fn *f, uint64_t stride) {
  const uint64_t count = small / stride;
  const void *param = parameter(name);
  benchmark::RegisterBenchmark((name + "/64KiB/qvimage").c_str(), [=](benchmark::State &state) {
    const buffers &b = memory(small);
    for (auto _ : state) {
      f(b.source, b.destination, stride, stride, count, 0, param);
      benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations() * count * 2 * stride));
    state.SetItemsProcessed(int64_t(state.iterations() * count));
    state.counters["most"] = double(count) * 10;
  });
}

uint64_t width(const std::string &name) {
  return name[6] == 'd' ? 8 : name[6] == 'f' ? 4 : uint64_t(name[6] - '0');
}

void add_member(const std::string &name, npfclx_fn *f) {
  const uint64_t w = width(name);
  const auto has = [&](const char *part) { return name.find(part) != name.npos; };
  if (has("BSH")) return add_hue(name, f, 3 * w);
  const uint64_t inputs = has("Lut") || has("matrix31")  ? 1
                          : has("CMYKto") || has("RGB4") ? 4
                                                         : 3,
                 outputs = has("matrix3s") || has("matrix3r") ? 1
                           : has("toCMYK") || has("RGB4")     ? 4
                                                              : 3;
  const double target = has("Lut")                                                    ? 0.3
                        : has("CMYK")                                                 ? 0
                        : has("CMY")                                                  ? 0.9
                        : has("Cb8") || has("YCrCbto") || has("toYCrCb") || has("34") ? (w == 1 ? 0.25 : 0.35)
                        : has("matrix3")                                              ? 0.4
                                                                                      : 0.6;
  const double asked = has("YCrCbtoYCbCr") ? 0.6 : target;
  for (uint64_t size : {small, large})
    if (size == small || w == 1) add(name, f, inputs * w, outputs * w, asked, size);
  if (has("RGBxto"))
    for (uint64_t size : {small, large}) {
      if (size == large && w > 1) continue;
      add(name, f, 4 * w, 3 * w, asked, size, " from pad");
      add(name, f, 3 * w, 4 * w, asked, size, " to pad");
      add(name, f, 4 * w, 4 * w, asked, size, " both padded");
    }
}

}  // namespace

int main(int argc, char **argv) {
#define QVIM_MEMBER(name, form) add_member(#name, name);
#include <qvimage/members/npfclx.inc>
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
