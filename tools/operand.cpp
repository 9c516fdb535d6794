#include "operand.hpp"

#include <glob.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>

#include <qvimage/error.h>
#include <qvimage/utility.h>

#include "failure.hpp"
#include "format.hpp"
#include "nameless_file.hpp"
#include "raw.hpp"
#include "text.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view series_mark = "series:";
constexpr char digit_place = '?';

bool exists(const std::string &path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

bool has_place(const std::string &path) { return path.find(digit_place) != path.npos; }

// "A-B" or "A-" behind the last colon, which is taken off.
void take_numbers(operand &series, std::string &text) {
  const size_t colon = text.rfind(':');
  if (colon == text.npos) return;
  std::string range = text.substr(colon + 1);
  if (range.empty() || range.find_first_not_of("0123456789-") != range.npos || range.find('-') == range.npos)
    return;
  const bool open_end = range.back() == '-';
  if (open_end) range.pop_back();
  const auto ends = numbers<int64_t>(range, '-', 0, INT32_MAX);
  if (!ends || ends->size() != (open_end ? 1U : 2U) || ends->front() > ends->back())
    throw usage_error("the numbers of a series are A-B or A- with A <= B, not " +
                      printable(text.substr(colon + 1)));
  series.given_first = true;
  series.first = ends->front();
  series.last = open_end ? -1 : ends->back();
  text.resize(colon);
}

void take_path(operand &word, const std::string &text) {
  if (is_raw(text)) {
    const raw_parts parts = parts_of_raw(text);
    word.before = raw_mark;
    word.path = parts.file;
    word.after = parts.behind;
    word.format = &raw_format;
    return;
  }
  const size_t colon = text.rfind(":-");
  if (colon != text.npos && colon + 2 == text.size() && text.find('/') == text.npos) {
    word.format = &format_named(text.substr(0, colon));
    word.path = text.substr(colon + 1);
    return;
  }
  word.path = text;
}

// What the standard input ("-") and pipes gave, by their names.
std::string copied(const std::string &name, const std::string &shown) {
  static std::map<std::string, std::unique_ptr<nameless_file>> copies;
  std::unique_ptr<nameless_file> &known = copies[name];
  if (!known) {
    auto copy = std::make_unique<nameless_file>(shown);
    if (name == "-")
      copy->fill(STDIN_FILENO, shown);
    else
      copy->fill_from_pipe(name);
    known = std::move(copy);
  }
  return known->path();
}

// A path by which the pixels can be reached in any order.
std::string seekable(const std::string &name, const std::string &shown) {
  std::error_code ignored;
  const fs::file_status status = fs::status(name, ignored);
  if (name == "-" || fs::is_fifo(status)) return copied(name, shown);
  if (fs::is_other(status))
    throw failure(shown, QVERR_USAGE, "a device or a socket has no pixels (- reads the standard input)");
  return name;
}

int64_t number_in(const operand &series, const std::string &name) {
  int64_t number = 0;
  for (size_t i = 0; i < name.size(); i++) {
    if (series.path[i] == digit_place && number < INT32_MAX) number = 10 * number + (name[i] - '0');
  }
  return number;
}

std::vector<std::string> matches(const operand &series) {
  std::string pattern;
  for (const char c : series.path) {
    if (std::strchr("*[\\", c) != nullptr) pattern += '\\';
    if (c == digit_place)
      pattern += "[0-9]";
    else
      pattern += c;
  }
  glob_t found = {};
  std::vector<std::string> names;
  if (glob(pattern.c_str(), GLOB_NOSORT, nullptr, &found) == 0)
    names.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  // Names differ only in their digits, so that this is the order of the numbers.
  std::ranges::sort(names);
  if (series.given_first)
    std::erase_if(names, [&](const std::string &name) { return number_in(series, name) < series.first; });
  return names;
}

std::vector<std::string> names_of(const operand &series) {
  std::vector<std::string> names;
  if (series.last < 0) {
    names = matches(series);
    if (names.empty())
      throw failure(series.path, QVERR_NOTFOUND, "no file has such a name with digits for each ?");
    return names;
  }
  for (int64_t number = series.first; number <= series.last; number++) {
    names.push_back(numbered_name(series, number));
    if (!exists(names.back()))
      throw failure(names.back(), QVERR_NOTFOUND, "this file of the series is missing");
  }
  return names;
}

source source_of(const operand &word, const std::string &name) {
  if (word.format == &raw_format) check_raw_form(word.word(name));
  const std::string shown = name == "-" ? "standard input" : word.word(name);
  const std::string path = word.word(seekable(name, shown));
  return {path, shown, word.format != nullptr ? word.format : &format_of_content(path, shown)};
}

}  // namespace

operand operand_of(const std::string &word) {
  operand found;
  std::string text = word;
  const bool says_so = text.starts_with(series_mark);
  if (says_so) {
    text.erase(0, series_mark.size());
    take_numbers(found, text);
  }
  take_path(found, text);
  if (says_so && !has_place(found.path))
    throw usage_error(printable(word) + ": the pattern of a series has a ? for each digit of the numbers");
  found.numbered = says_so || (has_place(found.path) && !exists(found.path));
  return found;
}

std::string numbered_name(const operand &series, int64_t number) {
  std::string name = series.path;
  if (number > INT32_MAX || pathseq(name.data(), static_cast<int32_t>(number), digit_place) != 1)
    throw failure(series.path, QVERR_NOFILE,
                  formatted("too few ? for the number %lld", static_cast<long long>(number)));
  return name;
}

std::vector<source> sources_of(const std::string &word) {
  const operand operand = operand_of(word);
  std::vector<source> sources;
  if (!operand.numbered) return {source_of(operand, operand.path)};
  for (const std::string &name : names_of(operand)) sources.push_back(source_of(operand, name));
  return sources;
}

}  // namespace tool
