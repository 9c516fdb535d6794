// Files that are written page by page on one thread: what the formats without coded bands share.
#pragma once

#include <string>

#include "format.hpp"

namespace tool {

class serial_writer : public writer {
 public:
  void add(pixels &page, qvimage *palette, qvimagefileinfo &options, bool computed) final;
  void finish() final;

 protected:
  serial_writer(std::string path, std::string shown) : path_(std::move(path)), shown_(std::move(shown)) {}

  // The library's steps, which answer codes. begin comes before the first page; end is also for giving up.
  virtual int32_t begin(qvimage *image, qvimage *palette, qvimagefileinfo &options) = 0;
  virtual int32_t page(qvimage *image, qvimage *palette, qvimagefileinfo &options) = 0;
  virtual int32_t end() = 0;

  const char *path() const { return path_.c_str(); }
  [[noreturn]] void refuse(const std::string &why) const;

 private:
  void write(pixels &page, qvimage *palette, qvimagefileinfo &options);
  void check_alike(pixels &page);
  void checked(int32_t code) const;
  const std::string path_, shown_;
  int64_t pages_ = 0;
  std::string first_;  // what the first page is like
};

// Whether pixels are held red first, as files want to know it.
bool red_first(const qvimage *image);

}  // namespace tool
