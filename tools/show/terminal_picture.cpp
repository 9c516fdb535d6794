// Pictures in a terminal: as half blocks in 24-bit colour, sixels, or by kitty's protocol.
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "../failure.hpp"
#include "../text.hpp"
#include "develop.hpp"
#include "gallery.hpp"
#include "show.hpp"

namespace tool::show {

namespace {

enum graphics { blocks, sixel, kitty };  // in the order of the option's words

constexpr extent usual_cell = {8, 16}, usual_cells = {80, 24};

// Characters of the terminal, and their size; as usual where it does not say.
struct cells {
  extent count = usual_cells, size = usual_cell;

  cells() {
    winsize found = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &found) != 0 || found.ws_col == 0 || found.ws_row == 0) return;
    count = {found.ws_col, found.ws_row};
    if (found.ws_xpixel > 0 && found.ws_ypixel > 0)
      size = {std::max(found.ws_xpixel / found.ws_col, 1), std::max(found.ws_ypixel / found.ws_row, 1)};
  }
};

// Keys that are typed meanwhile are not echoed, and answers come without a newline.
class raw_terminal {
 public:
  raw_terminal() {
    known_ =
        isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1 && tcgetattr(STDIN_FILENO, &before_) == 0;
    if (!known_) return;
    termios raw = before_;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
  }
  ~raw_terminal() {
    if (known_) tcsetattr(STDIN_FILENO, TCSANOW, &before_);
  }
  raw_terminal(const raw_terminal &) = delete;
  raw_terminal &operator=(const raw_terminal &) = delete;
  bool known() const { return known_; }

 private:
  termios before_ = {};
  bool known_;
};

// Asks whether it knows kitty's graphics, then what it is: every terminal answers that at last.
std::string answer_of_terminal() {
  constexpr int patience = 500;  // milliseconds
  const raw_terminal terminal;
  if (!terminal.known()) return {};
  constexpr std::string_view question = "\033_Gi=1,s=1,v=1,a=q,t=d,f=24;AAAA\033\\\033[c";
  if (write(STDOUT_FILENO, question.data(), question.size()) < 0) return {};
  std::string answer;
  pollfd in = {STDIN_FILENO, POLLIN, 0};
  while (poll(&in, 1, patience) > 0) {
    char letter;
    if (read(STDIN_FILENO, &letter, 1) != 1) break;
    answer += letter;
    const size_t attributes = answer.find("\033[?");
    if (attributes != answer.npos && letter == 'c') break;
  }
  return answer;
}

graphics best_graphics() {
  const std::string answer = answer_of_terminal();
  if (answer.find("_Gi=1;OK") != answer.npos) return kitty;
  const size_t attributes = answer.find("\033[?");
  if (attributes == answer.npos) return blocks;
  std::string list = answer.substr(attributes + 2);  // "?62;4c"
  list[0] = ';';
  return list.find(";4;") != list.npos || list.find(";4c") != list.npos ? sixel : blocks;
}

void draw_blocks(const canvas &picture) {
  const extent size = picture.size();
  for (int64_t y = 0; y < size.height; y += 2) {
    for (int64_t x = 0; x < size.width; x++) {
      const colour upper = picture.at({x, y});
      std::printf("\033[38;2;%d;%d;%dm", upper.red, upper.green, upper.blue);
      if (y + 1 < size.height) {
        const colour lower = picture.at({x, y + 1});
        std::printf("\033[48;2;%d;%d;%dm", lower.red, lower.green, lower.blue);
      }
      std::fputs("\u2580", stdout);  // upper half block
    }
    std::fputs("\033[0m\n", stdout);
  }
}

// Sixels have colours in per cent, from a list: 101 greys, or 6 x 7 x 6 colours between which dots mix.
class sixel_colours {
 public:
  explicit sixel_colours(bool grey) : grey_(grey) {}

  int count() const { return grey_ ? 101 : reds * greens * blues; }

  void define(int number) const {
    const auto part = [](int step, int steps) { return (step * 100 + (steps - 1) / 2) / (steps - 1); };
    if (grey_)
      std::printf("#%d;2;%d;%d;%d", number, number, number, number);
    else
      std::printf("#%d;2;%d;%d;%d", number, part(number / (greens * blues), reds),
                  part(number / blues % greens, greens), part(number % blues, blues));
  }

  int of(colour c, int64_t x, int64_t y) const {
    if (grey_) return (c.green * 100 + 127) / 255;
    // Thresholds of a 4 x 4 screen, in 32nds.
    constexpr int screen[4][4] = {{1, 17, 5, 21}, {25, 9, 29, 13}, {7, 23, 3, 19}, {31, 15, 27, 11}};
    const int threshold = screen[y % 4][x % 4];
    const auto step = [&](int value, int steps) { return (value * (steps - 1) * 32 / 255 + threshold) / 32; };
    return (step(c.red, reds) * greens + step(c.green, greens)) * blues + step(c.blue, blues);
  }

