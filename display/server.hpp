// What the view asks of the X server, with errors that come back to the caller: the application's error
// handler never sees them.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>

namespace qvim::x11 {

// Coordinates of requests have 16 bits: pixels from here on cannot be named.
constexpr int64_t first_beyond_protocol = 32768;

// A rectangle of a drawable in client memory. Its image is complete but for what only Xlib itself needs.
struct fetched {
  XImage image;
  void *owner;  // what is to be given back
};

// Where the pixels are.
struct target {
  Display *display;
  Drawable drawable;
};

struct rectangle {
  int16_t x, y;
  uint16_t width, height;
};

// Takes the colour of pixel i, with 16 bits a channel.
struct colour_taker {
  virtual void operator()(uint32_t i, uint16_t red, uint16_t green, uint16_t blue) const = 0;

 protected:
  ~colour_taker() = default;
};

// Two of these exist: over the XCB connection below Xlib, which hands errors to whoever made the request, and
// over Xlib alone, with an error handler set for the time of a call.
struct server {
  // Asks for `count` rectangles at once. Entry i of `got` tells whether `to[i]` was fetched; those are to be
  // released.
  void (*fetch)(const target &, const rectangle *, uint32_t count, fetched *to, bool *got);
  void (*release)(fetched &);
  // Sends a fetched rectangle back, changed, through the screen's default graphics context, or one of its own
  // where that does not fit the drawable. What the server refuses is lost without a sound.
  void (*send)(const target &, const rectangle &, fetched &);
  // Looks pixel values up in a colour map and hands the colours to `take`; false when one of them has none.
  bool (*colours)(Display *, Colormap, const uint32_t *pixels, uint32_t count, const colour_taker &take);
};

// What one call takes at the most.
constexpr uint32_t most_rectangles = 128;
constexpr uint32_t most_colours = 4096;

// The library's functions that the servers use, by name. X11 programs have libX11 in their process.
#define QVIM_XLIB_FUNCTIONS(X) \
  X(XCreateGC)                 \
  X(XDefaultDepth)             \
  X(XDefaultGC)                \
  X(XDefaultScreen)            \
  X(XFlushGC)                  \
  X(XFreeGC)                   \
  X(XGContextFromGC)           \
  X(XGetImage)                 \
  X(XInitImage)                \
  X(XLockDisplay)              \
  X(XNextRequest)              \
  X(XPutImage)                 \
  X(XQueryColors)              \
  X(XScreenCount)              \
  X(XSetErrorHandler)          \
  X(XSync)                     \
  X(XUnlockDisplay)

struct xlib_functions {
#define QVIM_MEMBER(name) decltype(&::name) name;
  QVIM_XLIB_FUNCTIONS(QVIM_MEMBER)
#undef QVIM_MEMBER
};

// Null when libX11 is not in the process.
const xlib_functions *xlib();

// Null when libX11-xcb cannot be had.
const server *xcb_server();
const server *xlib_server();  // for processes in which xlib() is not null

}  // namespace qvim::x11
