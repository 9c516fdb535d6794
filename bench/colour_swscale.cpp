// swscale's conversions for bench_colour_peers: whole frames of unchanged size.
#include <memory>

extern "C" {
#include <libswscale/swscale.h>
}

#include "bench/colour_peers.hpp"

namespace colour_peers {
namespace {

set_up converted(AVPixelFormat from, AVPixelFormat to) {
  return [=](const area &a) -> run {
    const int w = int(a.width), h = int(a.height);
    const std::shared_ptr<SwsContext> context(
        sws_getContext(w, h, from, w, h, to, SWS_POINT, nullptr, nullptr, nullptr), sws_freeContext);
    return [=] {
      const uint8_t *const source[4] = {static_cast<const uint8_t *>(a.from),
                                        from == AV_PIX_FMT_PAL8 ? palette() : nullptr};
      uint8_t *const destination[4] = {static_cast<uint8_t *>(a.to)};
      const int source_lines[4] = {a.from_line()}, destination_lines[4] = {a.to_line()};
      sws_scale(context.get(), source, source_lines, 0, h, destination, destination_lines);
    };
  };
}

}  // namespace

void add_swscale(peers &to) {
  const auto add = [&](const char *name, AVPixelFormat from, AVPixelFormat out, double difference = 0) {
    to[name].push_back({"swscale", converted(from, out), difference});
  };
  add("RGB to BGR 8", AV_PIX_FMT_RGB24, AV_PIX_FMT_BGR24);
  add("RGB to BGRx 8", AV_PIX_FMT_RGB24, AV_PIX_FMT_BGR0);
  add("RGB to RGBx 8", AV_PIX_FMT_RGB24, AV_PIX_FMT_RGB0);
  add("RGBx to BGR 8", AV_PIX_FMT_RGB0, AV_PIX_FMT_BGR24);
  add("RGBx to RGB 8", AV_PIX_FMT_RGB0, AV_PIX_FMT_RGB24);
  add("RGBx to BGRx 8", AV_PIX_FMT_RGBA, AV_PIX_FMT_BGRA);
  add("RGB to BGR 16", AV_PIX_FMT_RGB48, AV_PIX_FMT_BGR48);
  add("RGB to BGRx 16", AV_PIX_FMT_RGB48, AV_PIX_FMT_BGRA64);
  add("RGB to RGBx 16", AV_PIX_FMT_RGB48, AV_PIX_FMT_RGBA64);
  add("RGBx to BGR 16", AV_PIX_FMT_RGBA64, AV_PIX_FMT_BGR48);
  add("RGBx to RGB 16", AV_PIX_FMT_RGBA64, AV_PIX_FMT_RGB48);
  add("RGB to grey 8", AV_PIX_FMT_RGB24, AV_PIX_FMT_GRAY8, 4);
  add("RGB to grey 16", AV_PIX_FMT_RGB48, AV_PIX_FMT_GRAY16, 800);
  add("grey to RGB 8", AV_PIX_FMT_GRAY8, AV_PIX_FMT_RGB24, 4);
  add("grey to RGB 16", AV_PIX_FMT_GRAY16, AV_PIX_FMT_RGB48, 800);
  add("palette to RGB 8", AV_PIX_FMT_PAL8, AV_PIX_FMT_BGR24);  // its palette's words are blue first in memory
}

}  // namespace colour_peers
