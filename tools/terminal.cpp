#include "terminal.hpp"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <clocale>
#include <cstring>

namespace tool {

void set_up_terminal() { std::setlocale(LC_CTYPE, ""); }

bool shows_unicode() { return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0; }

bool is_terminal(int descriptor) { return isatty(descriptor) == 1; }

int terminal_width(int descriptor) {
  winsize size = {};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace tool
