// The option --lut: pixels through a table from a text file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <qvimage/record.h>

#include "chain.hpp"

namespace tool {

// Tables of the same length, one a column of the file: a line an entry, with 1 or 3 numbers, before which the
// number of the entry may stand. '#' begins a comment.
class table_file {
 public:
  explicit table_file(std::string path);  // throws a failure that names the line

  size_t columns() const { return columns_.size(); }
  // A column as a table for pixels of that description: every value has an entry and all entries are such
  // values.
  std::vector<std::byte> table(size_t column, const qvimagedata &data) const;

 private:
  void take_line(std::string_view text);
  void check_length(const qvimagedata &data) const;
  void check_values(const qvimagedata &data) const;
  size_t entries() const { return lines_.size(); }
  [[noreturn]] void complain(size_t line, const std::string &what) const;

  const std::string path_;
  std::vector<std::vector<uint32_t>> columns_;
  std::vector<size_t> lines_;  // where each entry stands
  size_t line_ = 0;            // being read
};

step lut(const std::string &path);

// Integers that use so many bits become 32-bit ones: the largest of the one the largest of the other. Up to
// 16 bits.
void fill_32_bits(chain &chain);

}  // namespace tool
