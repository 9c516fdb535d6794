// qvimage check: what is wrong with files.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <set>
#include <string_view>
#include <vector>

#include <qvimage/error.h>

#include "audit/audit.hpp"
#include "command.hpp"
#include "document.hpp"
#include "failure.hpp"
#include "text.hpp"

namespace tool {

namespace {

// Tells each fault of a file once.
class faults {
 public:
  void tell(const failure &fault) { tell(fault.file, fault.code, fault.detail); }
  void tell(const std::string &file, int32_t code, const std::string &detail) {
    found_ = true;
    const std::string line = formatted("%s: %s (code %d): %s\n", printable(file).c_str(), qverrnomesg(code),
                                       code, printable(detail).c_str());
    if (told_.insert(line).second) std::fputs(line.c_str(), stdout);
  }
  bool any() const { return found_; }

 private:
  bool found_ = false;
  std::set<std::string> told_;
};

// Rows that follow each other and lack the same, but for their numbers, are one fault.
class row_faults {
 public:
  row_faults(const place &where, faults &faults) : where_(where), faults_(faults) {}
  ~row_faults() { tell(); }

  void add(int32_t row, int32_t code, const std::string &why) {
    const std::string rest = without_row(why);
    if (row != last_ + 1 || code != code_ || rest != rest_) {
      tell();
      first_ = row;
      code_ = code;
      why_ = why;
      rest_ = rest;
    }
    last_ = row;
  }

 private:
  static std::string without_row(std::string why) {
    static constexpr std::string_view word = ", row ";
    const size_t at = why.find(word);
    if (at != why.npos)
      why.erase(at, std::min(why.find_first_not_of("0123456789", at + word.size()), why.size()) - at);
    return why;
  }
  void tell() {
    if (last_ == 0) return;
    const bool more = last_ > first_ && why_ != rest_;
    faults_.tell(where_.file, code_, more ? why_ + formatted(" (and so the rows to %d)", last_) : why_);
  }

  const place &where_;
  faults &faults_;
  int32_t first_ = 0, last_ = 0, code_ = 0;  // rows from 1
  std::string why_, rest_;
};

// Rows behind a fault are read, too, where the format can.
void read_rows(qvimage &image, const place &where, faults &faults) {
  const auto type = static_cast<uint32_t>(image.d.pixietype) | QVIM_LSB;
  const uint32_t all = image.d.pixies >= 32 ? UINT32_MAX : (uint32_t{1} << image.d.pixies) - 1;
  check(image.ioset(&image, 0, type, all), where.file, where.page);
  const auto width = static_cast<uint32_t>(image.imdim.se.x);
  std::vector<std::byte> row(size_t{width} * static_cast<size_t>(image.f.pixelsize));
  row_faults broken(where, faults);
  for (int32_t y = 0; y < image.imdim.se.y; y++) {
    errno = 0;
    const bool whole = image.ioread(&image, 0, row.data(), width, 0, y) == width;
    const auto kept = static_cast<int32_t>(image.aeiou(&image, 'e', 1, 1, nullptr));
    if (whole && kept >= 0) continue;
    const int32_t code = kept < 0 ? kept : QVERR_IO;
    const std::string why = reason(code, "");
    broken.add(y + 1, code,
               why.find("page ") != why.npos ? why
               : why.empty()                 ? where.page + formatted(", row %d: it cannot be read", y + 1)
                                             : where.page + ": " + why);
  }
}

void check_page(document &document, int64_t number, faults &faults) {
  try {
    document.info(number);
    const auto page = document.open(number, colour_map::kept);
    read_rows(page->image, document.where(number), faults);
  } catch (const failure &fault) {
    faults.tell(fault);
  }
}

bool sound(const std::string &word) {
  faults faults;
  try {
    for (const source &file : sources_of(word)) {
      if (file.format->audit == nullptr) continue;
      audited_file audited(file.path);
      file.format->audit(audited);
      for (const std::string &fault : audited.faults()) faults.tell(file.shown, QVERR_FORMAT, fault);
    }
    const auto document = open_document(word);
    for (int64_t page = 0; page < document->pages(); page++) check_page(*document, page, faults);
  } catch (const failure &fault) {
    faults.tell(fault);
  }
  return !faults.any();
}

int run(const arguments &arguments) {
  bool good = true;
  for (const std::string &word : arguments.operands()) good &= sound(word);
  return good ? fine : failed;
}

std::vector<option> options() { return {}; }

}  // namespace

const command check_command = {
    "check",
    "FILE...",
    "what is wrong with files",
    "Reads every row of every page and prints a line for each thing that is wrong: where it is and what was "
    "expected there. Says nothing of files that are sound. Exit status 1 when anything is wrong.",
    1,
    SIZE_MAX,
    options,
    run};

}  // namespace tool
