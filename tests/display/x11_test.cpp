// Images over X11: each pixel against the channels' formulas, with Xlib's own calls as the witness.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include <qvimage/qvimage.h>

#include "core/record.hpp"
#include "display/state.hpp"
#include "tests/display/screen.hpp"

namespace {

using namespace qvim::x11;
using bytes = std::vector<uint8_t>;

constexpr int width = 37, height = 23;
constexpr uint32_t dims[2] = {width, height};
int errors_seen;

int count_error(Display *, XErrorEvent *) { return errors_seen++, 0; }

bytes noise(size_t n, unsigned seed) {
  std::mt19937 random(seed);
  bytes result(n);
  for (auto &b : result) b = uint8_t(random());
  return result;
}

// What becomes of a component by way of a channel of so many bits, in a view of `widest` bits.
int through(int value, int bits, int widest) {
  return (value >> (widest - bits) & ((1 << bits) - 1)) << (widest - bits);
}

struct format {
  const char *name;
  unsigned long red, green, blue;
  int depth, bits[3];  // significant bits of blue, green, red
  int widest() const { return std::max({bits[0], bits[1], bits[2]}); }
  // The significant bits of a pixel's blue, green or red.
  int component(unsigned long pixel, int k) const {
    const unsigned long masks[] = {blue, green, red}, mask = masks[k];
    return int((pixel & mask) >> __builtin_ctzl(mask) >> (__builtin_popcountl(mask) - bits[k]));
  }
};
constexpr format formats[] = {
    {"8-8-8", 0xFF0000, 0xFF00, 0xFF, 24, {8, 8, 8}},
    {"blue on top", 0xFF, 0xFF00, 0xFF0000, 24, {8, 8, 8}},
    {"5-6-5", 0xF800, 0x7E0, 0x1F, 16, {5, 6, 5}},
    {"5-5-5", 0x7C00, 0x3E0, 0x1F, 15, {5, 5, 5}},
    {"10-10-10", 0x3FF00000, 0xFFC00, 0x3FF, 30, {8, 8, 8}},
    {"3-3-2", 0xE0, 0x1C, 0x3, 8, {2, 3, 3}},
};

Visual visual_of(const format &f) {
  Visual v{};
  v.c_class = TrueColor;
  v.red_mask = f.red, v.green_mask = f.green, v.blue_mask = f.blue;
  return v;
}

TEST(X11Channels, AreTheTopBitsOfTheirMasks) {
  struct row {
    uint64_t red, green, blue;
    int bits;
    channel expected[3];  // red, green, blue
  };
  const row table[] = {
      {0x3FF00000, 0xFFC00, 0x3FF, 8, {{255, 22, 0}, {255, 12, 0}, {255, 2, 0}}},
      {0xF800, 0x7E0, 0x1F, 6, {{31, 11, 1}, {63, 5, 0}, {31, 0, 1}}},
      {0, 0, 0, 0, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}},
      {0xFF0000, 0xFF00, 0, 8, {{255, 16, 0}, {255, 8, 0}, {0, 0, 0}}},
      {0xFFFF000000000000, 0x5, 0x1F, 8, {{255, 56, 0}, {5, 0, 6}, {31, 0, 3}}},
  };
  for (const row &r : table) {
    const channels c = channels_of_masks(r.red, r.green, r.blue);
    EXPECT_EQ(c.bits(), r.bits);
    const channel got[3] = {c.red, c.green, c.blue};
    EXPECT_EQ(std::memcmp(got, r.expected, sizeof got), 0) << std::hex << r.red;
  }
}

class X11 : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    screen_ = new screen("640x480x24");
    ASSERT_TRUE(screen_->display) << "Xvfb cannot be started";
    XSetErrorHandler(count_error);
  }
  static void TearDownTestSuite() { delete screen_; }

  void SetUp() override {
    ASSERT_TRUE(screen_->display);
    errors_seen = 0;
  }
  void TearDown() override { EXPECT_EQ(errors_seen, 0) << "the application's handler saw an error"; }

  static Display *display() { return screen_->display; }
  static uint32_t latched(qvimage &view, int32_t clear = 1) {
    return view.aeiou(&view, 'e', clear, 0, nullptr);
  }

  inline static screen *screen_;
};

