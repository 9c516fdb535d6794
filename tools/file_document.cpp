// Pages of one file.
#include <algorithm>
#include <cerrno>

#include <qvimage/error.h>
#include <qvimage/null.h>
#include <qvimage/views.h>

#include "document.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

// Descriptions of pages, fetched many at a time: every call of the library walks the file's chain of pages.
class descriptions {
 public:
  explicit descriptions(const source &file) : reader_(file.format->read), file_(file) {}
  ~descriptions() { clear(); }
  descriptions(const descriptions &) = delete;
  descriptions &operator=(const descriptions &) = delete;

  // Throws a failure when the file says nothing of the page.
  const description &at(int64_t page);

 private:
  static constexpr int64_t at_once = 1024;
  void clear();
  void fetch(int64_t page);
  int64_t fetch_many(int64_t page);

  const reader &reader_;
  const source &file_;
  std::vector<description> held_;
  int64_t first_ = 0;
  int64_t bad_until_ = 0;  // pages before this are fetched one by one
};

void check_page(int32_t code, const source &file, int64_t page) {
  if (code >= 0) return;
  throw failure(file.shown, code,
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
  single_page(const source &file, int64_t number, bool with_palette)
      : reader_(file.format->read), given_place_(with_palette ? &given_ : nullptr) {
    errno = 0;
    check_page(reader_.read(&image, given_place_, &handle_, file.path.c_str(), number), file, number);
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

// All pages as planes of one image: reaching a page costs no walk through the pages before it. Serves the
// pages that look like the last one.
class stack {
 public:
  stack(const source &file, bool with_palette)
      : reader_(file.format->read), shown_(file.shown), palette_place_(with_palette ? &palette_ : nullptr) {
    errno = 0;
    code_ = reader_.read_all(&image_, palette_place_, &handle_, file.path.c_str());
    if (code_ < 0) why_ = reason(code_, "not every page of the file can be opened");
  }
  ~stack() {
    if (code_ >= 0) reader_.done_all(&image_, palette_place_, &handle_);
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
  void check() const { tool::check(code_, shown_, why_); }
  qvimage3 *image() { return &image_; }
  const qvimage *palette() const { return palette_place_; }  // may be null

 private:
  const reader &reader_;
  const std::string shown_;
  alignas(8) qvimage3 image_;
  alignas(8) qvimage palette_;
  qvimage *const palette_place_;
  void *handle_ = nullptr;
  int32_t code_;
  std::string why_;
};

class plane : public page {
 public:
  plane(stack &stack, int64_t number, const source &file) {
    constexpr uint32_t x_axis = 0, y_axis = 2;
    check_page(qvimage_def2from3(&image, stack.image(), x_axis, y_axis, static_cast<int32_t>(number), 0),
               file, number);
    if (stack.palette() == nullptr) return;
    palette = *stack.palette();
    has_palette = true;
  }
};

class planes : public volume {
 public:
  planes(const source &file, int64_t first, int64_t last) : stack_(file, false) {
    stack_.check();
    image = *stack_.image();
    qvyzwindow window = image.imdim;
    window.nw.z = static_cast<int32_t>(first);
    window.se.z = static_cast<int32_t>(last) + 1;
    image.xwind(&image, &window, 's');
  }

 private:
  stack stack_;
};

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
  const int32_t code = reader_.info(&one.info, file_.path.c_str(), page);
  if (code < 0) {
    failure refused(
        file_.shown, code,
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
  const int64_t found = reader_.info_many(infos.data(), at_once, file_.path.c_str(), page);
  for (int64_t i = 0; i < found; i++) held_.push_back({infos[static_cast<size_t>(i)], std::nullopt});
  return found;
}

class file_document : public document {
 public:
  explicit file_document(source file) : file_(std::move(file)), descriptions_(file_) {
    pages_ = count_pages();
    if (format(0).extras != nullptr) extras_ = format(0).extras(file_.path);
  }

  const file_format &format(int64_t) const override { return *file_.format; }
  place where(int64_t page) const override {
    return {file_.shown, formatted("page %lld", static_cast<long long>(page + 1))};
  }
  const description &describe(int64_t page) override {
    check_number(page);
    return descriptions_.at(page);
  }
  const description &describe_first() override { return describe(first_described_); }
  page_notes notes(int64_t page) override {
    page_notes notes = extras_ == nullptr ? page_notes() : extras_->notes(page);
    notes.alpha = notes.alpha && info(page).data.pixies == 4;
    return notes;
  }
  std::unique_ptr<page> open(int64_t number, colour_map colours) override;
  std::unique_ptr<volume> open_volume(int64_t first, int64_t last) override;
  std::unique_ptr<document> again() const override { return std::make_unique<file_document>(file_); }

 private:
  const reader &read() const { return file_.format->read; }
  int64_t count_pages();
  stack &opened_stack(bool with_palette);
  const source file_;
  descriptions descriptions_;
  int64_t first_described_ = 0;
  std::unique_ptr<page_extras> extras_;
  std::unique_ptr<stack> stacks_[2];  // without a palette, and with one
};

// Each page knows how many there are; a first one that tells nothing may stand before others that do.
int64_t file_document::count_pages() {
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

stack &file_document::opened_stack(bool with_palette) {
  std::unique_ptr<stack> &mine = stacks_[with_palette];
  if (mine == nullptr) mine = std::make_unique<stack>(file_, with_palette);
  if (read().read == nullptr) mine->check();
  return *mine;
}

std::unique_ptr<page> file_document::open(int64_t number, colour_map colours) {
  const qvimagefileinfo &about = info(number);
  const bool keeps_palette = about.palette != 0 && colours == colour_map::kept;
  // A few pages are opened faster one by one.
  const bool one_by_one = read().read != nullptr, all_together = read().read_all != nullptr;
  if (!one_by_one) return std::make_unique<plane>(opened_stack(keeps_palette), number, file_);
  if (pages_ > 8 && all_together && opened_stack(false).serves(about))
    return std::make_unique<plane>(opened_stack(false), number, file_);
  auto opened = std::make_unique<single_page>(file_, number, keeps_palette);
  if (extras_ != nullptr) extras_->refine(*opened, number);
  return opened;
}

// The image over all pages is what the last of the file says, so that this one has to be like the others.
std::unique_ptr<volume> file_document::open_volume(int64_t first, int64_t last) {
  if (read().read_all == nullptr) return nullptr;
  check_alike(first, last, pages_ - 1);
  return std::make_unique<planes>(file_, first, last);
}

}  // namespace

std::unique_ptr<document> open_file(const source &file) { return std::make_unique<file_document>(file); }

}  // namespace tool
