// libyuv's conversions for bench_colour_peers. It names pixels by their words: ARGB is blue, green, red,
// alpha in memory, RGB24 is blue, green, red, and RAW is red, green, blue.
#include <libyuv.h>

#include <cstring>

#include "bench/colour_peers.hpp"
#include "kernels/processor.hpp"

namespace colour_peers {
namespace {

using plane_function = int(const uint8_t *, int, uint8_t *, int, int, int);

set_up planes(plane_function *convert) {
  return [=](const area &a) {
    return [=] {
      convert(static_cast<const uint8_t *>(a.from), a.from_line(), static_cast<uint8_t *>(a.to), a.to_line(),
              int(a.width), int(a.height));
    };
  };
}

set_up transformed() {
  return [](const area &a) {
    static int8_t m[16] = {};  // of 64ths, without constants
    for (int r = 0; r < 3; r++)
      for (int c = 0; c < 3; c++) m[4 * r + c] = int8_t(matrix[r][c] * 64);
    m[15] = 64;
    return [=] {
      libyuv::ARGBColorMatrix(static_cast<const uint8_t *>(a.from), a.from_line(),
                              static_cast<uint8_t *>(a.to), a.to_line(), m, int(a.width), int(a.height));
    };
  };
}

set_up turned(libyuv::RotationMode mode) {
  return [=](const area &a) {
    return [=] {
      libyuv::RotatePlane(static_cast<const uint8_t *>(a.from), a.from_line(), static_cast<uint8_t *>(a.to),
                          int(mode == libyuv::kRotate180 ? a.width : a.height), int(a.width), int(a.height),
                          mode);
    };
  };
}

set_up transposed() {
  return [](const area &a) {
    return [=] {
      libyuv::TransposePlane(static_cast<const uint8_t *>(a.from), a.from_line(),
                             static_cast<uint8_t *>(a.to), int(a.height), int(a.width), int(a.height));
    };
  };
}

}  // namespace

void add_libyuv(peers &to) {
  const char *level = qvim::level_names[qvim::level_in_use()];  // for both
  const bool avx2 = std::strcmp(level, "sse2") != 0, avx512 = std::strncmp(level, "avx512", 6) == 0;
  constexpr int above_avx2 = libyuv::kCpuHasAVX512BW | libyuv::kCpuHasAVX512VL | libyuv::kCpuHasAVX512VNNI |
                             libyuv::kCpuHasAVX512VBMI | libyuv::kCpuHasAVX512VBMI2 |
                             libyuv::kCpuHasAVX512VBITALG,
                above_sse2 = libyuv::kCpuHasSSSE3 | libyuv::kCpuHasSSE41 | libyuv::kCpuHasSSE42 |
                             libyuv::kCpuHasAVX | libyuv::kCpuHasAVX2;
  libyuv::MaskCpuFlags(~((avx2 ? 0 : above_sse2) | (avx512 ? 0 : above_avx2)));
  const auto add = [&](const char *name, const set_up &s, double difference = 0) {
    to[name].push_back({"libyuv", s, difference});
  };
  add("RGB to BGR 8", planes(libyuv::RAWToRGB24));
  add("RGB to BGRx 8", planes(libyuv::RAWToARGB));
  add("RGB to RGBx 8", planes(libyuv::RGB24ToARGB));
  add("RGBx to BGR 8", planes(libyuv::ARGBToRAW));
  add("RGBx to RGB 8", planes(libyuv::ARGBToRGB24));
  add("RGBx to BGRx 8", planes(libyuv::ARGBToABGR));
  add("RGB to grey 8", planes(libyuv::RAWToJ400), 3);
  add("RGBx to grey 8", planes(libyuv::ABGRToJ400), 3);
  add("grey to RGBx 8", planes(libyuv::J400ToARGB));
  add("matrix limited 8 padded", transformed(), 1);
  add("mirrored 8", planes(libyuv::I400Mirror));
  add("mirrored RGB 8", planes(libyuv::RGB24Mirror));
  add("mirrored RGBx 8", planes(libyuv::ARGBMirror));
  add("transposed 8", transposed());
  add("turned by 90 8", turned(libyuv::kRotate90));
  add("turned by 180 8", turned(libyuv::kRotate180));
}

}  // namespace colour_peers
