#include "viewer.hpp"

#include <algorithm>
#include <cmath>

#include "../failure.hpp"
#include "../text.hpp"
#include "save.hpp"

namespace tool::show {

using namespace std::chrono_literals;

namespace {

constexpr auto blink_time = 500ms;
constexpr double usual_rate = 10, slowest_rate = 0.25, fastest_rate = 240;
constexpr double left_out_steps[] = {0.001, 0.005, 0.02, 0.05, 0.1};  // at either end
constexpr int64_t level_steps = 64;                                   // of [ ] { } in the levels' width
constexpr int difference_steps[] = {1, 8, 64};
constexpr int64_t arrow_step = 64;
constexpr int64_t least_region = 2;

bool is_level_key(std::string_view name) { return name == "a" || name == "A"; }

}  // namespace

const viewer::binding viewer::bindings[] = {
    {"Next", &viewer::next_page},
    {"Prior", &viewer::previous_page},
    {"Home", &viewer::first_page},
    {"End", &viewer::last_page},
    {"g", &viewer::go_to_typed_page},
    {"n", &viewer::next_file},
    {"p", &viewer::previous_file},
    {"plus", &viewer::zoom_in},
    {"equal", &viewer::zoom_in},
    {"KP_Add", &viewer::zoom_in},
    {"minus", &viewer::zoom_out},
    {"KP_Subtract", &viewer::zoom_out},
    {"f", &viewer::fit},
    {"Left", &viewer::left},
    {"Right", &viewer::right},
    {"Up", &viewer::up},
    {"Down", &viewer::down},
    {"h", &viewer::left},
    {"l", &viewer::right},
    {"k", &viewer::up},
    {"j", &viewer::down},
    {"a", &viewer::automatic_levels},
    {"A", &viewer::always_automatic},
    {"r", &viewer::full_levels},
    {"bracketleft", &viewer::black_down},
    {"bracketright", &viewer::black_up},
    {"braceleft", &viewer::white_down},
    {"braceright", &viewer::white_up},
    {"R", &viewer::reload},
    {"b", &viewer::blink},
    {"d", &viewer::difference},
    {"H", &viewer::histogram},
    {"Return", &viewer::print_region},
    {"c", &viewer::next_component},
    {"P", &viewer::palette},
    {"i", &viewer::invert},
    {"m", &viewer::false_colours},
    {"greater", &viewer::turn_clockwise},
    {"less", &viewer::turn_back},
    {"bar", &viewer::mirror},
    {"space", &viewer::play},
    {"comma", &viewer::slower},
    {"period", &viewer::faster},
    {"s", &viewer::save},
    {"question", &viewer::help},
    {"q", &viewer::quit},
    {"Escape", &viewer::quit},
};

viewer::viewer(std::vector<std::string> files, const wish &first, surroundings around)
    : files_(std::move(files)), around_(std::move(around)), wish_(first) {
  wish_.reloads.resize(files_.size());
}

// --- what keys do

void viewer::key(std::string_view name, bool shift) {
  needs_drawing_ = true;
  last_key_ = name;
  const bool is_digit = name.size() == 1 && name[0] >= '0' && name[0] <= '9';
  const int64_t window = picture_window().height;
  const auto *bound = std::ranges::find(bindings, name, &binding::key);
  if (!is_digit && bound == std::end(bindings)) return;
  message_.clear();
  if (is_digit) return digit(name[0] - '0');
  if (shift && (name == "Left" || name == "Right"))
    return pan(name == "Left" ? -window_.width : window_.width, 0);
  if (shift && (name == "Up" || name == "Down")) return pan(0, name == "Up" ? -window : window);
  if (!is_level_key(name)) automatic_steps_ = 0;
  (this->*bound->action)();
  typed_.clear();
}

// A number followed by g is a page's; by itself each digit is a zoom, which g takes back.
void viewer::digit(int64_t digit) {
  if (typed_.empty()) {
    before_typing_ = wish_.view;
    fit_before_typing_ = wish_.fit;
  }
  typed_ += static_cast<char>('0' + digit);
  if (digit == 0 && typed_.size() == 1) return reset();
  if (digit > 0)
    zoom_to({digit, 1}, pointer_.value_or(position{window_.width / 2, picture_window().height / 2}));
}

void viewer::go_to_typed_page() {
  const auto number = numbers<int64_t>(typed_, ',', 0, INT32_MAX);
  if (!number || number->size() != 1) return;
  wish_.view = before_typing_;
  wish_.fit = fit_before_typing_;
  go_to_page(number->front() - 1);
}

void viewer::go_to_page(int64_t page) {
  const int64_t pages = picture_ ? picture_->pages : 1;
  page = std::clamp<int64_t>(page, 0, pages - 1);
  if (page == wish_.page) return want();
  wish_.page = page;
  want();
}

void viewer::go_to_file(size_t file) {
  wish_.file = file;
  wish_.beside.reset();
  reloading_ = playing_ = false;
  rate_ = 0;
  how_.other = blinking_ = false;
  how_.difference = 0;
  want();
}

void viewer::next_file() { go_to_file(file_after()); }
void viewer::previous_file() { go_to_file((wish_.file + files_.size() - 1) % files_.size()); }

void viewer::zoom_to(zoom to, position at) {
  wish_.fit = false;
  wish_.view.zoom_at(to, at);
  want();
}

void viewer::zoom_in() {
  zoom_to(wish_.view.scale().larger(),
          pointer_.value_or(position{window_.width / 2, picture_window().height / 2}));
}

void viewer::zoom_out() {
  zoom_to(wish_.view.scale().smaller(),
          pointer_.value_or(position{window_.width / 2, picture_window().height / 2}));
}

void viewer::fit() {
  wish_.fit = true;
  want();
}

void viewer::reset() {
  wish_.fit = true;
  wish_.turned = {};
  wish_.component = all_components;
  wish_.as = look::colours;
  wish_.rule = level_rule::natural;
  wish_.levels_for = {};
  wish_.beside.reset();
  how_ = {};
  always_automatic_ = blinking_ = playing_ = false;
  rate_ = 0;
  region_.reset();
  profile_.reset();
  want();
}

void viewer::pan(int64_t x, int64_t y) {
  if (x == 0 && y == 0) return;
  wish_.fit = false;
  wish_.view.move(x, y);
  want();
}

void viewer::left() { pan(-arrow_step, 0); }
void viewer::right() { pan(arrow_step, 0); }
void viewer::up() { pan(0, -arrow_step); }
void viewer::down() { pan(0, arrow_step); }

void viewer::automatic_levels() {
  const int last = static_cast<int>(std::size(left_out_steps)) - 1;
  wish_.rule = level_rule::automatic;
  wish_.left_out = left_out_steps[std::min(automatic_steps_++, last)];
  message_ = formatted("automatic levels: without %g %% at either end", 100 * wish_.left_out);
  want();
}

void viewer::always_automatic() {
  always_automatic_ = !always_automatic_;
  message_ = always_automatic_ ? "levels are always automatic" : "levels stay";
  if (always_automatic_) {
    wish_.rule = level_rule::automatic;
    wish_.left_out = left_out_steps[0];
    want();
  }
}

void viewer::full_levels() {
  always_automatic_ = false;
  wish_.rule = level_rule::full;
  want();
}

void viewer::change_levels(int black, int white) {
  always_automatic_ = false;
  wish_.rule = level_rule::kept;
  const double step = (wish_.levels.white - wish_.levels.black) / level_steps;
  wish_.levels.black += black * step;
  wish_.levels.white += white * step;
}

bool viewer::needs_second_file(const char *what) {
  if (files_.size() > 1) return true;
  message_ = std::string(what) + " needs a second file";
  return false;
}

void viewer::blink() {
  if (!needs_second_file("blinking")) return;
  blinking_ = !blinking_;
  how_.other = false;
  how_.difference = 0;
  blink_since_.reset();
  wish_.beside = blinking_ ? std::optional(file_after()) : std::nullopt;
  want();
}

void viewer::difference() {
  if (!needs_second_file("the difference")) return;
  blinking_ = how_.other = false;
  const auto *now = std::ranges::find(difference_steps, how_.difference);
  if (now == std::end(difference_steps))
    how_.difference = difference_steps[0];
  else
    how_.difference = now + 1 == std::end(difference_steps) ? 0 : now[1];
  if (how_.difference > 0) message_ = formatted("difference, amplified %d times", how_.difference);
  wish_.beside = how_.difference > 0 ? std::optional(file_after()) : std::nullopt;
  want();
}

void viewer::print_region() {
  if (!region_) {
    message_ = "no region: draw one with Shift and the left button";
    return;
  }
  around_.print(formatted("--crop %lld,%lld,%lld,%lld", static_cast<long long>(region_->x),
                          static_cast<long long>(region_->y), static_cast<long long>(region_->width),
                          static_cast<long long>(region_->height)));
}

// Asked for, also what is broken is shown.
void viewer::reload() {
  changed(wish_.file);
  reloading_ = false;
}

void viewer::next_component() {
  const int components = picture_ ? picture_->components : 1;
  wish_.component = wish_.component + 1 >= components ? all_components : wish_.component + 1;
  if (components == 1) wish_.component = all_components;
  want();
}

void viewer::palette() {
  if (picture_ && !picture_->has_palette) {
    message_ = "the page has no palette";
    return;
  }
  wish_.as = wish_.as == look::colours ? look::indices : look::colours;
  want();
}

void viewer::turned() {
  if (picture_) wish_.view.set_picture(wish_.turned.of(picture_->stored));
  want();
}

void viewer::turn_clockwise() {
  wish_.turned.turn_clockwise();
  turned();
}

void viewer::turn_back() {
  wish_.turned.turn_back();
  turned();
}

void viewer::mirror() {
  wish_.turned.mirror();
  turned();
}

void viewer::play() {
  playing_ = !playing_;
  play_since_.reset();
}

void viewer::slower() {
  rate_ = std::max(rate_ / 2, slowest_rate);
  play_since_.reset();
}

void viewer::faster() {
  rate_ = std::min(rate_ * 2, fastest_rate);
  play_since_.reset();
}

void viewer::save() {
  if (!picture_) return;
  try {
    const extent size = picture_window();
    canvas all(size);
    all.copy(picture_->cover.at, develop(*picture_, how()));
    message_ = "saved as " + save_beside(files_[wish_.file], picture_->wanted.page, all);
  } catch (const failure &failure) {
    message_ = failure.file + ": " + failure.detail;
  }
}

// --- the mouse

void viewer::wheel(position at, bool up) {
  needs_drawing_ = true;
  zoom_to(up ? wish_.view.scale().larger() : wish_.view.scale().smaller(), at);
}

void viewer::press(button button, position at, bool shift) {
  needs_drawing_ = true;
  drag_ = button == button::right    ? drag::levels
          : button == button::middle ? drag::profile
          : shift                    ? drag::region
                                     : drag::pan;
  drag_start_ = drag_last_ = at;
  drag_levels_ = wish_.levels;
  if (drag_ == drag::region) region_.reset();
  if (drag_ == drag::profile) profile_.reset();
}

void viewer::move(position at) {
  needs_drawing_ = true;
  pointer_ = at;
  const int64_t dx = at.x - drag_start_.x, dy = at.y - drag_start_.y;
  switch (drag_) {
    case drag::pan: pan(drag_last_.x - at.x, drag_last_.y - at.y); break;
    case drag::profile: profile_ = {drag_start_, at}; break;
    case drag::levels: {
      // A window's width moves the level by the levels' width; its height doubles or halves that.
      const double width = drag_levels_.white - drag_levels_.black;
      const double middle = drag_levels_.black + width / 2 +
                            width * static_cast<double>(dx) / static_cast<double>(window_.width);
      const double wide =
          width * std::exp2(2 * static_cast<double>(dy) / static_cast<double>(window_.height));
      always_automatic_ = false;
      wish_.rule = level_rule::kept;
      wish_.levels = {middle - wide / 2, middle + wide / 2};
      break;
    }
    default: break;
  }
  drag_last_ = at;
  if (drag_ == drag::region) region_ = selected();
  ask_value();
}

void viewer::release(position at) {
  move(at);
  if (drag_ == drag::region &&
      (std::abs(at.x - drag_start_.x) < least_region || std::abs(at.y - drag_start_.y) < least_region))
    region_.reset();
  drag_ = drag::none;
}

void viewer::leave() {
  pointer_.reset();
  value_ = {};
  value_place_.reset();
  needs_drawing_ = true;
}

position viewer::clamped_to_page(position seen) const {
  const extent size = wish_.turned.of(picture_->stored);
  return {std::clamp<int64_t>(seen.x, 0, size.width - 1), std::clamp<int64_t>(seen.y, 0, size.height - 1)};
}

// What lies under both ends of the drag, and all between.
region viewer::selected() const {
  if (!picture_) return {};
  const auto corner = [&](position screen) {
    return wish_.turned.stored(clamped_to_page(wish_.view.under(screen)), picture_->stored);
  };
  const position a = corner(drag_start_), b = corner(drag_last_);
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::abs(a.x - b.x) + 1, std::abs(a.y - b.y) + 1};
}

