// The files, open: makes pictures of wishes. For one thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "picture.hpp"

namespace tool::show {

// What a file holds for a pixel; empty outside of the page.
struct pixel_value {
  std::string text, json;
};

class gallery {
 public:
  explicit gallery(std::vector<std::string> paths);
  ~gallery();

  // Called while rows are read: true ends the work, of which nothing is needed any more.
  using stop_question = std::function<bool()>;
  // Called with what there is so far, several times if that takes long, with all of it at the end.
  using sink = std::function<void(const picture &)>;

  // Throws failures. A file that was to be read again and cannot be stays open as it was.
  void paint(const wish &wish, const stop_question &stopped, const sink &shown);

  pixel_value value_at(const wish &wish, position stored);

 private:
  struct open_file;
  struct open_page;
  open_file &opened(const wish &wish, size_t file);
  open_page &page_of(open_file &file, const wish &wish);
  void find_levels(picture &picture, open_page &page, const stop_question &stopped);

  const std::vector<std::string> paths_;
  std::vector<std::unique_ptr<open_file>> files_;
};

}  // namespace tool::show
