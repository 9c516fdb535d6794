// TIFF files as documents.
#include <algorithm>
#include <cerrno>
#include <vector>

#include <qvimage/error.h>
#include <qvimage/null.h>
#include <qvimage/tiff.h>
#include <qvimage/views.h>

#include "colour_map.hpp"
#include "failure.hpp"
#include "format.hpp"
#include "text.hpp"
#include "tiff_diagnosis.hpp"
#include "words.hpp"

namespace tool {

namespace {

constexpr int64_t info_block = 4096;  // bytes; descriptions are small and lie scattered

void check_page(int32_t code, const std::string &path, int64_t page) {
  if (code >= 0) return;
  const std::string where = formatted("page %lld: ", static_cast<long long>(page + 1));
  throw failure(path, code, where + tiff_diagnosis(path, page, code));
}

// Descriptions of pages, fetched many at a time: every call of the library walks the file's chain of pages.
class descriptions {
 public:
  explicit descriptions(std::string path) : path_(std::move(path)) {}
  ~descriptions() { clear(); }
  descriptions(const descriptions &) = delete;
  descriptions &operator=(const descriptions &) = delete;

  const qvimagefileinfo &at(int64_t page) {
    if (page < first_ || page >= first_ + static_cast<int64_t>(held_.size())) fetch(page);
    return held_[static_cast<size_t>(page - first_)];
  }

 private:
  static constexpr size_t at_once = 1024;

  void clear() {
    for (qvimagefileinfo &info : held_) qvimage_tiffinfodone(&info);
    held_.clear();
  }

  void fetch(int64_t page) {
    clear();
    first_ = page;
    errno = 0;
    // One bad page fails them all; then only the page asked for counts.
    if (page >= bad_until_) {
      const int64_t found = fetch_many(page);
      if (found > 0) return;
      bad_until_ = page + static_cast<int64_t>(at_once);
    }
    held_.resize(1);
    const int32_t code =
        qvimage_tiffinfo(held_.data(), path_.c_str(), nullptr, info_block, static_cast<uint64_t>(page));
    if (code < 0) held_.clear();
    check_page(code, path_, page);
  }

  int64_t fetch_many(int64_t page) {
    held_.resize(at_once);
    const int64_t found = qvimage_tiffinfoN(held_.data(), at_once, path_.c_str(), nullptr, info_block, page);
    held_.resize(static_cast<size_t>(std::max<int64_t>(found, 0)));
    return found;
  }

  const std::string path_;
  std::vector<qvimagefileinfo> held_;
  int64_t first_ = 0;
  int64_t bad_until_ = 0;  // pages before this are fetched one by one
};

// A page opened by itself: any size and type.
class single_page : public page {
 public:
  single_page(const std::string &path, int64_t number, bool with_palette)
      : given_place_(with_palette ? &given_ : nullptr) {
    errno = 0;
    const int32_t code = qvimage_tiffread(&image, given_place_, &handle_, path.c_str(), nullptr, 0,
                                          static_cast<uint64_t>(number), 0);
    check_page(code, path, number);
    if (with_palette) keep_palette(path, number);
  }
  ~single_page() override { qvimage_tiffreaddone(&image, given_place_, &handle_); }

 private:
  void keep_palette(const std::string &path, int64_t number) {
    deep_.emplace(path, number);
    palette = deep_->colours() == given_.imdim.se.x ? deep_->image() : given_;
    has_palette = true;
  }
  alignas(8) qvimage given_;  // the palette as the library gives it
  qvimage *const given_place_;
  std::optional<deep_palette> deep_;
  tiffhandle *handle_ = nullptr;
};

// All pages as planes of one image: reaching a page costs no walk through the pages before it. Serves the
// pages that look like the last one.
class stack {
 public:
  explicit stack(const std::string &path) {
    usable_ = qvimage3_tiffread(&image_, nullptr, &handle_, path.c_str(), nullptr, 0, 0) >= 0;
  }
  ~stack() {
    if (usable_) qvimage3_tiffreaddone(&image_, nullptr, &handle_);
  }
  stack(const stack &) = delete;
  stack &operator=(const stack &) = delete;

