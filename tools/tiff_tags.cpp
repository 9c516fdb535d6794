#include "tiff_tags.hpp"

#include <algorithm>

namespace tool {

namespace {

// Bytes of a value of an integer type; 0 for the other types.
unsigned integer_width(uint64_t type) {
  switch (type) {
    case 1: return 1;  // BYTE
    case 3: return 2;  // SHORT
    case 4:
    case 13: return 4;  // LONG, IFD
    case 16:
    case 18: return 8;  // LONG8, IFD8
    default: return 0;
  }
}

}  // namespace

tiff_tags::tiff_tags(const std::string &path, int64_t page) : file_(path, std::ios::binary | std::ios::ate) {
  size_ = file_ ? static_cast<uint64_t>(file_.tellg()) : 0;
  big_endian_ = at(0, 1) == 'M';
  if (at(2, 2) == 43) {
    offset_ = count_ = 8;
    entry_ = 20;
  }
  find_directory(page);
}

void tiff_tags::find_directory(int64_t page) {
  directory_ = at(offset_ == 8 ? 8 : 4, offset_);
  for (int64_t i = 0; i < page && directory_ != 0; i++) directory_ = at(link_behind(directory_), offset_);
  if (directory_ != 0 && directory_ < size_) directory_end_ = link_behind(directory_) + offset_;
}

uint64_t tiff_tags::link_behind(uint64_t directory) {
  // Not more entries than fit into the file, so that the sum stays a position.
  const uint64_t entries = std::min(at(directory, count_), size_ / entry_ + 1);
  return directory + count_ + entries * entry_;
}

std::optional<tiff_tags::entry> tiff_tags::find(uint16_t tag) {
  if (!directory_is_whole()) return std::nullopt;
  for (uint64_t at_entry = directory_ + count_; at_entry + entry_ + offset_ <= directory_end_;
       at_entry += entry_) {
    if (at(at_entry, 2) != tag) continue;
    const entry found = {at(at_entry + 2, 2), at(at_entry + 4, offset_), at_entry + 4 + offset_};
    const unsigned width = integer_width(found.type);
    if (width == 0 || found.count == 0 || found.count > size_) return std::nullopt;
    return found.count * width <= offset_ ? found : entry{found.type, found.count, at(found.place, offset_)};
  }
  return std::nullopt;
}

std::optional<uint64_t> tiff_tags::value(uint16_t tag) {
  const auto found = find(tag);
  return found ? std::optional(at(found->place, integer_width(found->type))) : std::nullopt;
}

std::vector<uint16_t> tiff_tags::shorts(uint16_t tag) {
  std::vector<uint16_t> values;
  const auto found = find(tag);
  if (!found || integer_width(found->type) != 2) return values;
  std::vector<unsigned char> raw(2 * found->count);
  if (!read(found->place, raw.data(), raw.size())) return values;
  for (size_t i = 0; i < raw.size(); i += 2) values.push_back(static_cast<uint16_t>(number(&raw[i], 2)));
  return values;
}

bool tiff_tags::read(uint64_t position, unsigned char *raw, uint64_t bytes) {
  if (position > size_ || bytes > size_ - position) return false;
  file_.seekg(static_cast<std::streamoff>(position));
  return file_.read(reinterpret_cast<char *>(raw), static_cast<std::streamsize>(bytes)).good();
}

uint64_t tiff_tags::number(const unsigned char *raw, unsigned width) const {
  uint64_t value = 0;
  for (unsigned i = 0; i < width; i++) value = value << 8 | raw[big_endian_ ? i : width - 1 - i];
  return value;
}

uint64_t tiff_tags::at(uint64_t position, unsigned width) {
  unsigned char raw[8] = {};
  return read(position, raw, width) ? number(raw, width) : 0;
}

}  // namespace tool
