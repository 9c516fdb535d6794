// The server by Xlib alone. Its error handler is the process's: ours stands only while a call runs, and
// passes on what is not ours.
#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <iterator>

#include "display/server.hpp"

namespace qvim::x11 {

namespace {

struct call {
  Display *display;
  unsigned long first_request;
  XErrorHandler former;
  bool failed;
};
pthread_mutex_t one_call = PTHREAD_MUTEX_INITIALIZER;
call current;  // held by one_call

int on_error(Display *display, XErrorEvent *event) {
  const bool ours = display == current.display && long(event->serial - current.first_request) >= 0;
  if (!ours) return current.former ? current.former(display, event) : 0;
  current.failed = true;
  return 0;
}

// Runs requests with errors caught; false when there was one.
template <class Requests>
bool catching(Display *display, const Requests &requests) {
  const xlib_functions &x = *xlib();
  pthread_mutex_lock(&one_call);
  x.XLockDisplay(display);
  x.XSync(display, False);  // earlier errors belong to others
  current = {display, x.XNextRequest(display), nullptr, false};
  current.former = x.XSetErrorHandler(on_error);
  requests();
  x.XSync(display, False);
  x.XSetErrorHandler(current.former);
  x.XUnlockDisplay(display);
  const bool failed = current.failed;
  pthread_mutex_unlock(&one_call);
  return !failed;
}

void fetch(const target &from, const rectangle *areas, uint32_t count, fetched *to, bool *got) {
  for (uint32_t i = 0; i < count; i++) {
    XImage *image = nullptr;
    catching(from.display, [&] {
      image = xlib()->XGetImage(from.display, from.drawable, areas[i].x, areas[i].y, areas[i].width,
                                areas[i].height, AllPlanes, ZPixmap);
    });
    got[i] = image;
    if (image) to[i] = {*image, image};
  }
}

void release(fetched &area) {
  auto *const image = static_cast<XImage *>(area.owner);
  image->f.destroy_image(image);
}

void send(const target &to, const rectangle &area, fetched &from) {
  const xlib_functions &x = *xlib();
  const int screen = x.XDefaultScreen(to.display);
  const bool fits =
      from.image.depth == x.XDefaultDepth(to.display, screen) && x.XScreenCount(to.display) == 1;
  catching(to.display, [&] {
    const GC context =
        fits ? x.XDefaultGC(to.display, screen) : x.XCreateGC(to.display, to.drawable, 0, nullptr);
    if (!context) return;
    x.XPutImage(to.display, to.drawable, context, static_cast<XImage *>(from.owner), 0, 0, area.x, area.y,
                area.width, area.height);
    if (!fits) x.XFreeGC(to.display, context);
  });
}

bool colours(Display *display, Colormap map, const uint32_t *pixels, uint32_t count,
             const colour_taker &take) {
  XColor entries[128];
  for (uint32_t done = 0; done < count;) {
    const uint32_t n = std::min(count - done, uint32_t(std::size(entries)));
    for (uint32_t i = 0; i < n; i++) entries[i].pixel = pixels[done + i];
    if (!catching(display, [&] { xlib()->XQueryColors(display, map, entries, int(n)); })) return false;
    for (uint32_t i = 0; i < n; i++) take(done + i, entries[i].red, entries[i].green, entries[i].blue);
    done += n;
  }
  return true;
}

xlib_functions functions;
std::atomic<bool> all_found;

}  // namespace

// Looked for again after a search in vain: a process may load libX11 later.
const xlib_functions *xlib() {
  if (all_found.load(std::memory_order_acquire)) return &functions;
  void *const library = dlopen("libX11.so.6", RTLD_NOW | RTLD_NOLOAD);
  if (!library) return nullptr;
  xlib_functions found;
  bool complete = true;
#define QVIM_FIND(name)                                                    \
  found.name = reinterpret_cast<decltype(&::name)>(dlsym(library, #name)); \
  complete &= found.name != nullptr;
  QVIM_XLIB_FUNCTIONS(QVIM_FIND)
#undef QVIM_FIND
  if (!complete) return nullptr;
  pthread_mutex_lock(&one_call);
  functions = found;
  pthread_mutex_unlock(&one_call);
  all_found.store(true, std::memory_order_release);
  return &functions;
}

const server *xlib_server() {
  static constexpr server table{fetch, release, send, colours};
  return &table;
}

}  // namespace qvim::x11
