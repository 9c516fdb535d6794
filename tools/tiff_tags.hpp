// The tags of a TIFF page, read without the library: for what it does not pass on, and for telling what is
// wrong with a page that it refuses. Nothing here trusts the file: numbers past its end are 0.
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace tool {

class tiff_tags {
 public:
  tiff_tags(const std::string &path, int64_t page);

  uint64_t file_size() const { return size_; }
  uint64_t directory() const { return directory_; }  // its position; 0 when there is no such page
  bool directory_is_whole() const { return directory_end_ != 0 && directory_end_ <= size_; }

  std::optional<uint64_t> value(uint16_t tag);  // the first one, of an integer tag
  std::vector<uint16_t> shorts(uint16_t tag);   // all values of a tag of 16-bit numbers

 private:
  struct entry {
    uint64_t type, count, place;  // where its values are
  };
  std::optional<entry> find(uint16_t tag);
  void find_directory(int64_t page);
  uint64_t link_behind(uint64_t directory);
  bool read(uint64_t position, unsigned char *raw, uint64_t bytes);
  uint64_t number(const unsigned char *raw, unsigned width) const;
  uint64_t at(uint64_t position, unsigned width);

  std::ifstream file_;
  uint64_t size_ = 0;
  bool big_endian_ = false;
  unsigned offset_ = 4, count_ = 2, entry_ = 12;  // bytes of an offset, a directory's count and an entry
  uint64_t directory_ = 0, directory_end_ = 0;
};

}  // namespace tool