// Every scan, selection and layout over client-side images, written and read back, beside a plane of bytes.
TEST_F(X11, ClientSideImagesHoldWhatIsWritten) {
  for (const format &f : formats)
    for (int order : {LSBFirst, MSBFirst})
      for (int32_t hint : {3, 4}) {
        SCOPED_TRACE(testing::Message() << f.name << ", order " << order << ", hint " << hint);
        Visual visual = visual_of(f);
        XImage *const image =
            XCreateImage(display(), &visual, unsigned(f.depth), ZPixmap, 0, nullptr, width, height, 32, 0);
        ASSERT_TRUE(image);
        bytes store = noise(size_t(image->bytes_per_line) * height, 1);
        image->data = reinterpret_cast<char *>(store.data());
        image->byte_order = order;
        XInitImage(image);
        qvimage view;
        ASSERT_EQ(qvimage_X11(&view, dims, display(), image, 0, &visual, 0, hint), 0);
        EXPECT_EQ(view.d.i_bitsused, f.widest());
        // The model: components as the view shows them.
        bytes model(size_t(width) * height * 3);
        ASSERT_EQ(view.ioset(&view, QVIM_WRAP, QVIM_UINT8, 7), 1);
        ASSERT_EQ(view.ioread(&view, 0, model.data(), width * height, 0, 0), uint32_t(width * height));
        std::mt19937 random(7);
        for (int round = 0; round < 40; round++) {
          const int first = int(random() % uint32_t(hint)),
                    count = 1 + int(random() % uint32_t(hint - first));
          const bool down = random() % 2, wrap = random() % 2;
          const int x = int(random() % width), y = int(random() % height);
          const uint32_t mask = ((1u << count) - 1) << first;
          ASSERT_EQ(view.ioset(&view, (down ? QVIM_YSCAN : 0) | (wrap ? QVIM_WRAP : 0), QVIM_UINT8, mask), 1);
          const uint32_t n = view.iolen(&view, 1 + random() % 200, x, y);
          const bytes from = noise(size_t(n) * count, random());
          ASSERT_EQ(view.iorite(&view, 0, from.data(), n, x, y), n);
          for (uint32_t i = 0; i < n; i++) {
            const int at = down ? y + int(i) : x + int(i);
            const int px = down ? x + at / height : at % width, py = down ? at % height : y + at / width;
            for (int k = 0; k < count; k++)
              if (first + k < 3)
                model[size_t(py * width + px) * 3 + first + k] =
                    uint8_t(through(from[size_t(i) * count + k], f.bits[first + k], f.widest()));
          }
          bytes back(from.size(), 0xEE);
          ASSERT_EQ(view.ioread(&view, 0, back.data(), n, x, y), n);
        }
        ASSERT_EQ(view.ioset(&view, QVIM_WRAP, QVIM_UINT8, 7), 1);
        bytes shown(model.size());
        view.ioread(&view, 0, shown.data(), width * height, 0, 0);
        EXPECT_EQ(shown, model);
        // The witness: Xlib's own look at some pixels.
        for (int i = 0; i < 50; i++) {
          const int x = int(random() % width), y = int(random() % height);
          const unsigned long pixel = XGetPixel(image, x, y);
          const uint8_t *m = &model[size_t(y * width + x) * 3];
          for (int k = 0; k < 3; k++) EXPECT_EQ(f.component(pixel, k), m[k] >> (f.widest() - f.bits[k]));
        }
        EXPECT_EQ(latched(view), 0u);
        image->data = nullptr;
        XDestroyImage(image);
      }
}

TEST_F(X11, PixelsBeyondAClientSideImageAreLeftAlone) {
  Visual visual = visual_of(formats[0]);
  XImage *const image = XCreateImage(display(), &visual, 24, ZPixmap, 0, nullptr, 5, 4, 32, 0);
  bytes store(size_t(image->bytes_per_line) * 4);  // of just that size: a sanitizer sees more
  image->data = reinterpret_cast<char *>(store.data());
  qvimage view;
  ASSERT_EQ(qvimage_X11(&view, dims, display(), image, 0, &visual, 0, 3), 0);
  for (uint32_t mode : {0u, uint32_t(QVIM_YSCAN)})
    for (int from : {0, 4, 6}) {
      ASSERT_EQ(view.ioset(&view, mode, QVIM_UINT8, 7), 1);
      bytes pixels(size_t(width) * 3, 0xAB);
      EXPECT_GT(view.iorite(&view, 0, pixels.data(), 20, from, from), 0u);
      EXPECT_GT(view.ioread(&view, 0, pixels.data(), 20, from, from), 0u);
      EXPECT_EQ(pixels.back(), 0xAB);
      EXPECT_EQ(int32_t(latched(view)), QVERR_X11);
      EXPECT_EQ(latched(view), 0u);
    }
  image->data = nullptr;
  XDestroyImage(image);
}

