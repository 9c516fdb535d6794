// The viewer in a window of X11.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <X11/keysym.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <map>

#include <qvimage/error.h>
#include <qvimage/views.h>
#include <qvimage/x11.h>

#include "../failure.hpp"
#include "../text.hpp"
#include "show.hpp"
#include "viewer.hpp"
#include "worker.hpp"

namespace tool::show {

namespace {

using namespace std::chrono_literals;

constexpr auto watch_every = 250ms;
constexpr extent usual_size = {1024, 768};

// A window that is gone, or memory that the server does not share: noted and answered where it matters.
int last_error = 0;

int note_error(Display *, XErrorEvent *event) {
  last_error = event->error_code;
  return 0;
}

// Nothing can be said to a server that is gone; Xlib ends the program after this.
int end_without_server(Display *) {
  std::fputs("qvimage: the connection to the X server is lost\n", stderr);
  _exit(failed);
}

// Colours that a pixel value says by itself.
Visual *true_colour_visual(Display *display, int *depth) {
  const int screen = DefaultScreen(display);
  *depth = DefaultDepth(display, screen);
  if (DefaultVisual(display, screen)->c_class == TrueColor) return DefaultVisual(display, screen);
  for (const int other : {24, 30, 16, 15, 32}) {
    XVisualInfo found;
    if (!XMatchVisualInfo(display, screen, other, TrueColor, &found)) continue;
    *depth = other;
    return found.visual;
  }
  throw failure(DisplayString(display), QVERR_X11,
                "the screen shows colours of a map only; it takes a TrueColor visual");
}

// The image through which canvases reach the window: in memory shared with the server where that is possible.
class client_image {
 public:
  client_image(Display *display, Visual *visual, int depth, extent size)
      : display_(display), visual_(visual), depth_(depth), size_(size) {
    if (!XShmQueryExtension(display) || !make_shared()) make_plain();
    const uint32_t dims[2] = {static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height)};
    check(qvimage_X11(&pixels_, dims, display, image_, 0, visual, 0, QVIM_HINT_BGRPAD),
          DisplayString(display), "its pixels have no form that is known");
    constexpr uint8_t bits = 8;  // whatever the channels have
    check(qvimage_converter(&view_, &pixels_, nullptr, 0, 0, bits, 0), DisplayString(display), "");
    view_.ioset(&view_, 0, QVIM_UINT8 | QVIM_LSB, 0xF);
  }
  ~client_image() {
    if (shared_) {
      XShmDetach(display_, &segment_);
      XSync(display_, False);
      shmdt(segment_.shmaddr);
      image_->data = nullptr;
    }
    XDestroyImage(image_);
  }
  client_image(const client_image &) = delete;
  client_image &operator=(const client_image &) = delete;

  extent size() const { return size_; }

  void put(const canvas &from, Window window, GC context) {
    for (int64_t y = 0; y < size_.height; y++)
      view_.iorite(&view_, 0, from.row(y), static_cast<uint32_t>(size_.width), 0, static_cast<int32_t>(y));
    const auto width = static_cast<unsigned>(size_.width), height = static_cast<unsigned>(size_.height);
    if (shared_)
      XShmPutImage(display_, window, context, image_, 0, 0, 0, 0, width, height, False);
    else
      XPutImage(display_, window, context, image_, 0, 0, 0, 0, width, height);
    XSync(display_, False);  // the memory is written again next time
  }

 private:
  bool make_shared() {
    image_ = XShmCreateImage(display_, visual_, static_cast<unsigned>(depth_), ZPixmap, nullptr, &segment_,
                             static_cast<unsigned>(size_.width), static_cast<unsigned>(size_.height));
    if (image_ == nullptr) return false;
    const size_t bytes = static_cast<size_t>(image_->bytes_per_line) * static_cast<size_t>(size_.height);
    segment_.shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    void *const place = segment_.shmid < 0 ? nullptr : shmat(segment_.shmid, nullptr, 0);
    if (place != nullptr && place != reinterpret_cast<void *>(-1)) {
      segment_.shmaddr = image_->data = static_cast<char *>(place);
      segment_.readOnly = False;
      last_error = 0;
      XShmAttach(display_, &segment_);
      XSync(display_, False);
      shared_ = last_error == 0;
      if (!shared_) shmdt(place);
    }
    if (segment_.shmid >= 0) shmctl(segment_.shmid, IPC_RMID, nullptr);  // lives as long as it is attached
    if (!shared_) {
      image_->data = nullptr;
      XDestroyImage(image_);
    }
    return shared_;
  }

  void make_plain() {
    image_ = XCreateImage(display_, visual_, static_cast<unsigned>(depth_), ZPixmap, 0, nullptr,
                          static_cast<unsigned>(size_.width), static_cast<unsigned>(size_.height), 32, 0);
    if (image_ != nullptr)
      image_->data = static_cast<char *>(
          std::calloc(static_cast<size_t>(image_->bytes_per_line), static_cast<size_t>(size_.height)));
    if (image_ == nullptr || image_->data == nullptr) throw std::bad_alloc();
  }

