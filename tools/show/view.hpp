// What part of a picture a window shows, and how large: zoom, place, turn. Numbers only.
#pragma once

#include <cstdint>
#include <vector>

namespace tool::show {

struct extent {
  int64_t width = 0, height = 0;
  bool operator==(const extent &) const = default;
};

struct position {
  int64_t x = 0, y = 0;
  bool operator==(const position &) const = default;
};

// One of the eight ways to lay a page before someone: first turned over its diagonal, then mirrored.
struct orientation {
  bool transposed = false, mirrored_x = false, mirrored_y = false;
  bool operator==(const orientation &) const = default;

  void turn_clockwise();
  void turn_back();
  void mirror();  // left to right

  extent of(extent stored) const;  // the size as it is seen
  position stored(position seen, extent stored_size) const;
};

// Whole screen pixels for each of the picture's, or whole pixels of the picture for each of the screen's.
struct zoom {
  int64_t times = 1, per = 1;  // one of them is 1
  bool operator==(const zoom &) const = default;

  double factor() const { return static_cast<double>(times) / static_cast<double>(per); }
  zoom larger() const;
  zoom smaller() const;
  static zoom fitting(extent picture, extent window);
  static zoom nearest(double factor);
};

// Pixels [first, end) of one axis.
struct span {
  int64_t first, end;
  bool operator==(const span &) const = default;
};

// Where a window lies over a picture that is seen in some orientation. The place is that of the window's left
// upper corner, in units of the finer of both grids: screen pixels when enlarged, else the picture's.
class view {
 public:
  void set_window(extent window);  // the middle stays
  void set_picture(extent seen);   // the place stays
  extent window() const { return window_; }
  extent picture() const { return picture_; }
  zoom scale() const { return zoom_; }

  void zoom_at(zoom to, position screen);  // what lies under that screen pixel stays there
  void zoom_in_the_middle(zoom to) { zoom_at(to, {window_.width / 2, window_.height / 2}); }
  void fit();
  void move(int64_t x, int64_t y);  // by so many screen pixels
  void go_to(double x, double y);   // the picture's point comes to the left upper corner

  // The picture's pixel under a screen pixel; it may lie outside of the picture.
  position under(position screen) const;
  // The left upper corner of the window in the picture's pixels.
  double left() const { return static_cast<double>(place_.x) / static_cast<double>(zoom_.times); }
  double top() const { return static_cast<double>(place_.y) / static_cast<double>(zoom_.times); }

  // The part of the window that the picture covers, in screen pixels, and which of the picture's pixels lie
  // under each of its columns and rows.
  struct cover {
    position at;
    std::vector<span> columns, rows;
    extent size() const { return {static_cast<int64_t>(columns.size()), static_cast<int64_t>(rows.size())}; }
    bool operator==(const cover &) const = default;
  };
  cover covered() const;

  bool operator==(const view &) const = default;

 private:
  void clamp();
  extent window_{1, 1}, picture_{1, 1};
  zoom zoom_;
  position place_;
};

// The same pixels in the page's own order: the columns and rows of what is stored, each from the first on.
struct stored_cover {
  std::vector<span> columns, rows;
  bool operator==(const stored_cover &) const = default;
};
stored_cover in_stored_order(const view::cover &seen, const orientation &turned, extent stored);

}  // namespace tool::show