TEST_F(X11, ThreadsHaveAConnectionEach) {
  int right[2] = {};
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 2; t++)
    threads.emplace_back([&, t] {
      Display *const own = XOpenDisplay(DisplayString(display()));
      if (!own) return;
      Visual visual = visual_of(formats[0]);
      const Drawable drawable = XCreatePixmap(own, DefaultRootWindow(own), width, height, 24);
      qvimage view;
      qvimage_X11(&view, dims, own, nullptr, drawable, &visual, 0, 3);
      for (unsigned round = 0; round < 50; round++) {
        const bytes from = noise(size_t(width) * height * 3, 2 * round + t);
        bytes back(from.size());
        view.ioset(&view, QVIM_WRAP, QVIM_UINT8, 7);
        view.iorite(&view, 0, from.data(), width * height, 0, 0);
        view.ioread(&view, 0, back.data(), width * height, 0, 0);
        right[t] += back == from;
      }
      XFreePixmap(own, drawable);
      XCloseDisplay(own);
    });
  for (auto &t : threads) t.join();
  EXPECT_EQ(right[0], 50);
  EXPECT_EQ(right[1], 50);
}

// Both ways to talk to the server.
class X11Servers : public X11, public testing::WithParamInterface<bool> {
 protected:
  qvimage over(Drawable drawable, const uint32_t size[2], Visual *visual, Colormap map = 0) {
    qvimage view;
    EXPECT_EQ(qvimage_X11(&view, size, display(), nullptr, drawable, visual, map, 3), 0);
    auto &state = qvim::state_of<qvim::x11::state>(&view);
    EXPECT_EQ(state.requests, xcb_server());
    if (GetParam()) state.requests = xlib_server();
    return view;
  }
};
INSTANTIATE_TEST_SUITE_P(, X11Servers, testing::Values(false, true),
                         [](const auto &is_xlib) { return is_xlib.param ? "Xlib" : "XCB"; });

TEST_P(X11Servers, WindowsAndPixmapsOfEveryDepthShowWhatIsWritten) {
  for (const format &f : {formats[0], formats[2], formats[3], formats[4]}) {
    SCOPED_TRACE(f.name);
    Visual visual = visual_of(f);
    const Drawable drawable =
        f.depth == 24 ? screen_->window(10, 10, width, height)
                      : XCreatePixmap(display(), screen_->root(), width, height, unsigned(f.depth));
    qvimage view = over(drawable, dims, &visual);
    for (uint32_t mode : {0u, uint32_t(QVIM_YSCAN)}) {
      ASSERT_EQ(view.ioset(&view, mode | QVIM_WRAP, QVIM_UINT8, 7), 1);
      const bytes from = noise(size_t(width) * height * 3, mode);
      const unsigned long before = XNextRequest(display());
      ASSERT_EQ(view.iorite(&view, 0, from.data(), width * height, 0, 0), uint32_t(width * height));
      if (!GetParam()) {  // fetched and sent, with a context made and freed for other depths
        EXPECT_LE(XNextRequest(display()) - before, (f.depth == 24 ? 3u : 5u) * (mode ? width : height));
      }
      XImage *const witness = XGetImage(display(), drawable, 0, 0, width, height, AllPlanes, ZPixmap);
      ASSERT_TRUE(witness);
      bytes back(from.size());
      view.ioread(&view, 0, back.data(), width * height, 0, 0);
      for (int i = 0; i < width * height; i++) {
        const unsigned long pixel =
            mode ? XGetPixel(witness, i / height, i % height) : XGetPixel(witness, i % width, i / width);
        for (int k = 0; k < 3; k++) {
          ASSERT_EQ(f.component(pixel, k),
                    from[size_t(i) * 3 + k] >> (f.widest() - f.bits[k]) & ((1 << f.bits[k]) - 1));
          ASSERT_EQ(back[size_t(i) * 3 + k], through(from[size_t(i) * 3 + k], f.bits[k], f.widest()));
        }
      }
      XDestroyImage(witness);
      EXPECT_EQ(latched(view), 0u);
    }
  }
}

