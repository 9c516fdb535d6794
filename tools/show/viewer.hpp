// The viewer without a screen: what keys and the mouse do, and what is to be seen. Whoever has a window feeds
// it events and shows its canvas.
#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "canvas.hpp"
#include "develop.hpp"
#include "gallery.hpp"
#include "picture.hpp"

namespace tool::show {

// What the viewer asks of the world.
struct surroundings {
  std::function<void(const wish &)> want;
  std::function<void(const wish &, position stored)> want_value;
  std::function<void(const std::string &line)> print;
};

constexpr int64_t status_height = canvas::glyph_height + 4;

enum class button { left, middle, right };

class viewer {
 public:
  using time = std::chrono::steady_clock::time_point;

  viewer(std::vector<std::string> files, const wish &first, surroundings around);

  void resize(extent window);
  void key(std::string_view name, bool shift);  // as X11 names keys
  void wheel(position at, bool up);
  void press(button button, position at, bool shift);
  void move(position at);
  void release(position at);
  void leave();
  void show(const picture &news);
  void trouble(const std::string &what);
  void value(position stored, const pixel_value &value);
  void changed(size_t file);  // on the disk
  void tick(time now);        // blinks and plays

  bool ended() const { return ended_; }
  bool needs_drawing() const { return needs_drawing_; }
  std::optional<time> next_tick() const;
  size_t file() const { return wish_.file; }
  std::string file_of_page() const { return picture_ ? picture_->path : std::string(); }
  std::optional<size_t> file_beside() const { return wish_.beside; }

  canvas draw();  // all of the window
  std::string title() const;
  std::string state() const;  // as JSON, of the last drawing

 private:
  struct binding {
    std::string_view key;
    void (viewer::*action)();
  };
  static const binding bindings[];

  // --- what keys do
  void quit() { ended_ = true; }
  void go_to_page(int64_t page);
  void next_page() { go_to_page(wish_.page + 1); }
  void previous_page() { go_to_page(wish_.page - 1); }
  void first_page() { go_to_page(0); }
  void last_page() { go_to_page(INT64_MAX); }
  void go_to_typed_page();
  void go_to_file(size_t file);
  void next_file();
  void previous_file();
  void zoom_in();
  void zoom_out();
  void fit();
  void zoom_to(zoom to, position at);
  void reset();
  void pan(int64_t x, int64_t y);
  void left();
  void right();
  void up();
  void down();
  void automatic_levels();
  void always_automatic();
  void full_levels();
  void black_down() { change_levels(-1, 0); }
  void black_up() { change_levels(1, 0); }
  void white_down() { change_levels(0, -1); }
  void white_up() { change_levels(0, 1); }
  void change_levels(int black, int white);
  void reload();
  void blink();
  void difference();
  void histogram() { shows_histogram_ = !shows_histogram_; }
  void print_region();
  void next_component();
  void palette();
  void invert() { how_.inverted = !how_.inverted; }
  void false_colours() { how_.false_colours = !how_.false_colours; }
  void turn_clockwise();
  void turn_back();
  void mirror();
  void play();
  void slower();
  void faster();
  void help() { shows_help_ = !shows_help_; }
  void save();
  void digit(int64_t digit);
  void turned();
  bool needs_second_file(const char *what);

  // --- the picture
  void want();
  void ask_value();
  bool busy() const { return !failed_ && (!picture_ || shown_ != wish_.number || !picture_->finished); }
  extent picture_window() const;
  development how() const;
  std::optional<position> stored_under(position screen) const;
  position clamped_to_page(position seen) const;
  region selected() const;
  size_t file_after() const { return (wish_.file + 1) % files_.size(); }

  // --- what is drawn over it
  void draw_region(canvas &to) const;
  void draw_profile(canvas &to) const;
  void draw_histogram(canvas &to) const;
  void draw_values(canvas &to) const;
  void draw_help(canvas &to) const;
  void draw_status(canvas &to) const;
  std::string status() const;

  const std::vector<std::string> files_;
  const surroundings around_;
  wish wish_;
  bool reloading_ = false;  // nothing broken takes the picture's place
  uint64_t shown_ = 0;      // the wish that the picture is of
  std::optional<picture> picture_;
  development how_;
  std::string message_;
  std::string trouble_;  // why the picture is not all that is wanted
  bool failed_ = false;  // there is none
  extent window_;
  bool ended_ = false, needs_drawing_ = true;
  uint64_t serial_ = 0;

  bool always_automatic_ = false;
  int automatic_steps_ = 0;
  bool shows_help_ = false, shows_histogram_ = false;
  std::optional<position> pointer_, value_place_;
  pixel_value value_;
  std::optional<region> region_;
  struct segment {
    position from, to;  // on the screen
  };
  std::optional<segment> profile_;

  enum class drag { none, pan, region, levels, profile } drag_ = drag::none;
  position drag_start_, drag_last_;
  levels drag_levels_;

  std::string last_key_, typed_;
  view before_typing_;
  bool fit_before_typing_ = false;

  bool playing_ = false, blinking_ = false;
  double rate_ = 0;  // frames per second; 0: the file's
  std::optional<time> blink_since_, play_since_;
  int64_t played_from_ = 0;
  time now_{};
};

}  // namespace tool::show
