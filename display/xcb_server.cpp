// The server over the XCB connection that lies below Xlib: replies and errors of a request go to its maker
// alone.
#include <dlfcn.h>
#include <pthread.h>
#include <xcb/xproto.h>

#include <cstdlib>
#include <cstring>

#include "display/server.hpp"

extern "C" xcb_connection_t *XGetXCBConnection(Display *);  // of libX11-xcb

namespace qvim::x11 {

namespace {

#define QVIM_XCB_FUNCTIONS(X)       \
  X(xcb_create_gc_checked)          \
  X(xcb_discard_reply)              \
  X(xcb_free_gc_checked)            \
  X(xcb_generate_id)                \
  X(xcb_get_image)                  \
  X(xcb_get_image_data)             \
  X(xcb_get_image_reply)            \
  X(xcb_get_setup)                  \
  X(xcb_put_image_checked)          \
  X(xcb_query_colors)               \
  X(xcb_query_colors_colors)        \
  X(xcb_query_colors_colors_length) \
  X(xcb_query_colors_reply)         \
  X(xcb_setup_pixmap_formats)       \
  X(xcb_setup_pixmap_formats_length)

struct xcb_functions {
  decltype(&::XGetXCBConnection) connection;
#define QVIM_MEMBER(name) decltype(&::name) name;
  QVIM_XCB_FUNCTIONS(QVIM_MEMBER)
#undef QVIM_MEMBER
};

xcb_functions xcb;
bool all_found;
pthread_once_t looked_for = PTHREAD_ONCE_INIT;

template <class Function>
void find(void *library, const char *name, Function *function) {
  *function = library ? reinterpret_cast<Function>(dlsym(library, name)) : nullptr;
  all_found &= *function != nullptr;
}

void look_for_functions() {
  all_found = true;
  find(dlopen("libX11-xcb.so.1", RTLD_NOW), "XGetXCBConnection", &xcb.connection);
  void *const library = dlopen("libxcb.so.1", RTLD_NOW | RTLD_NOLOAD);
#define QVIM_FIND(name) find(library, #name, &xcb.name);
  QVIM_XCB_FUNCTIONS(QVIM_FIND)
#undef QVIM_FIND
}

// Describes the reply's pixels as an image of Xlib; false for a depth that the server did not announce.
bool describe(xcb_connection_t *connection, const rectangle &area, xcb_get_image_reply_t *reply,
              XImage *image) {
  const xcb_setup_t *const setup = xcb.xcb_get_setup(connection);
  const xcb_format_t *format = xcb.xcb_setup_pixmap_formats(setup);
  int formats = xcb.xcb_setup_pixmap_formats_length(setup);
  for (; formats > 0 && format->depth != reply->depth; formats--) format++;
  if (formats <= 0) return false;
  std::memset(image, 0, sizeof *image);
  image->width = area.width;
  image->height = area.height;
  image->format = ZPixmap;
  image->data = reinterpret_cast<char *>(xcb.xcb_get_image_data(reply));
  image->byte_order = setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST ? LSBFirst : MSBFirst;
  image->bitmap_bit_order = setup->bitmap_format_bit_order == XCB_IMAGE_ORDER_LSB_FIRST ? LSBFirst : MSBFirst;
  image->bitmap_unit = setup->bitmap_format_scanline_unit;
  image->bitmap_pad = format->scanline_pad;
  image->depth = reply->depth;
  image->bits_per_pixel = format->bits_per_pixel;
  return xlib()->XInitImage(image);  // also the bytes of a line, from the pad
}

void fetch(const target &from, const rectangle *areas, uint32_t count, fetched *to, bool *got) {
  xcb_connection_t *const connection = xcb.connection(from.display);
  xcb_get_image_cookie_t asked[most_rectangles];
  for (uint32_t i = 0; i < count; i++)
    asked[i] = xcb.xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, uint32_t(from.drawable), areas[i].x,
                                 areas[i].y, areas[i].width, areas[i].height, ~0u);
  for (uint32_t i = 0; i < count; i++) {
    xcb_generic_error_t *error = nullptr;
    xcb_get_image_reply_t *const reply = xcb.xcb_get_image_reply(connection, asked[i], &error);
    std::free(error);
    to[i].owner = reply;
    got[i] = reply && describe(connection, areas[i], reply, &to[i].image);
    if (reply && !got[i]) std::free(reply);
  }
}

void release(fetched &area) { std::free(area.owner); }

void send(const target &to, const rectangle &area, fetched &from) {
  const xlib_functions &x = *xlib();
  xcb_connection_t *const connection = xcb.connection(to.display);
  // Whether the server took a request is not waited for; the error, if one comes, is dropped by its number.
  const auto forget = [&](xcb_void_cookie_t sent) { xcb.xcb_discard_reply(connection, sent.sequence); };
  const auto drawable = uint32_t(to.drawable);
  const int screen = x.XDefaultScreen(to.display);
  const bool fits =
      from.image.depth == x.XDefaultDepth(to.display, screen) && x.XScreenCount(to.display) == 1;
  uint32_t context;
  if (fits) {
    const GC standard = x.XDefaultGC(to.display, screen);
    x.XFlushGC(to.display, standard);
    context = uint32_t(x.XGContextFromGC(standard));
  } else {
    context = xcb.xcb_generate_id(connection);
    forget(xcb.xcb_create_gc_checked(connection, context, drawable, 0, nullptr));
  }
  forget(xcb.xcb_put_image_checked(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, context, area.width,
                                   area.height, area.x, area.y, 0, uint8_t(from.image.depth),
                                   uint32_t(from.image.bytes_per_line) * area.height,
                                   reinterpret_cast<const uint8_t *>(from.image.data)));
  if (!fits) forget(xcb.xcb_free_gc_checked(connection, context));
}

bool colours(Display *display, Colormap map, const uint32_t *pixels, uint32_t count,
             const colour_taker &take) {
  xcb_connection_t *const connection = xcb.connection(display);
  xcb_generic_error_t *error = nullptr;
  xcb_query_colors_reply_t *const reply = xcb.xcb_query_colors_reply(
      connection, xcb.xcb_query_colors(connection, uint32_t(map), count, pixels), &error);
  std::free(error);
  const bool complete = reply && uint32_t(xcb.xcb_query_colors_colors_length(reply)) == count;
  for (uint32_t i = 0; complete && i < count; i++) {
    const xcb_rgb_t &entry = xcb.xcb_query_colors_colors(reply)[i];
    take(i, entry.red, entry.green, entry.blue);
  }
  std::free(reply);
  return complete;
}

}  // namespace

const server *xcb_server() {
  static constexpr server table{fetch, release, send, colours};
  pthread_once(&looked_for, look_for_functions);
  return all_found ? &table : nullptr;
}

}  // namespace qvim::x11
