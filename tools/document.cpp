#include "document.hpp"

#include <algorithm>
#include <cerrno>

#include <qvimage/error.h>
#include <qvimage/null.h>
#include <qvimage/views.h>

#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

constexpr int32_t page_missing = -12;

void check_page(int32_t code, const std::string &path, int64_t page) {
  if (code >= 0) return;
  throw failure(path, code,
                reason(code, formatted("page %lld: it cannot be read", static_cast<long long>(page + 1))));
}

// Formats that tell the size of a pixel rather than how many there are in a length.
void set_resolution(qvimagefileinfo &info) {
  constexpr uint32_t inch = 2, centimetre = 3;
  const qvimagehints size = info.hints;
  const double unit = size.widthunits == QVIM_UNIT_METER        ? 0.01
                      : size.widthunits == QVIM_UNIT_CENTIMETER ? 1
                      : size.widthunits == QVIM_UNIT_MILLIMETER ? 10
                      : size.widthunits == QVIM_UNIT_INCH       ? 1
                                                                : 0;
  const double x = unit / size.pixelwidth, y = unit / size.pixelheight;
  const auto sound = [](double value) { return value >= 0.001 && value <= 4e6; };
  if (info.xres[0] != 0 || size.widthunits != size.heightunits || !sound(x) || !sound(y)) return;
  set_ratio(info.xres, x);
  set_ratio(info.yres, y);
  info.resunit = size.widthunits == QVIM_UNIT_INCH ? inch : centimetre;
}

// A page opened by itself: any size and type.
class single_page : public page {
 public:
  single_page(const reader &reader, const std::string &path, int64_t number, bool with_palette)
      : reader_(reader), given_place_(with_palette ? &given_ : nullptr) {
    errno = 0;
    check_page(reader_.read(&image, given_place_, &handle_, path.c_str(), number), path, number);
    if (!with_palette) return;
    palette = given_;
    has_palette = true;
  }
  ~single_page() override { reader_.done(&image, given_place_, &handle_); }

 private:
  const reader &reader_;
  alignas(8) qvimage given_;  // the palette as the library gives it
  qvimage *const given_place_;
  void *handle_ = nullptr;
};

}  // namespace

// All pages as planes of one image: reaching a page costs no walk through the pages before it. Serves the
// pages that look like the last one.
class stack {
 public:
  stack(const reader &reader, const std::string &path) : reader_(reader) {
    errno = 0;
    code_ = reader_.read_all(&image_, &handle_, path.c_str());
    if (code_ < 0) why_ = reason(code_, "not every page of the file can be opened");
  }
  ~stack() {
    if (code_ >= 0) reader_.done_all(&image_, &handle_);
  }
  stack(const stack &) = delete;
  stack &operator=(const stack &) = delete;

  bool serves(const qvimagefileinfo &info) const {
    const qvimagedata mine = image_.d, other = info.data;
    return code_ >= 0 && info.palette == 0 && info.wind.se.x == image_.imdim.se.x &&
           info.wind.se.y == image_.imdim.se.y && mine.pixietype == other.pixietype &&
           mine.pixies == other.pixies && mine.pixelhint == other.pixelhint &&
           bits_of(mine) == bits_of(other);
  }
  void check(const std::string &path) const { tool::check(code_, path, why_); }
  qvimage3 *image() { return &image_; }

 private:
  const reader &reader_;
  alignas(8) qvimage3 image_;
  void *handle_ = nullptr;
  int32_t code_;
  std::string why_;
};

namespace {

class plane : public page {
 public:
  plane(stack &stack, int64_t number, const std::string &path) {
    constexpr uint32_t x_axis = 0, y_axis = 2;
    check_page(qvimage_def2from3(&image, stack.image(), x_axis, y_axis, static_cast<int32_t>(number), 0),
               path, number);
  }
};

class planes : public volume {
 public:
  planes(const reader &reader, const std::string &path, int64_t first, int64_t last) : stack_(reader, path) {
    stack_.check(path);
    image = *stack_.image();
    qvyzwindow window = image.imdim;
    window.nw.z = static_cast<int32_t>(first);
    window.se.z = static_cast<int32_t>(last) + 1;
    image.xwind(&image, &window, 's');
  }

 private:
  stack stack_;
};

std::string shape_of(const qvimagefileinfo &info) {
  return formatted("%d x %d pixels of %d x %s, ", info.wind.se.x, info.wind.se.y, info.data.pixies,
                   describe_type(info.data).c_str()) +
         describe_colour(info.data) + (info.palette != 0 ? " with a colour map" : "");
}

}  // namespace

page::page() {
  qvimage_defnull(&image);
  qvimage_defnull(&palette);
}

volume::volume() { qvimage3_defnull(&image); }

