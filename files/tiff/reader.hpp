// The open file behind TIFF images: its pages, the one that it stands at, and the errors of transfers.
#pragma once

#include <pthread.h>

#include <cstdint>

#include <qvimage/record.h>

#include "files/tiff/chain.hpp"
#include "files/tiff/handle.hpp"
#include "files/tiff/page_rows.hpp"

namespace qvim::tiff {

// How pages with a colour map are presented: as indices beside a palette image, or in its colours.
enum class mapped_as { indices, colours };

// The pixels that an image over a page has.
[[nodiscard]] qvimagedata describe(const page &p, mapped_as presented);
[[nodiscard]] qvimagehints describe_size(const page &p);

struct reader : tiffhandle {
  explicit reader(mapped_as m) : tiffhandle(reader_mark), presented(m), rows(&this->file, &this->format) {}
  ~reader();

  // Opens the file and reads its header.
  [[nodiscard]] int32_t open(const char *path, const char *fopenmode, int64_t bufsize);
  // Reads the directory of one page.
  [[nodiscard]] int32_t find_page(uint64_t n);
  // Reads all directories in turn; the last one describes the stack.
  [[nodiscard]] int32_t list_pages();
  // Reads the page's colour map, if it has one.
  [[nodiscard]] int32_t read_colours();
  // Gets the page ready for its pixels.
  [[nodiscard]] int32_t start_page();
  // Turns to a page of the stack.
  [[nodiscard]] int32_t turn_to(uint64_t n);
  // Turns to a page of the stack (the only page otherwise), ready for its pixels. -10 when it has other
  // pixels than the stack.
  [[nodiscard]] int32_t select(uint64_t n);

  // Pages of the file, found by walking the chain: pages before a break in it count. -2, -7.
  [[nodiscard]] int64_t count_pages();

  // Transfers cannot return errors: they leave them here.
  void latch(int32_t code);

  static constexpr uint64_t no_page = ~uint64_t{0};

  const mapped_as presented;
  directory where;          // of the current page
  uint64_t number = 0;      // of the current page; no_page after a directory that could not be read
  qvimagedata data{};       // of all pages
  array<uint64_t> pages;    // directories of a stack; more room than pages
  uint64_t page_count = 0;  // of a stack; 0 for a single page
  array<uint8_t> colours;   // entries of the colour map: the current page's, or those of the palette image
  page_rows rows;
  bool started = false;  // the rows are those of the current page
  int32_t latched = 0;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;

 private:
  int32_t read_page(uint64_t offset);
};

// Holds a reader's lock.
class locked {
 public:
  explicit locked(reader &r) : mutex_(&r.mutex) { pthread_mutex_lock(mutex_); }
  ~locked() { pthread_mutex_unlock(mutex_); }
  locked(const locked &) = delete;
  locked &operator=(const locked &) = delete;

 private:
  pthread_mutex_t *mutex_;
};

// Makes the image that reads from the handle (image.cpp).
void present(qvimage *im, reader &r);
void present(qvimage3 *im, reader &r);

}  // namespace qvim::tiff