TEST_P(X11Servers, WhatCannotBeReachedIsSkippedAndSaid) {
  struct row {
    const char *what;
    Drawable drawable;
    uint32_t size[2];
    int x, y;
    uint32_t n, reached;
  };
  const Window gone = screen_->window(0, 0, 8, 8);
  XDestroyWindow(display(), gone);
  const Window beyond =
      screen_->window(-5, 470, 20, 20);  // its first columns and last rows are off the screen
  const Pixmap pixmap = XCreatePixmap(display(), screen_->root(), 300, 4, 24);
  const row table[] = {{"destroyed", gone, {8, 8}, 0, 0, 8, 0},
                       {"half on the screen", beyond, {20, 20}, 0, 2, 20, 15},
                       {"off the screen", beyond, {20, 20}, 0, 15, 20, 0},
                       {"beyond 16 bits", pixmap, {70000, 4}, 65536, 0, 200, 0},
                       {"beyond the pixmap", pixmap, {400, 4}, 290, 1, 100, 10}};
  for (const row &r : table) {
    SCOPED_TRACE(r.what);
    qvimage view = over(r.drawable, r.size, screen_->visual());
    ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT8, 7), 1);
    const bytes grey(size_t(r.n) * 3, 0x77);
    EXPECT_EQ(view.iorite(&view, 0, grey.data(), r.n, r.x, r.y), r.n);
    EXPECT_EQ(int32_t(latched(view)), QVERR_X11);
    bytes back(grey.size(), 0x11);
    EXPECT_EQ(view.ioread(&view, 0, back.data(), r.n, r.x, r.y), r.n);
    EXPECT_EQ(int32_t(latched(view, 0)), QVERR_X11);
    EXPECT_EQ(int32_t(latched(view)), QVERR_X11);
    EXPECT_EQ(latched(view), 0u);
    EXPECT_EQ(std::count(back.begin(), back.end(), 0x77), std::ptrdiff_t(r.reached) * 3);
    EXPECT_EQ(std::count(back.begin(), back.end(), 0x11), std::ptrdiff_t(r.n - r.reached) * 3);
  }
  // Pixel 65543 would be pixel 7 on the wire.
  qvimage view = over(pixmap, table[4].size, screen_->visual());
  ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT8, 7), 1);
  uint8_t pixel[3] = {};
  XSync(display(), False);
  view.ioread(&view, 0, pixel, 1, 7, 0);
  EXPECT_NE(pixel[0], 0x77);
  // The word outlives block transfers, which put the record's set-up back.
  qvimage lost = over(gone, dims, screen_->visual());
  ASSERT_GE(lost.bxts(&lost, 0, QVIM_UINT8, 7), 0);
  qvxyzcoord at{1, 1, 0};
  EXPECT_EQ(lost.bxta(&lost, 0, pixel, &at, 1, QVIM_OP_READ), 1u);
  EXPECT_EQ(int32_t(latched(lost)), QVERR_X11);
}

