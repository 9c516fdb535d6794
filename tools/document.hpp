// An open file of any format: its pages, described and opened.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "failure.hpp"
#include "format.hpp"

namespace tool {

// A page opened for reading: an image over the open file.
class page {
 public:
  virtual ~page() = default;
  alignas(8) qvimage image;
  alignas(8) qvimage palette;  // of an index image; else a null image
  bool has_palette = false;
  std::shared_ptr<const void> kept;  // what the palette stands over, if it is not the file

 protected:
  page();
  page(const page &) = delete;
  page &operator=(const page &) = delete;
};

// Pages of a document opened together as the planes of one image; colour maps are applied.
class volume {
 public:
  virtual ~volume() = default;
  alignas(8) qvimage3 image;

 protected:
  volume();
  volume(const volume &) = delete;
  volume &operator=(const volume &) = delete;
};

enum class colour_map {
  kept,    // a page with a colour map is an index image beside a palette image
  applied  // it is a colour image
};

// What a file says about a page, without touching its pixels.
struct description {
  qvimagefileinfo info;
  std::optional<failure> refused;  // why its pixels are not read
};

// Descriptions of pages, fetched many at a time: every call of the library walks the file's chain of pages.
class descriptions {
 public:
  descriptions(const reader &reader, std::string path) : reader_(reader), path_(std::move(path)) {}
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
  const std::string path_;
  std::vector<description> held_;
  int64_t first_ = 0;
  int64_t bad_until_ = 0;  // pages before this are fetched one by one
};

class stack;

// Pages are counted from 0 here and from 1 in front of people. Everything throws failures that name the file
// and the page.
class document {
 public:
  document(const std::string &path, const file_format &format);
  ~document();

  const file_format &format() const { return format_; }
  int64_t pages() const { return pages_; }
  // Both are valid until the next call. info throws the refusal of a page whose pixels are not read.
  const description &describe(int64_t page);
  const description &describe_first() { return describe(first_described_); }  // that tells anything
  const qvimagefileinfo &info(int64_t page);
  page_notes notes(int64_t page);
  bool coded(int64_t page) { return format_.coded(info(page)); }
  // The page may be used as long as the document lives.
  std::unique_ptr<page> open(int64_t number, colour_map colours);
  // Pages first to last, which must be alike.
  std::unique_ptr<volume> open_volume(int64_t first, int64_t last);

 private:
  int64_t count_pages();
  const std::string path_;
  const file_format &format_;
  descriptions descriptions_;
  int64_t first_described_ = 0;
  int64_t pages_;
  std::unique_ptr<page_extras> extras_;
  std::unique_ptr<stack> stack_;
};

std::unique_ptr<document> open_document(const std::string &path);

}  // namespace tool