 private:
  static constexpr int reds = 6, greens = 7, blues = 6;
  const bool grey_;
};

void put_run(char what, int64_t count) {
  if (count > 3)
    std::printf("!%lld%c", static_cast<long long>(count), what);
  else
    for (; count > 0; count--) std::putchar(what);
}

void draw_sixels(const canvas &picture, bool grey) {
  constexpr int64_t band = 6;
  const extent size = picture.size();
  const sixel_colours colours(grey);
  std::printf("\033Pq\"1;1;%lld;%lld", static_cast<long long>(size.width),
              static_cast<long long>(size.height));
  for (int i = 0; i < colours.count(); i++) colours.define(i);
  for (int64_t top = 0; top < size.height; top += band) {
    std::vector<std::string> lines(static_cast<size_t>(colours.count()));
    for (int64_t x = 0; x < size.width; x++) {
      for (int64_t y = top; y < std::min(top + band, size.height); y++) {
        std::string &line = lines[static_cast<size_t>(colours.of(picture.at({x, y}), x, y))];
        if (line.empty()) line.assign(static_cast<size_t>(size.width), '?');
        line[static_cast<size_t>(x)] = static_cast<char>(line[static_cast<size_t>(x)] + (1 << (y - top)));
      }
    }
    for (size_t i = 0; i < lines.size(); i++) {
      if (lines[i].empty()) continue;
      std::printf("#%zu", i);
      for (size_t x = 0, end; x < lines[i].size(); x = end) {
        end = std::min(lines[i].find_first_not_of(lines[i][x], x), lines[i].size());
        put_run(lines[i][x], static_cast<int64_t>(end - x));
      }
      std::putchar('$');
    }
    std::putchar('-');
  }
  std::fputs("\033\\\n", stdout);
}

std::string base64(std::string_view bytes) {
  constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    uint32_t three = 0;
    for (size_t k = 0; k < 3; k++)
      three = three << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    for (size_t k = 0; k < 4; k++) text += i + k <= bytes.size() ? digits[three >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

void draw_kitty(const canvas &picture) {
  constexpr size_t most_at_once = 4096;
  const extent size = picture.size();
  std::string bytes;
  for (int64_t y = 0; y < size.height; y++) {
    for (int64_t x = 0; x < size.width; x++) {
      const colour c = picture.at({x, y});
      bytes += {static_cast<char>(c.red), static_cast<char>(c.green), static_cast<char>(c.blue)};
    }
  }
  const std::string text = base64(bytes);
  for (size_t at = 0; at < text.size(); at += most_at_once) {
    const bool more = at + most_at_once < text.size();
    std::fputs("\033_G", stdout);
    if (at == 0)
      std::printf("a=T,f=24,s=%lld,v=%lld,", static_cast<long long>(size.width),
                  static_cast<long long>(size.height));
    std::printf("m=%d;%s\033\\", more, text.substr(at, most_at_once).c_str());
  }
  std::putchar('\n');
}

// Half blocks are pixels of half a character. Two lines are left: what this is, and the prompt.
extent room_for(graphics how) {
  const cells cells;
  const int64_t lines = std::max<int64_t>(cells.count.height - 2, 1);
  if (how == blocks) return {cells.count.width, 2 * lines};
  return {cells.count.width * cells.size.width, lines * cells.size.height};
}

}  // namespace

int draw_in_terminal(const arguments &arguments) {
  wish wish = first_wish(arguments);
  const auto words = arguments.value(graphics_option.name);
  const graphics how = words ? static_cast<graphics>(chosen(graphics_option, *words)) : best_graphics();
  wish.view.set_window(chosen_geometry(arguments, room_for(how)).size);
  gallery gallery(arguments.operands());
  for (; wish.file < arguments.operands().size(); wish.file++) {
    gallery.paint(
        wish, [] { return false; },
        [&](const picture &picture) {
          if (!picture.finished) return;
          const tool::show::wish &found = picture.wanted;
          const canvas developed = develop(picture, {.levels = found.levels});
          if (how == kitty)
            draw_kitty(developed);
          else if (how == sixel)
            draw_sixels(developed, picture.data.pixies == 1);
          else
            draw_blocks(developed);
          std::printf("%s  %lld/%lld  %lld:%lld  %g..%g  %s\n",
                      printable(arguments.operand(wish.file)).c_str(), static_cast<long long>(found.page + 1),
                      static_cast<long long>(picture.pages), static_cast<long long>(found.view.scale().times),
                      static_cast<long long>(found.view.scale().per), found.levels.black, found.levels.white,
                      printable(picture.remark).c_str());
        });
  }
  return fine;
}

}  // namespace tool::show