TEST_F(X11, ColourMapsAreLookedUpAndNothingIsWritten) {
  const screen grey_screen("64x48x8", "3");
  ASSERT_TRUE(grey_screen.display);
  Display *const d = grey_screen.display;
  ASSERT_EQ(grey_screen.visual()->c_class, PseudoColor);
  const Colormap map = XCreateColormap(d, grey_screen.root(), grey_screen.visual(), AllocAll);
  for (int i = 0; i < 256; i++) {
    XColor c{};
    c.pixel = unsigned(i);
    c.red = uint16_t(i * 200), c.green = uint16_t(65535 - i * 100), c.blue = uint16_t(i * 257);
    c.flags = DoRed | DoGreen | DoBlue;
    XStoreColor(d, map, &c);
  }
  const Pixmap pixmap = XCreatePixmap(d, grey_screen.root(), 256, 2, 8);
  const GC context = XCreateGC(d, pixmap, 0, nullptr);
  for (int i = 0; i < 256; i++) {
    XSetForeground(d, context, unsigned(i));
    XDrawLine(d, pixmap, context, i, 0, i, 1);
  }
  const uint32_t size[2] = {256, 2};
  for (const server *requests : {xcb_server(), xlib_server()}) {
    qvimage view;
    ASSERT_EQ(qvimage_X11(&view, size, d, nullptr, pixmap, grey_screen.visual(), map, 3), 0);
    qvim::state_of<qvim::x11::state>(&view).requests = requests;
    EXPECT_EQ(view.d.i_bitsused, 8);
    ASSERT_EQ(view.ioset(&view, 0, QVIM_UINT8, 7), 1);
    bytes row(256 * 3, 0x55);
    EXPECT_EQ(view.iorite(&view, 0, row.data(), 256, 0, 0), 256u);
    const unsigned long before = XNextRequest(d);
    ASSERT_EQ(view.ioread(&view, 0, row.data(), 256, 0, 0), 256u);
    if (requests == xcb_server()) {
      EXPECT_EQ(XNextRequest(d) - before, 2u);
    }
    for (int i = 0; i < 256; i++) {
      ASSERT_EQ(row[size_t(i) * 3], i * 257 >> 8);
      ASSERT_EQ(row[size_t(i) * 3 + 1], (65535 - i * 100) >> 8);
      ASSERT_EQ(row[size_t(i) * 3 + 2], i * 200 >> 8);
    }
    EXPECT_EQ(latched(view), 0u);
    qvim::state_of<qvim::x11::state>(&view).map = 0x1234567;  // no colour map
    view.ioread(&view, 0, row.data(), 256, 0, 0);
    EXPECT_EQ(int32_t(latched(view)), QVERR_X11);
  }
  XFreeGC(d, context);
}

TEST_F(X11, RefusesWhatItCannotServe) {
  Visual *const visual = screen_->visual();
  XImage empty{};
  struct row {
    bool view, size;
    uint32_t width, height;
    void *display, *image;
    Drawable drawable;
    void *visual;
    int32_t code;
  };
  void *const d = display();
  const Window window = screen_->window(0, 0, 4, 4);
  const row table[] = {{false, true, 4, 4, d, nullptr, window, visual, QVERR_USAGE},
                       {true, false, 4, 4, d, nullptr, window, visual, QVERR_USAGE},
                       {true, true, 0, 4, d, nullptr, window, visual, QVERR_LOGIC},
                       {true, true, 4, 0, d, nullptr, window, visual, QVERR_LOGIC},
                       {true, true, 4, 1u << 31, d, nullptr, window, visual, QVERR_LOGIC},
                       {true, true, 4, 4, nullptr, nullptr, window, visual, QVERR_USAGE},
                       {true, true, 4, 4, d, nullptr, 0, visual, QVERR_USAGE},
                       {true, true, 4, 4, d, nullptr, window, nullptr, QVERR_USAGE},
                       {true, true, 4, 4, d, &empty, 0, visual, QVERR_USAGE},
                       {true, true, 4, 4, d, nullptr, window, visual, 0}};
  qvimage view;
  for (const row &r : table) {
    const uint32_t size[2] = {r.width, r.height};
    EXPECT_EQ(qvimage_X11(r.view ? &view : nullptr, r.size ? size : nullptr, r.display, r.image, r.drawable,
                          r.visual, 0, 3),
              r.code);
    if (r.view) {
      EXPECT_STREQ(std::string(view.devname, 8).c_str(), r.code < 0 ? "NULL2" : "QVIMX11");
    }
  }
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT16, 7), QVERR_DATATYPE);
  EXPECT_EQ(view.ioset(&view, 0, QVIM_UINT8, 5), QVERR_COLOUR);
  EXPECT_EQ(view.ioset(&view, QVIM_ZSCAN, QVIM_UINT8, 7), QVERR_UNSUPPORTED);
  EXPECT_LT(view.imapset(&view, 0, QVIM_UINT8, 7), 0);
  for (const auto &[code, answer] :
       {std::pair{'b', 4098u}, {'i', 4097u}, {'m', 4097u}, {'B', 357913941u}, {'I', 1431655765u}, {'q', 0u}})
    EXPECT_EQ(view.aeiou(&view, uint32_t(code), 0, 0, nullptr), answer);
}

}  // namespace
