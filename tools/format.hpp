// The file formats that the tool reads and writes, behind one face: a document gives pages, a writer takes
// them. A new format is an entry of the table in format.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <qvimage/fileinfo.h>
#include <qvimage/record.h>

namespace tool {

class pixels;

// A page opened for reading: an image over the open file.
class page {
 public:
  virtual ~page() = default;
  alignas(8) qvimage image;
  alignas(8) qvimage palette;  // of an index image; else a null image
  bool has_palette = false;

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

// An open file. Pages are counted from 0 here and from 1 in front of people. Everything throws failures that
// name the file and the page.
class document {
 public:
  virtual ~document() = default;
  virtual int64_t pages() const = 0;
  // What the file says about a page, without touching its pixels; valid until the next call.
  virtual const qvimagefileinfo &info(int64_t page) = 0;
  // The page may be used as long as the document lives.
  virtual std::unique_ptr<page> open(int64_t page, colour_map colours) = 0;
  // Pages first to last, which must be alike.
  virtual std::unique_ptr<volume> open_volume(int64_t first, int64_t last) = 0;
};

// A file being written page by page. Without finish() it is worthless.
class writer {
 public:
  virtual ~writer() = default;
  // `options` as a reader fills them. `computed`: the pixels are worth several threads even where nothing is
  // coded. Progress goes to progress::callback.
  virtual void add(pixels &page, qvimage *palette, qvimagefileinfo &options, bool computed) = 0;
  virtual void finish() = 0;
};

struct file_format {
  std::string_view name;
  std::string_view suffixes;  // with their dots, a space behind each
  bool (*recognises)(std::string_view head);
  std::unique_ptr<document> (*open)(const std::string &path);
  // `shown` is the name for messages; adds behind the last page of an existing file when `append` says so.
  std::unique_ptr<writer> (*create)(const std::string &path, const std::string &shown, bool append);
};

const file_format &format_of_content(
    const std::string &path);  // throws a failure that tells what the file is not
const file_format &format_of_name(const std::string &path);  // by the suffix; throws usage_error

std::unique_ptr<document> open_document(const std::string &path);

// tiff_reader.cpp, tiff_writer.cpp
bool is_tiff(std::string_view head);
std::unique_ptr<document> open_tiff(const std::string &path);
std::unique_ptr<writer> create_tiff(const std::string &path, const std::string &shown, bool append);

}  // namespace tool