  bool serves(const qvimagefileinfo &info) const {
    const qvimagedata mine = image_.d, other = info.data;
    return usable_ && info.palette == 0 && info.wind.se.x == image_.imdim.se.x &&
           info.wind.se.y == image_.imdim.se.y && mine.pixietype == other.pixietype &&
           mine.pixies == other.pixies && mine.pixelhint == other.pixelhint &&
           bits_of(mine) == bits_of(other);
  }
  qvimage3 *image() { return &image_; }

 private:
  alignas(8) qvimage3 image_;
  tiffhandle *handle_ = nullptr;
  bool usable_;
};

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
  planes(const std::string &path, int64_t first, int64_t last) {
    errno = 0;
    const int32_t code = qvimage3_tiffread(&image, nullptr, &handle_, path.c_str(), nullptr, 0, 0);
    check(code, path, system_detail(code, "not every page of the file can be opened"));
    qvyzwindow window = image.imdim;
    window.nw.z = static_cast<int32_t>(first);
    window.se.z = static_cast<int32_t>(last) + 1;
    image.xwind(&image, &window, 's');
  }
  ~planes() override { qvimage3_tiffreaddone(&image, nullptr, &handle_); }

 private:
  tiffhandle *handle_ = nullptr;
};

std::string describe(const qvimagefileinfo &info) {
  return formatted("%d x %d pixels of %d x %s, ", info.wind.se.x, info.wind.se.y, info.data.pixies,
                   describe_type(info.data).c_str()) +
         describe_colour(info.data) + (info.palette != 0 ? " with a colour map" : "");
}

class tiff_document : public document {
 public:
  explicit tiff_document(const std::string &path) : path_(path), descriptions_(path) {
    pages_ = descriptions_.at(0).pagecount2;
  }

  int64_t pages() const override { return pages_; }

  const qvimagefileinfo &info(int64_t page) override {
    if (page < 0 || page >= pages_)
      throw failure(
          path_, page_missing,
          formatted("page %lld of %lld", static_cast<long long>(page + 1), static_cast<long long>(pages_)));
    return descriptions_.at(page);
  }

  std::unique_ptr<page> open(int64_t number, colour_map colours) override {
    const qvimagefileinfo &about = info(number);
    // A few pages are opened faster one by one.
    if (pages_ > 8 && stack_ == nullptr) stack_ = std::make_unique<stack>(path_);
    if (stack_ != nullptr && stack_->serves(about)) return std::make_unique<plane>(*stack_, number, path_);
    return std::make_unique<single_page>(path_, number, about.palette != 0 && colours == colour_map::kept);
  }

  // The image over all pages is what the last of the file says, so that this one has to be like the others.
  std::unique_ptr<volume> open_volume(int64_t first, int64_t last) override {
    const std::string one = describe(info(pages_ - 1));
    for (int64_t page = first; page <= last; page++) {
      const std::string other = describe(info(page));
      if (other != one)
        throw failure(
            path_, QVERR_UNSUPPORTED,
            formatted("page %lld has %s, the last page of the file %s; pages taken together must be "
                      "alike",
                      static_cast<long long>(page + 1), other.c_str(), one.c_str()));
    }
    return std::make_unique<planes>(path_, first, last);
  }

 private:
  static constexpr int32_t page_missing = -12;
  const std::string path_;
  descriptions descriptions_;
  int64_t pages_;
  std::unique_ptr<stack> stack_;
};

}  // namespace

bool is_tiff(std::string_view head) {
  using namespace std::string_view_literals;
  for (const std::string_view mark : {"II\x2A\0"sv, "MM\0\x2A"sv, "II\x2B\0"sv, "MM\0\x2B"sv}) {
    if (head.starts_with(mark)) return true;
  }
  return false;
}

std::unique_ptr<document> open_tiff(const std::string &path) { return std::make_unique<tiff_document>(path); }

}  // namespace tool
