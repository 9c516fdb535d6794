// An X server of the test's own, without a screen of glass, for as long as the object lives.
#pragma once

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

class screen {
 public:
  // "640x480x24": depth 24, TrueColor; options as Xvfb takes them.
  explicit screen(const std::string &size, const char *visual_class = "4") {
    int ends[2];
    if (pipe(ends) != 0) return;
    server_ = fork();
    if (server_ == 0) {
      close(ends[0]);
      const std::string fd = std::to_string(ends[1]);
      if (!freopen("/dev/null", "w", stderr)) _exit(1);
      execlp("Xvfb", "Xvfb", "-pixdepths", "15", "16", "30", "-displayfd", fd.c_str(), "-nolisten", "tcp",
             "-cc", visual_class, "-screen", "0", size.c_str(), nullptr);
      _exit(127);
    }
    close(ends[1]);
    std::string number;
    for (char c; read(ends[0], &c, 1) == 1 && c != '\n';) number += c;
    close(ends[0]);
    if (!number.empty()) display = XOpenDisplay((":" + number).c_str());
  }
  ~screen() {
    if (display) XCloseDisplay(display);
    if (server_ <= 0) return;
    kill(server_, SIGTERM);
    waitpid(server_, nullptr, 0);
  }
  screen(const screen &) = delete;
  screen &operator=(const screen &) = delete;

  int number() const { return DefaultScreen(display); }
  Window root() const { return DefaultRootWindow(display); }
  Visual *visual() const { return DefaultVisual(display, number()); }
  Colormap colormap() const { return DefaultColormap(display, number()); }

  // A mapped window at (x, y), whose pixels may be read.
  Window window(int x, int y, unsigned width, unsigned height) const {
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    const Window result = XCreateWindow(display, root(), x, y, width, height, 0, CopyFromParent, InputOutput,
                                        nullptr, CWOverrideRedirect, &attributes);
    XMapWindow(display, result);
    XSync(display, False);
    return result;
  }

  Display *display = nullptr;

 private:
  pid_t server_ = -1;
};
