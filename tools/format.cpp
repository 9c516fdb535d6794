#include "format.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>

#include <qvimage/error.h>

#include "avi.hpp"
#include "bmp.hpp"
#include "failure.hpp"
#include "fits.hpp"
#include "jpeg.hpp"
#include "pnm.hpp"
#include "raw.hpp"
#include "text.hpp"
#include "tiff.hpp"
#include "words.hpp"

namespace tool {

namespace {

const file_format *const formats[] = {&tiff_format, &jpeg_format, &pnm_format, &bmp_format,
                                      &ico_format,  &fits_format, &avi_format, &raw_format};

// The first bytes of a file, as far as it has them.
std::string head_of(const std::string &path, const std::string &shown) {
  errno = 0;
  std::FILE *file = std::fopen(path.c_str(), "rb");
  if (file == nullptr)
    throw failure(shown, QVERR_NOTFOUND, system_detail(QVERR_NOTFOUND, "it cannot be opened"));
  char bytes[qv::signature_bytes];
  const std::string head(bytes, std::fread(bytes, 1, sizeof bytes, file));
  const bool unreadable = std::ferror(file) != 0;
  const std::string why = system_detail(QVERR_IO, "it cannot be read");
  std::fclose(file);
  if (unreadable) throw failure(shown, QVERR_IO, why);
  return head;
}

std::string what_it_begins_with(std::string_view head) {
  if (head.empty()) return "the file is empty";
  std::string text = "no known format begins with";
  for (const char byte : head.substr(0, 8))
    text += formatted("%s%02x", " ", static_cast<unsigned char>(byte));
  return text;
}

const file_format *entry_of(const qv::format_sign *sign) {
  for (const file_format *format : formats) {
    if (&format->sign == sign) return format;
  }
  return nullptr;
}

}  // namespace

const file_format &format_of_content(const std::string &path, const std::string &shown) {
  const std::string head = head_of(path, shown);
  if (const file_format *format = entry_of(qv::format_of_content(head))) return *format;
  throw failure(shown, QVERR_FORMAT, what_it_begins_with(head));
}

const file_format &format_of_name(const std::string &path) {
  if (const file_format *format = entry_of(qv::format_of_name(path))) return *format;
  std::string known;
  for (const file_format *format : formats) {
    if (format->create != nullptr) known += format->sign.suffixes;
  }
  throw usage_error(printable(path) + ": the name tells no format; one of these at its end does: " + known +
                    "(or --format)");
}

const file_format &format_named(const std::string &name) {
  std::string known;
  for (const file_format *format : formats) {
    std::string its;
    for (const char c : format->sign.name) its += static_cast<char>(std::tolower(c));
    if (its == name) return *format;
    known += (known.empty() ? "" : ", ") + its;
  }
  throw usage_error(printable(name) + " is no format; there are " + known);
}

void check_held(const file_format &format, const std::string &shown, const qvimagedata &data, bool palette) {
  const holdings &holds = format.holds;
  if (holds.files == nullptr) return;
  std::string why;
  if (palette && !holds.palettes)
    why = " have no palettes (--colour rgb applies one)";
  else if (holds.type != nullptr && !holds.type(data))
    why = formatted(" hold %s, not %s ones (%s makes them)", holds.types, describe_type(data).c_str(),
                    holds.way);
  else if (holds.grey_or_rgb && data.pixies > 1 && !is_rgb(data.pixelhint))
    why = formatted(" hold grey or RGB pixels (%s)", data.pixelhint == QVIM_HINT_UNKNOWN
                                                         ? "--component takes one of these"
                                                         : "--colour makes them");
  if (!why.empty()) throw failure(shown, QVERR_UNSUPPORTED, holds.files + why);
}

std::vector<option> options_of_formats() {
  std::vector<option> all;
  for (const file_format *format : formats) {
    for (const option &option : format->options) {
      if (std::ranges::find(all, option.name, &option::name) == all.end()) all.push_back(option);
    }
  }
  return all;
}

void check_options(const arguments &arguments, const file_format &format) {
  for (const file_format *other : formats) {
    if (other == &format) continue;
    for (const option &option : other->options) {
      if (arguments.has(option.name) &&
          std::ranges::find(format.options, option.name, &option::name) == format.options.end())
        throw usage_error(std::string(option.name) + " is for " + std::string(other->sign.name) +
                          " files, not for " + std::string(format.sign.name));
    }
  }
}

}  // namespace tool
