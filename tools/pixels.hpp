// A page's pixels as several threads need them: an image record for each over the same pixels, since no two
// threads may use one record.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <qvimage/record.h>

#include "chain.hpp"
#include "document.hpp"

namespace tool {

// A document for each thread: the first one, and others opened at their thread's first call.
class documents {
 public:
  documents(const std::vector<std::string> &words, unsigned threads);
  document &of(unsigned thread);
  unsigned threads() const { return static_cast<unsigned>(open_.size()); }

 private:
  std::vector<std::unique_ptr<document>> open_;
};

// A page and the steps over it.
class pixels {
 public:
  using opener = std::function<std::unique_ptr<page>(unsigned thread)>;

  pixels(unsigned threads, opener open, std::span<const step> steps, place where);
  pixels(documents &documents, int64_t page, colour_map colours, std::span<const step> steps);

  // How many threads are worth while for so many pixels.
  unsigned threads() const { return threads_; }
  // The steps' image, made at the thread's first call, which is to be the thread itself.
  qvimage *image(unsigned thread) { return view(thread).chain.top(); }
  int32_t width() { return image(0)->wind.se.x - image(0)->wind.nw.x; }
  int32_t height() { return image(0)->wind.se.y - image(0)->wind.nw.y; }
  bool transposed() { return view(0).chain.transposed(); }
  qvimagedata data() { return image(0)->d; }
  qvimage *palette() { return view(0).page->has_palette ? &view(0).page->palette : nullptr; }

  // Whole rows in the image's own type, significant bits at the low end: set up, then read one to `place`.
  void set_up_rows(unsigned thread);
  void read(unsigned thread, int32_t y, void *place);
  size_t row_bytes();
  // Says why the thread's last transfer came to nothing, when it was the pixels' fault.
  void blame(unsigned thread, int64_t row);

 private:
  struct thread_view {
    thread_view(std::unique_ptr<tool::page> opened, const pixels &pixels);
    const std::unique_ptr<tool::page> page;
    tool::chain chain;
  };
  thread_view &view(unsigned thread);

  const opener open_;
  const std::span<const step> steps_;
  const std::string file_, where_;
  std::vector<std::unique_ptr<thread_view>> views_;
  unsigned threads_;
};

// All pixels of an image kept where each can be reached at once: what --rotate needs.
std::unique_ptr<pixels> kept_in_scratch(pixels &from, const std::string &beside, std::span<const step> steps,
                                        place where);

// For what writes on one thread: pixels that fit into memory, read by several threads before. Null where one
// thread does as well.
std::unique_ptr<pixels> read_ahead(pixels &page, const std::string &beside);

}  // namespace tool
