#include "view.hpp"

#include <algorithm>
#include <cmath>

namespace tool::show {

namespace {

constexpr int64_t largest_zoom = 256, smallest_zoom = int64_t{1} << 24;

int64_t floor_div(int64_t a, int64_t b) { return a / b - (a % b != 0 && (a < 0) != (b < 0)); }

// The steps of + and -: about two in each doubling.
int64_t next_step(int64_t n) {
  if (n < 4) return n + 1;
  int64_t power = 4;
  while (power * 2 <= n) power *= 2;
  return n < power + power / 2 ? power + power / 2 : power * 2;
}

int64_t step_before(int64_t n) {
  int64_t step = 1;
  while (next_step(step) < n) step = next_step(step);
  return step;
}

// One axis of a view.
struct axis {
  int64_t window, picture, place, times, per;

  int64_t shown() const {  // screen pixels that the whole picture takes
    return times > 1 ? picture * times : (picture + per - 1) / per;
  }
  int64_t clamped() const {
    const int64_t room = window - shown();
    if (room >= 0) return -(room / 2) * per;
    const int64_t last = times > 1 ? picture * times - window : picture - window * per;
    return std::clamp<int64_t>(place, 0, last);
  }
  int64_t pixel(int64_t screen) const { return floor_div(place + screen * per, times); }
  int64_t first_screen() const { return place < 0 ? -place / per : 0; }
  std::vector<span> spans() const {
    std::vector<span> all;
    for (int64_t s = first_screen(); s < window; s++) {
      const int64_t first = pixel(s);
      if (first >= picture) break;
      all.push_back({first, std::min(first + per, picture)});
    }
    return all;
  }
};

std::vector<span> mirrored(std::vector<span> spans, int64_t size) {
  std::ranges::reverse(spans);
  for (span &one : spans) one = {size - one.end, size - one.first};
  return spans;
}

}  // namespace

// Turning what is seen: a transposition and a mirroring after those that there are.
void orientation::turn_clockwise() { *this = {!transposed, !mirrored_y, mirrored_x}; }

void orientation::turn_back() { *this = {!transposed, mirrored_y, !mirrored_x}; }

void orientation::mirror() { mirrored_x = !mirrored_x; }

extent orientation::of(extent stored) const {
  return transposed ? extent{stored.height, stored.width} : stored;
}

position orientation::stored(position seen, extent stored_size) const {
  const extent size = of(stored_size);
  if (mirrored_x) seen.x = size.width - 1 - seen.x;
  if (mirrored_y) seen.y = size.height - 1 - seen.y;
  return transposed ? position{seen.y, seen.x} : seen;
}

zoom zoom::larger() const {
  if (per > 1) return {1, step_before(per)};
  return {std::min(next_step(times), largest_zoom), 1};
}

zoom zoom::smaller() const {
  if (times > 1) return {step_before(times), 1};
  return {1, std::min(next_step(per), smallest_zoom)};
}

zoom zoom::fitting(extent picture, extent window) {
  const int64_t times = std::min(window.width / picture.width, window.height / picture.height);
  if (times >= 1) return {std::min(times, largest_zoom), 1};
  const auto needed = [](int64_t pixels, int64_t room) { return (pixels + room - 1) / room; };
  return {1, std::max(needed(picture.width, window.width), needed(picture.height, window.height))};
}

zoom zoom::nearest(double factor) {
  if (factor >= 1)
    return {static_cast<int64_t>(std::min(factor + 0.5, static_cast<double>(largest_zoom))), 1};
  return {1, static_cast<int64_t>(std::min(1 / factor + 0.5, static_cast<double>(smallest_zoom)))};
}

void view::clamp() {
  place_ = {axis{window_.width, picture_.width, place_.x, zoom_.times, zoom_.per}.clamped(),
            axis{window_.height, picture_.height, place_.y, zoom_.times, zoom_.per}.clamped()};
}

void view::set_window(extent window) {
  window.width = std::max<int64_t>(window.width, 1);
  window.height = std::max<int64_t>(window.height, 1);
  place_.x += (window_.width - window.width) / 2 * zoom_.per;
  place_.y += (window_.height - window.height) / 2 * zoom_.per;
  window_ = window;
  clamp();
}

void view::set_picture(extent seen) {
  picture_ = seen;
  clamp();
}

void view::zoom_at(zoom to, position screen) {
  // The pixel under the screen pixel, and how far into it that lies when it is larger than one.
  const auto placed = [&](int64_t place, int64_t at) {
    const int64_t fine = place + at * zoom_.per, pixel = floor_div(fine, zoom_.times);
    const int64_t inside = (fine - pixel * zoom_.times) * to.times / zoom_.times;
    return (to.times > 1 ? pixel * to.times + inside : pixel) - at * to.per;
  };
  place_ = {placed(place_.x, screen.x), placed(place_.y, screen.y)};
  zoom_ = to;
  clamp();
}

void view::fit() {
  zoom_ = zoom::fitting(picture_, window_);
  clamp();
}

void view::move(int64_t x, int64_t y) {
  place_.x += x * zoom_.per;
  place_.y += y * zoom_.per;
  clamp();
}

void view::go_to(double x, double y) {
  const auto times = static_cast<double>(zoom_.times);
  place_ = {static_cast<int64_t>(std::lround(x * times)), static_cast<int64_t>(std::lround(y * times))};
  clamp();
}

position view::under(position screen) const {
  return {floor_div(place_.x + screen.x * zoom_.per, zoom_.times),
          floor_div(place_.y + screen.y * zoom_.per, zoom_.times)};
}

view::cover view::covered() const {
  const axis x{window_.width, picture_.width, place_.x, zoom_.times, zoom_.per};
  const axis y{window_.height, picture_.height, place_.y, zoom_.times, zoom_.per};
  return {{x.first_screen(), y.first_screen()}, x.spans(), y.spans()};
}

stored_cover in_stored_order(const view::cover &seen, const orientation &turned, extent stored) {
  const extent size = turned.of(stored);
  std::vector<span> columns = turned.mirrored_x ? mirrored(seen.columns, size.width) : seen.columns;
  std::vector<span> rows = turned.mirrored_y ? mirrored(seen.rows, size.height) : seen.rows;
  if (turned.transposed) columns.swap(rows);
  return {std::move(columns), std::move(rows)};
}

}  // namespace tool::show
