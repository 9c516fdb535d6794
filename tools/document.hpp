// An open file of any format: its pages, described and opened.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "failure.hpp"
#include "format.hpp"
#include "operand.hpp"

namespace tool {

// A page opened for reading: an image over the open file.
class page {
 public:
  virtual ~page() = default;
  alignas(8) qvimage image;
  alignas(8) qvimage palette;  // of an index image; else a null image
  bool has_palette = false;
  std::shared_ptr<const void> kept;  // what the palette stands over, if it is not the file
  std::shared_ptr<const void>
      held_open;  // what stays open while the page does, if its document does not see to it

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

// Where a page is, for messages.
struct place {
  std::string file;
  std::string page;  // "page 3"
};

// One file, or several whose pages follow each other. Pages are counted from 0 here and from 1 in front of
// people. Everything throws failures that name the file and the page.
class document {
 public:
  virtual ~document() = default;
  document(const document &) = delete;
  document &operator=(const document &) = delete;

  int64_t pages() const { return pages_; }
  virtual const file_format &format(int64_t page) const = 0;
  const file_format &format() const { return format(0); }
  virtual place where(int64_t page) const = 0;
  // Both are valid until the next call. info throws the refusal of a page whose pixels are not read.
  virtual const description &describe(int64_t page) = 0;
  virtual const description &describe_first() = 0;  // that tells anything
  const qvimagefileinfo &info(int64_t page);
  virtual page_notes notes(int64_t page) = 0;
  bool coded(int64_t page) { return format(page).coded(info(page)); }
  virtual std::unique_ptr<page> open(int64_t number, colour_map colours) = 0;
  // Pages first to last as planes, where the format gives them so; else null. They have to be alike.
  virtual std::unique_ptr<volume> open_volume(int64_t first, int64_t last) = 0;
  void check_alike(int64_t first, int64_t last, int64_t model);  // like the model
  // The same once more, for another thread. Other threads may use this one meanwhile.
  virtual std::unique_ptr<document> again() const = 0;

 protected:
  document() = default;
  void check_number(int64_t page) const;
  int64_t pages_ = 0;
};

// What a word of the command line stands for (operand.hpp).
std::unique_ptr<document> open_document(const std::string &word);
// The pages of several, one behind the other.
std::unique_ptr<document> open_documents(const std::vector<std::string> &words);

// One file.
std::unique_ptr<document> open_file(const source &file);

}  // namespace tool