// --- the picture

extent viewer::picture_window() const {
  return {window_.width, std::max<int64_t>(window_.height - status_height, 1)};
}

void viewer::resize(extent window) {
  needs_drawing_ = true;
  if (window == window_) return;
  window_ = window;
  wish_.view.set_window(picture_window());
  want();
}

void viewer::want() {
  if (window_ == extent{}) return;
  wish_.number++;
  trouble_.clear();
  failed_ = false;
  if (always_automatic_) wish_.rule = level_rule::automatic;
  wish_.levels_from = wish_.rule == level_rule::automatic ? region_ : std::nullopt;
  if (wish_.fit && picture_) wish_.view.fit();
  needs_drawing_ = true;
  around_.want(wish_);
  ask_value();
}

std::optional<position> viewer::stored_under(position screen) const {
  if (!picture_ || screen.y >= picture_window().height) return std::nullopt;
  const position seen = wish_.view.under(screen);
  if (clamped_to_page(seen) != seen) return std::nullopt;
  return wish_.turned.stored(seen, picture_->stored);
}

void viewer::ask_value() {
  if (!pointer_) return;
  value_place_ = stored_under(*pointer_);
  value_ = {};
  if (value_place_) around_.want_value(wish_, *value_place_);
}

void viewer::value(position stored, const pixel_value &value) {
  if (value_place_ != stored) return;
  value_ = value;
  needs_drawing_ = true;
}

