// The file formats that the tool reads and writes. A format is an entry: its signs (qvimage/formats.inc), its
// options, its words, the library's functions that read it and a writer. The table in format.cpp is the only
// place that knows which formats there are.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <qvimage/cxx/formats.hpp>
#include <qvimage/fileinfo.h>
#include <qvimage/record.h>

#include "command.hpp"

namespace tool {

class audited_file;
class pixels;
class page;

// The library's functions that read a format. Those that return codes return 0 or more when all is well. A
// format has pages that are opened one by one (`read`), or all together as planes (`read_all`), or both.
struct reader {
  int32_t (*info)(qvimagefileinfo *info, const char *path, int64_t page) = nullptr;
  // Null: all pages of a file are alike.
  int64_t (*info_many)(qvimagefileinfo *infos, int64_t count, const char *path, int64_t first) = nullptr;
  void (*info_done)(qvimagefileinfo *info) = nullptr;
  int32_t (*read)(qvimage *image, qvimage *palette, void **handle, const char *path, int64_t page) = nullptr;
  int32_t (*done)(qvimage *image, qvimage *palette, void **handle) = nullptr;
  // The palette is null, or receives the one that all pages have.
  int32_t (*read_all)(qvimage3 *image, qvimage *palette, void **handle, const char *path) = nullptr;
  int32_t (*done_all)(qvimage3 *image, qvimage *palette, void **handle) = nullptr;
};

// What a page says beside its pixels and what qvimagefileinfo has room for.
struct page_notes {
  int orientation = 1;            // 1 to 8, as TIFF numbers them; 1: the first row is the top
  bool alpha = false;             // the fourth sample is the transparency of RGB pixels
  std::vector<std::string> lost;  // names of what is not carried over into other files
};

// What only the format itself knows of a file's pages.
class page_extras {
 public:
  virtual ~page_extras() = default;
  virtual page_notes notes(int64_t page) = 0;
  virtual void refine(page &opened, int64_t page) = 0;  // may replace its palette by a better one
};

// Something that a page is described by.
struct fact {
  const char *key;    // in JSON; null: not there
  const char *label;  // for people; null: not for them
  std::string words;  // for people, and in JSON unless it has a number or a truth
  enum { as_words, as_number, as_truth } in_json = as_words;
  int64_t value = 0;
  bool brief = false;  // also where a page has one line
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

// Texts of a page's description.
enum text : unsigned {
  datetime_text = 1,
  software_text = 2,
  description_text = 4,
  copyright_text = 8,
  all_texts = 15
};

// Which pixels a format's files hold, for those that do not hold every kind.
struct holdings {
  const char *files = nullptr;                  // "BMP files"
  bool (*type)(const qvimagedata &) = nullptr;  // null: any
  const char *types = "";                       // those of `type`
  const char *way = "";                         // the option that makes such
  bool palettes = false, grey_or_rgb = false;
  bool red_first = false;  // colours are taken as red, green, blue whatever they are called
};

struct file_format {
  const qv::format_sign &sign;  // name, suffixes, signature
  reader read;
  std::unique_ptr<page_extras> (*extras)(const std::string &path) = nullptr;  // may stay null
  // Whether a row is only found through those before it.
  bool (*coded)(const qvimagefileinfo &info) = [](const qvimagefileinfo &) { return false; };
  std::string (*kind)(const qvimagefileinfo &info) = nullptr;
  std::vector<fact> (*facts)(const qvimagefileinfo &info) = [](const qvimagefileinfo &) {
    return std::vector<fact>();
  };
  unsigned texts = 0;           // those that files have room for
  bool has_resolution = false;  // they say how large a pixel is
  // Options of convert for this format's files, and what they make of a page's description. Throws
  // usage_error.
  std::span<const option> options = {};
  void (*apply)(const arguments &arguments, qvimagefileinfo &info) = [](const arguments &,
                                                                        qvimagefileinfo &) {};
  holdings holds = {};
  // `shown` is the name for messages; adds behind the last page of an existing file when `append` says so.
  // `pages` are how many will be written. Null: files are only read.
  std::unique_ptr<writer> (*create)(const std::string &path, const std::string &shown, bool append,
                                    int64_t pages) = nullptr;
  // Tells of rules that a file breaks (audit/audit.hpp). Null: none are known.
  void (*audit)(audited_file &file) = nullptr;
};

// Throws a failure that tells what it is not.
const file_format &format_of_content(const std::string &path, const std::string &shown);
const file_format &format_of_name(const std::string &path);  // by the suffix; throws usage_error
const file_format &format_named(const std::string &name);    // "tiff", in small letters; throws usage_error

// Throws a failure that says what the format holds, when it does not hold such pixels.
void check_held(const file_format &format, const std::string &shown, const qvimagedata &data, bool palette);

// The options of all formats; those given that are another format's throw usage_error.
std::vector<option> options_of_formats();
void check_options(const arguments &arguments, const file_format &format);

}  // namespace tool
