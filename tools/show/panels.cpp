// What the viewer draws over and below its picture.
#include <algorithm>
#include <cmath>

#include "../text.hpp"
#include "viewer.hpp"

namespace tool::show {

namespace {

constexpr int64_t margin = 4, line_height = canvas::glyph_height + 2;
constexpr int64_t histogram_bars = 256, bar_height = 100;
constexpr int64_t values_from_zoom = 48;

struct help_line {
  const char *keys, *does;
};

constexpr help_line help_lines[] = {
    {"PgDn PgUp Home End", "pages; 12 g: page 12"},
    {"n p", "next, previous file"},
    {"+ - wheel", "larger, smaller; 1 to 9: so many screen pixels a pixel"},
    {"f  0", "fit the window; all as at first"},
    {"arrows h j k l, drag", "move; with Shift a window"},
    {"a  A", "automatic levels, again: more of them; always automatic"},
    {"r", "all values that the type holds"},
    {"[ ]  { }  right drag", "black; white; level and width"},
    {"> < |", "turn right, left; mirror"},
    {"c P i m", "components; index or palette; inverted; false colours"},
    {"b  d", "blink with the next file; difference"},
    {"H  middle drag", "histogram; profile along a line"},
    {"Shift-drag, Enter", "a region, which a takes levels from; print it"},
    {"Space , .", "play, slower, faster"},
    {"R  s  q", "read again (happens by itself); save what is shown; quit"},
};

std::string base_name(const std::string &path) {
  const size_t slash = path.find_last_of('/');
  return slash == path.npos ? path : path.substr(slash + 1);
}

std::string json_text(std::string_view text) {
  std::string quoted = "\"";
  for (const char letter : printable(text)) {
    if (letter == '"' || letter == '\\') quoted += '\\';
    quoted += letter;
  }
  return quoted + '"';
}

int64_t llround(double value) { return static_cast<int64_t>(std::llround(value)); }

}  // namespace

canvas viewer::draw() {
  canvas all(window_, ink::dark);
  if (picture_) {
    const extent size = picture_window();
    canvas part(size);
    part.copy(picture_->cover.at, develop(*picture_, how()));
    draw_values(part);
    draw_region(part);
    draw_profile(part);
    if (shows_histogram_) draw_histogram(part);
    all.copy({0, 0}, part);
  }
  if (shows_help_) draw_help(all);
  draw_status(all);
  needs_drawing_ = false;
  serial_++;
  return all;
}

void viewer::draw_region(canvas &to) const {
  if (!region_) return;
  // Back from the page to the screen: the corners, as they are seen.
  const auto corner = [&](int64_t x, int64_t y) {
    position p = {x, y};
    if (wish_.turned.transposed) std::swap(p.x, p.y);
    const extent seen = wish_.turned.of(picture_->stored);
    if (wish_.turned.mirrored_x) p.x = seen.width - p.x;
    if (wish_.turned.mirrored_y) p.y = seen.height - p.y;
    const double factor = wish_.view.scale().factor();
    return position{llround((static_cast<double>(p.x) - wish_.view.left()) * factor),
                    llround((static_cast<double>(p.y) - wish_.view.top()) * factor)};
  };
  const position a = corner(region_->x, region_->y);
  const position b = corner(region_->x + region_->width, region_->y + region_->height);
  to.frame({std::min(a.x, b.x) - 1, std::min(a.y, b.y) - 1},
           {std::abs(a.x - b.x) + 2, std::abs(a.y - b.y) + 2}, ink::yellow);
}

// The values as they are shown, under the line, from bottom (black) to top (white).
void viewer::draw_profile(canvas &to) const {
  if (!profile_) return;
  const auto [from, end] = *profile_;
  const int64_t steps = std::max<int64_t>({std::abs(end.x - from.x), std::abs(end.y - from.y), 1});
  const canvas seen = to;
  to.line(from, end, ink::yellow);
  const extent size = {std::max<int64_t>(steps + 1, 2), bar_height};
  const position at = {margin, to.size().height - margin - size.height};
  to.dim({at.x - 1, at.y - 1}, {size.width + 2, size.height + 2});
  to.frame({at.x - 1, at.y - 1}, {size.width + 2, size.height + 2}, ink::grey);
  constexpr colour channels[] = {{255, 96, 96}, {96, 255, 96}, {96, 96, 255}};
  const bool colours = picture_->values.channels == 3;
  std::optional<std::array<int64_t, 3>> before;
  for (int64_t i = 0; i <= steps; i++) {
    const position p = {from.x + (end.x - from.x) * i / steps, from.y + (end.y - from.y) * i / steps};
    if (p.x < 0 || p.y < 0 || p.x >= seen.size().width || p.y >= seen.size().height) continue;
    const colour c = seen.at(p);
    const auto height = [&](uint8_t value) { return at.y + bar_height - 1 - value * (bar_height - 1) / 255; };
    const std::array<int64_t, 3> now = {height(c.blue), height(c.green), height(c.red)};
    for (size_t k = 0; k < (colours ? 3U : 1U); k++) {
      const int64_t last = before ? (*before)[k] : now[k];
      to.line({at.x + i, last}, {at.x + i, now[k]}, colours ? channels[k] : ink::white);
    }
    before = now;
  }
}

// How often values occur among those shown, between black and white in equal parts; what lies beyond counts
// in the outermost bars.
void viewer::draw_histogram(canvas &to) const {
  const levels &levels = wish_.levels;
  std::array<uint64_t, histogram_bars> counts = {};
  for (const double value : picture_->values.values) {
    const double part = (value - levels.black) * histogram_bars / (levels.white - levels.black);
    if (std::isnan(part)) continue;
    counts[static_cast<size_t>(std::clamp(part, 0.0, static_cast<double>(histogram_bars - 1)))]++;
  }
  const uint64_t most = std::max<uint64_t>(*std::ranges::max_element(counts), 1);
  const position at = {to.size().width - margin - histogram_bars, margin};
  to.dim({at.x - 1, at.y - 1}, {histogram_bars + 2, bar_height + 2});
  to.frame({at.x - 1, at.y - 1}, {histogram_bars + 2, bar_height + 2}, ink::grey);
  for (int64_t i = 0; i < histogram_bars; i++) {
    const uint64_t count = counts[static_cast<size_t>(i)];
    const auto height = static_cast<int64_t>((count * bar_height + most - 1) / most);  // any at all shows
    to.fill({at.x + i, at.y + bar_height - height}, {1, height}, ink::white);
  }
  to.text({at.x, at.y + bar_height + 3}, formatted("%g", levels.black), ink::yellow);
  const std::string right = formatted("%g", levels.white);
  to.text({at.x + histogram_bars - static_cast<int64_t>(right.size()) * canvas::glyph_width,
           at.y + bar_height + 3},
          right, ink::yellow);
}

// Into pixels that are large enough, their values.
void viewer::draw_values(canvas &to) const {
  const int64_t times = picture_->wanted.view.scale().times;
  if (times < values_from_zoom || how_.difference > 0 || how_.other) return;
  const raster &values = picture_->values;
  const stored_cover cover = in_stored_order(picture_->cover, wish_.turned, picture_->stored);
  const extent size = to.size();
  for (int64_t y = 0; y < size.height; y++) {
    for (int64_t x = 0; x < size.width; x++) {
      // The first screen pixel of each that begins on the screen.
      const position here = picture_->wanted.view.under({x, y});
      const position before = picture_->wanted.view.under({x - 1, y - 1});
      if (here.x == before.x || here.y == before.y || clamped_to_page(here) != here) continue;
      const position stored = wish_.turned.stored(here, picture_->stored);
      const auto column = std::ranges::find(cover.columns, stored.x, &span::first) - cover.columns.begin();
      const auto row = std::ranges::find(cover.rows, stored.y, &span::first) - cover.rows.begin();
      if (values.states[static_cast<size_t>(row)] != raster::exact) continue;
      const double *pixel = values.row(row) + column * values.channels;
      for (int c = 0; c < values.channels; c++) {
        const double value = pixel[values.channels - 1 - c];  // red first
        const int grey = wish_.levels.of(value);
        to.text({x + 2, y + 2 + c * canvas::glyph_height}, formatted("%.5g", value),
                (grey < 128) != how_.inverted ? ink::yellow : colour{128, 0, 0});
      }
    }
  }
}

void viewer::draw_help(canvas &to) const {
  int64_t columns = 0;
  for (const help_line &line : help_lines)
    columns = std::max(columns, static_cast<int64_t>(std::string_view(line.does).size()));
  constexpr int64_t indent = 23;
  const extent size = {(columns + indent) * canvas::glyph_width + 2 * margin,
                       static_cast<int64_t>(std::size(help_lines)) * line_height + 2 * margin};
  to.fill({0, 0}, size, ink::dark);
  to.frame({0, 0}, size, ink::grey);
  int64_t y = margin;
  for (const help_line &line : help_lines) {
    to.text({margin, y}, line.keys, ink::yellow);
    to.text({margin + indent * canvas::glyph_width, y}, line.does, ink::white);
    y += line_height;
  }
}

std::string viewer::status() const {
  std::string text = base_name(files_[how_.other ? file_after() : wish_.file]);
  if (picture_) {
    if (picture_->pages > 1)
      text += formatted("  %lld/%lld", static_cast<long long>(wish_.page + 1),
                        static_cast<long long>(picture_->pages));
    if (value_place_)
      text += formatted("  (%lld, %lld) ", static_cast<long long>(value_place_->x),
                        static_cast<long long>(value_place_->y)) +
              value_.text;
    const zoom zoom = wish_.view.scale();
    text += formatted("  %lld:%lld", static_cast<long long>(zoom.times), static_cast<long long>(zoom.per));
    text += formatted("  %g..%g", wish_.levels.black, wish_.levels.white);
    if (wish_.component != all_components) text += formatted("  component %d", wish_.component + 1);
  }
  return text;
}

void viewer::draw_status(canvas &to) const {
  const int64_t top = to.size().height - status_height;
  to.fill({0, top}, {to.size().width, status_height}, ink::dark);
  const std::string text = status();
  to.text({margin, top + 2}, text, ink::white);
  const auto x = static_cast<int64_t>(text.size() + 2) * canvas::glyph_width + margin;
  const std::string &more = message_.empty() ? trouble_ : message_;
  to.text({x, top + 2}, more.empty() && busy() ? "..." : more, message_.empty() ? ink::red : ink::yellow);
}

std::string viewer::title() const { return status(); }

std::string viewer::state() const {
  const view &view = wish_.view;
  return formatted(
             "{\"serial\": %llu, \"busy\": %s, \"page\": %lld, \"pages\": %lld, \"zoom\": %.17g, "
             "\"x0\": %.17g, \"y0\": %.17g, \"black\": %.17g, \"white\": %.17g, ",
             static_cast<unsigned long long>(serial_), busy() ? "true" : "false",
             static_cast<long long>(wish_.page + 1), static_cast<long long>(picture_ ? picture_->pages : 0),
             view.scale().factor(), view.left(), view.top(), wish_.levels.black, wish_.levels.white) +
         "\"key\": " + json_text(last_key_) + ", \"file\": " + json_text(files_[wish_.file]) +
         ", \"value\": " + (value_.json.empty() ? "null" : value_.json) +
         ", \"message\": " + json_text(message_.empty() ? trouble_ : message_) + "}";
}

}  // namespace tool::show