void viewer::show(const picture &news) {
  if (news.wanted.number != wish_.number) return;  // a later one is under way
  if (reloading_) {
    if (!news.finished) return;
    if (news.values.has_broken()) return trouble("read again, it is not whole: " + news.remark);
    reloading_ = false;
  }
  picture_ = news;
  shown_ = wish_.number;
  trouble_ = news.remark;
  failed_ = false;
  const bool placed = wish_.view != news.wanted.view;
  wish_.view = news.wanted.view;
  wish_.page = news.wanted.page;
  if (wish_.rule != level_rule::kept) {
    wish_.levels = news.wanted.levels;
    wish_.levels_for = news.wanted.levels_for;
    if (wish_.rule != level_rule::natural && news.finished) wish_.rule = level_rule::kept;
  }
  if (rate_ == 0) rate_ = news.frames_per_second > 0 ? news.frames_per_second : usual_rate;
  if (placed || news.finished) ask_value();
  needs_drawing_ = true;
}

void viewer::trouble(const std::string &what) {
  trouble_ = what;
  failed_ = true;
  needs_drawing_ = true;
}

void viewer::changed(size_t file) {
  reloading_ = picture_.has_value();
  wish_.reloads[file]++;
  want();
}

void viewer::tick(time now) {
  now_ = now;
  if (blinking_ && picture_ && picture_->finished && !picture_->beside.values.empty()) {
    if (!blink_since_) blink_since_ = now;
    const bool other = (now - *blink_since_) / blink_time % 2 == 1;
    if (other != how_.other) needs_drawing_ = true;
    how_.other = other;
  }
  if (!playing_ || busy()) return;
  if (!play_since_) {
    play_since_ = now;
    played_from_ = wish_.page;
  }
  const double seconds = std::chrono::duration<double>(now - *play_since_).count();
  const int64_t page = (played_from_ + static_cast<int64_t>(seconds * rate_)) % picture_->pages;
  if (page != wish_.page) go_to_page(page);
}

std::optional<viewer::time> viewer::next_tick() const {
  std::optional<time> next;
  const auto earlier = [&](time other) { next = next ? std::min(*next, other) : other; };
  if (blinking_)
    earlier(blink_since_ ? *blink_since_ + ((now_ - *blink_since_) / blink_time + 1) * blink_time
                         : now_ + blink_time);
  if (playing_ && !busy()) {
    if (!play_since_) return now_;
    const double seconds = std::chrono::duration<double>(now_ - *play_since_).count();
    const double wait = (std::floor(seconds * rate_) + 1) / rate_;
    earlier(*play_since_ + std::chrono::microseconds(static_cast<int64_t>(std::ceil(wait * 1e6))));
  }
  return next;
}

development viewer::how() const {
  development how = how_;
  how.levels = wish_.levels;
  if (picture_->beside.complete() && !picture_->beside.values.empty()) return how;
  how.other = false;
  how.difference = 0;
  return how;
}

}  // namespace tool::show