const description &descriptions::at(int64_t page) {
  if (reader_.info_many == nullptr) page = 0;
  if (page < first_ || page >= first_ + static_cast<int64_t>(held_.size())) fetch(page);
  return held_[static_cast<size_t>(page - first_)];
}

void descriptions::clear() {
  for (description &held : held_) reader_.info_done(&held.info);
  held_.clear();
}

void descriptions::fetch(int64_t page) {
  clear();
  first_ = page;
  // One bad page fails them all; then only the page asked for counts.
  if (page >= bad_until_) {
    if (fetch_many(page) > 0) {
      for (description &held : held_) set_resolution(held.info);
      return;
    }
    bad_until_ = page + at_once;
  }
  description one = {};
  errno = 0;
  const int32_t code = reader_.info(&one.info, path_.c_str(), page);
  if (code < 0) {
    failure refused(
        path_, code,
        reason(code, formatted("page %lld: it cannot be read", static_cast<long long>(page + 1))));
    if (one.info.width == 0) throw refused;
    one.refused.emplace(refused);
  }
  set_resolution(one.info);
  held_.push_back(one);
}

int64_t descriptions::fetch_many(int64_t page) {
  if (reader_.info_many == nullptr) return 0;
  std::vector<qvimagefileinfo> infos(at_once);
  const int64_t found = reader_.info_many(infos.data(), at_once, path_.c_str(), page);
  for (int64_t i = 0; i < found; i++) held_.push_back({infos[static_cast<size_t>(i)], std::nullopt});
  return found;
}

document::document(const std::string &path, const file_format &format)
    : path_(path), format_(format), descriptions_(format.read, path), pages_(count_pages()) {
  if (format.extras != nullptr) extras_ = format.extras(path);
}

document::~document() = default;

// Each page knows how many there are; a first one that tells nothing may stand before others that do.
int64_t document::count_pages() {
  constexpr int64_t most_tried = 8;
  std::optional<failure> first;
  for (int64_t page = 0; page < most_tried; page++) {
    try {
      const qvimagefileinfo &info = descriptions_.at(page).info;
      first_described_ = page;
      return info.pagecount2 != 0 ? info.pagecount2 : info.pagecount;
    } catch (const failure &failure) {
      if (!first) first.emplace(failure);
    }
  }
  throw failure(*first);
}

const description &document::describe(int64_t page) {
  if (page < 0 || page >= pages_)
    throw failure(
        path_, page_missing,
        formatted("page %lld of %lld", static_cast<long long>(page + 1), static_cast<long long>(pages_)));
  return descriptions_.at(page);
}

const qvimagefileinfo &document::info(int64_t page) {
  const description &found = describe(page);
  if (found.refused) throw failure(*found.refused);
  return found.info;
}

page_notes document::notes(int64_t page) {
  page_notes notes = extras_ == nullptr ? page_notes() : extras_->notes(page);
  notes.alpha = notes.alpha && info(page).data.pixies == 4;
  return notes;
}

std::unique_ptr<page> document::open(int64_t number, colour_map colours) {
  const qvimagefileinfo &about = info(number);
  const bool one_by_one = format_.read.read != nullptr;
  // A few pages are opened faster one by one.
  const bool all_together = format_.read.read_all != nullptr;
  if (((pages_ > 8 && all_together) || !one_by_one) && stack_ == nullptr)
    stack_ = std::make_unique<stack>(format_.read, path_);
  if (!one_by_one) stack_->check(path_);
  if (stack_ != nullptr && (!one_by_one || stack_->serves(about)))
    return std::make_unique<plane>(*stack_, number, path_);
  auto opened = std::make_unique<single_page>(format_.read, path_, number,
                                              about.palette != 0 && colours == colour_map::kept);
  if (extras_ != nullptr) extras_->refine(*opened, number);
  return opened;
}

// The image over all pages is what the last of the file says, so that this one has to be like the others.
std::unique_ptr<volume> document::open_volume(int64_t first, int64_t last) {
  if (format_.read.read_all == nullptr)
    throw failure(path_, QVERR_UNSUPPORTED,
                  "a file of this format holds one page, of which there is no mean");
  const std::string one = shape_of(info(pages_ - 1));
  for (int64_t page = first; page <= last; page++) {
    const std::string other = shape_of(info(page));
    if (other != one)
      throw failure(path_, QVERR_UNSUPPORTED,
                    formatted("page %lld has %s, the last page of the file %s; pages taken together must be "
                              "alike",
                              static_cast<long long>(page + 1), other.c_str(), one.c_str()));
  }
  return std::make_unique<planes>(format_.read, path_, first, last);
}

std::unique_ptr<document> open_document(const std::string &path) {
  return std::make_unique<document>(path, format_of_content(path));
}

}  // namespace tool
