// The open file behind TIFF images: its pages, the one that it stands at, and the errors of transfers.
#pragma once

#include <cstdint>

#include <qvimage/record.h>

#include "core/reason.hpp"
#include "files/rows/row_source.hpp"
#include "files/tiff/chain.hpp"
#include "files/tiff/handle.hpp"
#include "files/tiff/page_rows.hpp"

namespace qvim::tiff {

// How pages with a colour map are presented: as indices beside a palette image, or in its colours.
enum class mapped_as { indices, colours };

// The pixels that an image over a page has.
[[nodiscard]] qvimagedata describe(const page &p, mapped_as presented);
[[nodiscard]] qvimagehints describe_size(const page &p);

struct reader final : tiffhandle, row_source {
  explicit reader(mapped_as m) : tiffhandle(reader_mark), row_source(&this->file), presented(m) {}
  ~reader();

  // Opens the file and reads its header.
  [[nodiscard]] int32_t open(const char *path, const char *fopenmode, int64_t bufsize);
  // Reads the directory of one page.
  [[nodiscard]] int32_t find_page(uint64_t n);
  // Reads all directories in turn; the last one describes the stack.
  [[nodiscard]] int32_t list_pages();
  // Reads the page's colour map, if it has one.
  [[nodiscard]] int32_t read_colours(array<uint8_t> *entries);
  // Gets the current page ready for its pixels.
  [[nodiscard]] int32_t start_page();
  // Reads the directory of a page of the stack.
  [[nodiscard]] int32_t turn_to(uint64_t n);
  // Turns to the pixels of a page of the stack (the only page otherwise). -10 when it has other pixels than
  // the stack.
  [[nodiscard]] int32_t select(uint64_t n) override;
  uint32_t width() const override { return now_->rows.width(); }
  uint32_t height() const override { return now_->rows.height(); }
  [[nodiscard]] int32_t read(uint32_t y, uint32_t x, uint32_t n, uint8_t *to) override {
    return on_page(now_->number, now_->rows.read(y, x, n, to));
  }
  [[nodiscard]] int32_t read_rows(uint32_t y, uint32_t count, uint8_t *to, uint32_t *done) override {
    return on_page(now_->number, now_->rows.read_rows(y, count, to, done));
  }
  [[nodiscard]] int32_t view(uint32_t y, uint32_t x, uint32_t *n, const uint8_t **pixels) override {
    return on_page(now_->number, now_->rows.view(y, x, n, pixels));
  }

  bool finds_pixels() const override { return now_ && now_->rows.plain(); }

  // Names a page, by default the current one, in the reason for a failure.
  int32_t on_page(int32_t code) const { return on_page(number, code); }
  static int32_t on_page(uint64_t n, int32_t code) {
    return code < 0 ? within({"page ", n + 1}, code) : code;
  }

  // Pages of the file, found by walking the chain: pages before a break in it count. -2, -7.
  [[nodiscard]] int64_t count_pages();

  static constexpr uint64_t no_page = ~uint64_t{0};

  static constexpr uint32_t kind = reader_mark;
  const mapped_as presented;
  directory where;          // of the current page: the one whose directory was read last
  uint64_t number = 0;      // of that page; no_page after a directory that could not be read
  qvimagedata data{};       // of all pages
  array<uint64_t> pages;    // directories of a stack; more room than pages
  uint64_t page_count = 0;  // of a stack; 0 for a single page
  array<uint8_t> colours;   // entries of the palette image

 private:
  // A page whose pixels can be had: of a stack those that were used last.
  struct open_page {
    open_page(bufio *file, const tiff::format *f) : rows(file, f) {}
    uint64_t number = no_page;
    uint64_t used = 0;       // when it was selected, by the count of selections
    array<uint8_t> colours;  // of its colour map, where pixels come in colours
    page_rows rows;
  };
  static constexpr int most_open = 8;

  int32_t read_page(uint64_t offset);
  open_page *least_used();

  owned<open_page> open_[most_open];
  open_page *now_ = nullptr;  // the one selected
  uint64_t selections_ = 0;
};

}  // namespace qvim::tiff
