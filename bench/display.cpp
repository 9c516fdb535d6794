// Images of X11, under an Xvfb of the benchmark's own: a frame into a client-side image beside the memcpy of
// its bytes, and into a window beside one round trip to the server for each of its rows.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include <qvimage/qvimage.h>

#include "tests/display/screen.hpp"

namespace {

constexpr int32_t width = 1920, height = 1080;
constexpr size_t frame_bytes = size_t{width} * height * 3;
constexpr double target = 0.4;  // of memcpy's speed

screen &server() {
  static screen one("1920x1080x24");
  return one;
}

struct frame {
  std::vector<uint8_t> pixels = std::vector<uint8_t>(frame_bytes);
  alignas(8) qvimage stored, image;

  explicit frame(int32_t hint) {
    for (size_t i = 0; i < pixels.size(); i++) pixels[i] = uint8_t(i * 7 + i / 1000);
    const int32_t dims[] = {width, height};
    qvimage_memory(&stored, pixels.data(), dims, 0, QVIM_UINT8, 8, 3, hint, 0);
    image = stored;
    if (hint != QVIM_HINT_BGR) qvimage_colorconverter(&image, &stored, QVIM_HINT_BGR, 0);
    image.ioset(&image, 0, QVIM_UINT8, 7);
  }

  // Straight from where they lie.
  void write_to(qvimage &view) const {
    for (int32_t y = 0; y < height; y++) view.iorite(&view, 0, &pixels[size_t(y) * width * 3], width, 0, y);
  }

  // Through a row, as from any image.
  void copy_to(qvimage &view) {
    uint8_t row[width * 3];
    for (int32_t y = 0; y < height; y++) {
      image.ioread(&image, 0, row, width, 0, y);
      view.iorite(&view, 0, row, width, 0, y);
    }
  }
};

void copy_bytes(benchmark::State &state) {
  frame from(QVIM_HINT_BGR);
  std::vector<uint8_t> to(frame_bytes);
  for (auto _ : state) {
    std::memcpy(to.data(), from.pixels.data(), frame_bytes);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations() * frame_bytes));
}

template <int32_t Hint, bool Straight>
void to_client_image(benchmark::State &state) {
  screen &s = server();
  if (!s.display) return state.SkipWithError("no Xvfb");
  frame from(Hint);
  XImage *const image = XCreateImage(s.display, s.visual(), 24, ZPixmap, 0, nullptr, width, height, 32, 0);
  image->data = static_cast<char *>(calloc(size_t(image->bytes_per_line), height));
  const uint32_t dims[] = {width, height};
  alignas(8) qvimage view;
  const int32_t code = qvimage_X11(&view, dims, s.display, image, 0, s.visual(), 0, QVIM_HINT_BGR);
  if (code < 0 || view.ioset(&view, 0, QVIM_UINT8, 7) < 0) state.SkipWithError("qvimage_X11");
  for (auto _ : state) {
    if (Straight)
      from.write_to(view);
    else
      from.copy_to(view);
    benchmark::ClobberMemory();
  }
  if (Straight || Hint == QVIM_HINT_RGB) state.counters["target"] = target;
  state.SetBytesProcessed(int64_t(state.iterations() * frame_bytes));
  XDestroyImage(image);
}
BENCHMARK(copy_bytes)->Name("bgr_bytes_to_client_image/memcpy");
BENCHMARK(to_client_image<QVIM_HINT_BGR, true>)->Name("bgr_bytes_to_client_image/qvimage");
BENCHMARK(copy_bytes)->Name("bgr_image_to_client_image/memcpy");
BENCHMARK(to_client_image<QVIM_HINT_BGR, false>)->Name("bgr_image_to_client_image/qvimage");
BENCHMARK(copy_bytes)->Name("rgb_image_to_client_image/memcpy");
BENCHMARK(to_client_image<QVIM_HINT_RGB, false>)->Name("rgb_image_to_client_image/qvimage");

void to_window(benchmark::State &state) {
  screen &s = server();
  if (!s.display) return state.SkipWithError("no Xvfb");
  frame from(QVIM_HINT_BGR);
  const Window window = s.window(0, 0, width, height);
  const uint32_t dims[] = {width, height};
  alignas(8) qvimage view;
  const int32_t code =
      qvimage_X11(&view, dims, s.display, nullptr, window, s.visual(), s.colormap(), QVIM_HINT_BGR);
  if (code < 0 || view.ioset(&view, 0, QVIM_UINT8, 7) < 0) state.SkipWithError("qvimage_X11");
  for (auto _ : state) from.copy_to(view);
  XDestroyWindow(s.display, window);
}

// A row is fetched and put back: what one round trip with as many bytes takes.
void fetched_rows(benchmark::State &state) {
  screen &s = server();
  if (!s.display) return state.SkipWithError("no Xvfb");
  const Window window = s.window(0, 0, width, height);
  for (auto _ : state) {
    for (int y = 0; y < height; y++) {
      XImage *const row = XGetImage(s.display, window, 0, y, width, 1, AllPlanes, ZPixmap);
      XPutImage(s.display, window, DefaultGC(s.display, s.number()), row, 0, 0, 0, y, width, 1);
      XDestroyImage(row);
    }
  }
  XDestroyWindow(s.display, window);
}
BENCHMARK(fetched_rows)->Name("bgr_to_window/rows_fetched_and_put")->UseRealTime();
BENCHMARK(to_window)->Name("bgr_to_window/qvimage")->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