  Display *const display_;
  Visual *const visual_;
  const int depth_;
  const extent size_;
  XImage *image_ = nullptr;
  XShmSegmentInfo segment_ = {};
  bool shared_ = false;
  alignas(8) qvimage pixels_;
  alignas(8) qvimage view_;
};

// What tells a file that has changed from one that has not.
struct stamp {
  dev_t device = 0;
  ino_t file = 0;
  off_t bytes = 0;
  timespec changed = {};
  bool operator==(const stamp &other) const {
    return device == other.device && file == other.file && bytes == other.bytes &&
           changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
  }
};

std::optional<stamp> stamp_of(const std::string &path) {
  struct stat found;
  if (stat(path.c_str(), &found) != 0) return std::nullopt;  // being replaced: the next look will tell
  return stamp{found.st_dev, found.st_ino, found.st_size, found.st_mtim};
}

bool is_recent(const stamp &stamp) {
  constexpr auto recent = 100ms;
  const auto age =
      std::chrono::system_clock::now().time_since_epoch() -
      (std::chrono::seconds(stamp.changed.tv_sec) + std::chrono::nanoseconds(stamp.changed.tv_nsec));
  return age > -recent && age < recent;
}

struct closed_display {
  void operator()(Display *display) const { XCloseDisplay(display); }
};

class window {
 public:
  explicit window(const arguments &arguments)
      : files_(arguments.operands()),
        display_(XOpenDisplay(nullptr)),
        wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!display_)
      throw failure(XDisplayName(nullptr), QVERR_X11, "no X server answers; --terminal draws without one");
    XSetErrorHandler(note_error);
    XSetIOErrorHandler(end_without_server);
    visual_ = true_colour_visual(display_.get(), &depth_);
    for (const std::string &file : files_) {
      if (const auto found = stamp_of(file)) stamps_[file] = *found;
    }
    make_window(chosen_geometry(arguments, usual_size));
    worker_ = std::make_unique<worker>(files_, [this] { wake(); });
    viewer_ = std::make_unique<viewer>(
        files_, first_wish(arguments),
        surroundings{[this](const wish &wish) { worker_->want(wish); },
                     [this](const wish &wish, position at) { worker_->want_value(wish, at); },
                     [](const std::string &line) {
                       std::puts(line.c_str());
                       std::fflush(stdout);
                     }});
    viewer_->resize(size_);
  }
  ~window() {
    worker_.reset();
    image_.reset();
    if (context_ != nullptr) XFreeGC(display(), context_);
    close(wake_);
  }
  window(const window &) = delete;
  window &operator=(const window &) = delete;

  int run() {
    auto next_look = std::chrono::steady_clock::now() + watch_every;
    while (!viewer_->ended() && !closed_) {
      while (XPending(display_.get()) > 0) {
        XEvent event;
        XNextEvent(display_.get(), &event);
        take(event);
      }
      take_news();
      const auto now = std::chrono::steady_clock::now();
      viewer_->tick(now);
      if (now >= next_look) {
        look_at_files();
        next_look = now + watch_every;
      }
      if (viewer_->needs_drawing()) draw();
      if (viewer_->ended() || closed_ || XPending(display_.get()) > 0) continue;
      auto until = next_look;
      if (const auto tick = viewer_->next_tick()) until = std::min(until, *tick);
      wait(until);
    }
    return fine;
  }

 private:
  Display *display() const { return display_.get(); }

  void make_window(const geometry &geometry) {
    const position at = geometry.place.value_or(position{});
    size_ = geometry.size;
    const int screen = DefaultScreen(display());
    XSetWindowAttributes attributes = {};
    attributes.colormap = XCreateColormap(display(), DefaultRootWindow(display()), visual_, AllocNone);
    attributes.background_pixel = attributes.border_pixel = 0;
    attributes.bit_gravity = NorthWestGravity;
    attributes.event_mask = KeyPressMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask |
                            LeaveWindowMask | ExposureMask | StructureNotifyMask;
    window_ = XCreateWindow(
        display(), RootWindow(display(), screen), static_cast<int>(at.x), static_cast<int>(at.y),
        static_cast<unsigned>(size_.width), static_cast<unsigned>(size_.height), 0, depth_, InputOutput,
        visual_, CWColormap | CWBackPixel | CWBorderPixel | CWBitGravity | CWEventMask, &attributes);
    context_ = XCreateGC(display(), window_, 0, nullptr);
    state_ = XInternAtom(display(), "_QVIMAGE_STATE", False);
    text_ = XInternAtom(display(), "UTF8_STRING", False);
    name_ = XInternAtom(display(), "_NET_WM_NAME", False);
    delete_ = XInternAtom(display(), "WM_DELETE_WINDOW", False);
    XSetWMProtocols(display(), window_, &delete_, 1);
    XClassHint names = {const_cast<char *>("qvimage"), const_cast<char *>("Qvimage")};
    XSetClassHint(display(), window_, &names);
    XSizeHints hints = {};
    hints.flags = geometry.place ? USPosition | USSize : PSize;
    XSetWMNormalHints(display(), window_, &hints);
    XMapWindow(display(), window_);
  }

  void take(XEvent &event) {
    switch (event.type) {
      case KeyPress: take_key(event.xkey); break;
      case ButtonPress: take_button(event.xbutton); break;
      case ButtonRelease:
        if (event.xbutton.button <= Button3) viewer_->release(place_of(event.xbutton));
        break;
      case MotionNotify: viewer_->move(place_of(event.xmotion)); break;
      case LeaveNotify:
        if (event.xcrossing.mode == NotifyNormal) viewer_->leave();
        break;
      case Expose: exposed_ = true; break;
      case ConfigureNotify:
        size_ = {event.xconfigure.width, event.xconfigure.height};
        viewer_->resize(size_);
        break;
      case ClientMessage:
        if (static_cast<Atom>(event.xclient.data.l[0]) == delete_) closed_ = true;
        break;
      case DestroyNotify: closed_ = true; break;
      default: break;
    }
  }

  template <class Event>
  static position place_of(const Event &event) {
    return {event.x, event.y};
  }

  void take_key(XKeyEvent &event) {
    KeySym symbol = NoSymbol;
    char text[16];
    XLookupString(&event, text, sizeof text, &symbol, nullptr);
    const char *const name = XKeysymToString(symbol);
    if (name == nullptr || IsModifierKey(symbol)) return;
    viewer_->key(name, (event.state & ShiftMask) != 0);
  }

  void take_button(const XButtonEvent &event) {
    const position at = place_of(event);
    switch (event.button) {
      case Button1: viewer_->press(button::left, at, (event.state & ShiftMask) != 0); break;
      case Button2: viewer_->press(button::middle, at, false); break;
      case Button3: viewer_->press(button::right, at, false); break;
      case Button4: viewer_->wheel(at, true); break;
      case Button5: viewer_->wheel(at, false); break;
      default: break;
    }
  }

  void take_news() {
    uint64_t count;
    while (read(wake_, &count, sizeof count) > 0) continue;
    const worker::report news = worker_->take();
    if (news.picture) viewer_->show(*news.picture);
    if (news.trouble) viewer_->trouble(*news.trouble);
    if (news.value) viewer_->value(*news.value_place, *news.value);
  }

  void wake() const {
    const uint64_t one = 1;
    if (write(wake_, &one, sizeof one) < 0) return;  // it is awake already
  }

  void wait(std::chrono::steady_clock::time_point until) const {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
    pollfd ends[2] = {{ConnectionNumber(display()), POLLIN, 0}, {wake_, POLLIN, 0}};
    poll(ends, 2, static_cast<int>(std::max<int64_t>(left.count() + 1, 0)));
  }

  // Words of series and bare pixels name no file: then it is the one that the page shown lies in.
  void look_at_files() {
    const size_t file = viewer_->file();
    look_at(file, stamp_of(files_[file]) ? files_[file] : viewer_->file_of_page());
    if (const auto beside = viewer_->file_beside()) look_at(*beside, files_[*beside]);
  }

  void look_at(size_t file, const std::string &path) {
    const auto found = stamp_of(path);
    if (!found) return;
    const auto known = stamps_.find(path);
    if (known != stamps_.end() && known->second == *found) return;
    // What was written just now may go on being written without another time: it is read once more.
    const bool is_new = known == stamps_.end();
    stamps_[path] = !is_new && is_recent(*found) ? stamp() : *found;
    if (is_new) return;
    viewer_->changed(file);
  }

  void draw() {
    if (image_ == nullptr || image_->size() != size_)
      image_ = std::make_unique<client_image>(display(), visual_, depth_, size_);
    last_error = 0;
    image_->put(viewer_->draw(), window_, context_);
    exposed_ = false;
    const std::string title = viewer_->title(), state = viewer_->state();
    if (title != title_) {
      put_text(name_, title);
      XStoreName(display(), window_, title.c_str());
      title_ = title;
    }
    put_text(state_, state);
    XSync(display(), False);
    if (last_error == BadWindow || last_error == BadDrawable) closed_ = true;
  }

  void put_text(Atom property, const std::string &text) {
    XChangeProperty(display(), window_, property, text_, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char *>(text.data()), static_cast<int>(text.size()));
  }

  const std::vector<std::string> files_;
  const std::unique_ptr<Display, closed_display> display_;
  const int wake_;
  Visual *visual_ = nullptr;
  int depth_ = 0;
  Window window_ = 0;
  GC context_ = nullptr;
  Atom state_ = 0, text_ = 0, name_ = 0, delete_ = 0;
  extent size_;
  std::string title_;
  bool closed_ = false, exposed_ = false;
  std::map<std::string, stamp> stamps_;  // of files, mostly from before they were opened
  std::unique_ptr<client_image> image_;
  std::unique_ptr<viewer> viewer_;
  std::unique_ptr<worker> worker_;
};

}  // namespace

int open_window(const arguments &arguments) {
  first_wish(arguments);  // complains before anything is opened
  chosen_geometry(arguments, usual_size);
  return window(arguments).run();
}

}  // namespace tool::show
