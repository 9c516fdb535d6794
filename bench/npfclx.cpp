// Colour kernels against memcpy of the same number of bytes read and written: bytes are those of the memory
// that the runs span, gaps included, and the longer of the two runs spans the size in the benchmark's name.
#include <algorithm>
#include <string>
#include <vector>

#include <qvimage/npfclx.h>

#include "bench/kernel_rows.hpp"

namespace {

using kernel_rows::in_cache, kernel_rows::in_memory;

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

void add(const std::string &name, npfclx_fn *f, uint64_t srcstride, uint64_t dststride,
         kernel_rows::goal target, uint64_t size) {
  const void *param = parameter(name);
  const uint32_t maxvalue = name[6] == '1' ? 255 : name[6] == '2' ? 65535 : 0xFFFFFFFF;
  const auto run = [=](const void *src, void *dst, uint64_t count) {
    f(src, dst, srcstride, dststride, count, maxvalue, param);
  };
  kernel_rows::add(
      {name, double(std::max(srcstride, dststride)), double(srcstride + dststride), target, run, {size}});
}

// Hue needs divisions: 100 million pixels a second are asked for.
void add_hue(const std::string &name, npfclx_fn *f, uint64_t stride) {
  const void *param = parameter(name);
  const auto run = [=](const void *src, void *dst, uint64_t count) {
    f(src, dst, stride, stride, count, 0, param);
  };
  kernel_rows::add_alone(name, in_cache / stride, 2 * stride, 10, run);
}

uint64_t width(const std::string &name) {
  return name[6] == 'd' ? 8 : name[6] == 'f' ? 4 : uint64_t(name[6] - '0');
}

kernel_rows::goal goal_of(const std::string &name, uint64_t width) {
  const auto has = [&](const char *part) { return name.find(part) != name.npos; };
  const bool bytes = width == 1, words = width == 2, grey = has("3sl") || has("31sl");
  const double products = bytes ? 0.25 : 0.35;
  if (has("YCrCbtoYCbCr")) return {0.6, 0.45};
  if (has("Lut")) return {0.3, bytes ? 0.15 : 0};
  if (has("CMYK")) return 0;
  if (has("CMY")) return {0.9, 0.8};
  if (has("YCrCb")) return {products, bytes ? 0.13 : words ? 0.25 : 0};
  if (has("34")) return products;
  if (has("matrix3")) return {0.4, grey ? 0.3 : 0};
  return {0.6, 0.45};
}

void add_member(const std::string &name, npfclx_fn *f) {
  const uint64_t w = width(name);
  const auto has = [&](const char *part) { return name.find(part) != name.npos; };
  if (has("BSH")) return add_hue(name, f, 3 * w);
  if (has("Lut") && w == 4) return;  // the indices in the buffers would need a palette of gibibytes
  const uint64_t inputs = has("Lut") || has("matrix31")  ? 1
                          : has("CMYKto") || has("RGB4") ? 4
                                                         : 3,
                 outputs = has("matrix3s") || has("matrix3r") ? 1
                           : has("toCMYK") || has("RGB4")     ? 4
                                                              : 3;
  const kernel_rows::goal target = goal_of(name, w);
  for (uint64_t size : {in_cache, in_memory}) {
    if (size == in_memory && w > 1) continue;
    add(name, f, inputs * w, outputs * w, target, size);
    if (!has("RGBxto")) continue;
    add(name + " from pad", f, 4 * w, 3 * w, target, size);
    add(name + " to pad", f, 3 * w, 4 * w, target, size);
    add(name + " both padded", f, 4 * w, 4 * w, target, size);
  }
}

}  // namespace

int main(int argc, char **argv) {
#define QVIM_MEMBER(name, form) add_member(#name, name);
#include <qvimage/members/npfclx.inc>
  return kernel_rows::main(argc, argv);
}
