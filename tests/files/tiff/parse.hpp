// A slow and obvious reader of TIFF directories, for judging what was written.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

struct parsed_tag {
  uint16_t type;
  std::vector<uint64_t> values;  // rationals: numerator and denominator one after the other
  bool is_inline;
  std::string text() const { return {values.begin(), values.end()}; }
};

struct parsed_page {
  uint64_t position, link_position;
  std::map<uint16_t, parsed_tag> tags;
  std::vector<uint16_t> order;
  uint64_t value(uint16_t tag) const { return tags.at(tag).values.at(0); }
};

struct parsed_tiff {
  bool big_endian, bigtiff;
  std::vector<uint8_t> bytes;
  std::vector<parsed_page> pages;

  explicit parsed_tiff(std::vector<uint8_t> file) : bytes(std::move(file)) {
    if (bytes.at(0) != bytes.at(1) || (bytes[0] != 'I' && bytes[0] != 'M'))
      throw std::runtime_error("byte order");
    big_endian = bytes[0] == 'M';
    bigtiff = number(2, 2) == 43;
    if (!bigtiff && number(2, 2) != 42) throw std::runtime_error("version");
    if (bigtiff && (number(4, 2) != 8 || number(6, 2) != 0)) throw std::runtime_error("BigTIFF header");
    const int offset = bigtiff ? 8 : 4;
    for (uint64_t at = number(bigtiff ? 8 : 4, offset); at != 0;) {
      pages.push_back(read_page(at));
      at = number(pages.back().link_position, offset);
    }
  }

  uint64_t number(uint64_t at, int size) const {
    uint64_t value = 0;
    for (int i = 0; i < size; i++)
      value |= uint64_t(bytes.at(at + uint64_t(big_endian ? size - 1 - i : i))) << 8 * i;
    return value;
  }

  // The bytes of a page's strips, one strip an entry.
  std::vector<std::vector<uint8_t>> strips(const parsed_page &page) const {
    std::vector<std::vector<uint8_t>> result;
    const auto &offsets = page.tags.at(273).values, &counts = page.tags.at(279).values;
    for (size_t i = 0; i < offsets.size(); i++) {
      bytes.at(offsets[i] + counts.at(i) - 1);
      result.emplace_back(bytes.begin() + long(offsets[i]), bytes.begin() + long(offsets[i] + counts[i]));
    }
    return result;
  }

 private:
  parsed_page read_page(uint64_t at) const {
    const int offset = bigtiff ? 8 : 4, entry = bigtiff ? 20 : 12, head = bigtiff ? 8 : 2;
    parsed_page page{at, 0, {}, {}};
    const uint64_t count = number(at, head);
    for (uint64_t i = 0; i < count; i++) {
      const uint64_t e = at + uint64_t(head) + i * uint64_t(entry);
      static const int sizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
      parsed_tag tag{uint16_t(number(e + 2, 2)), {}, false};
      const uint64_t values = number(e + 4, offset);
      const uint64_t size = uint64_t(sizes[tag.type]);
      tag.is_inline = size * values <= uint64_t(offset);
      const uint64_t place = e + 4 + uint64_t(offset), data = tag.is_inline ? place : number(place, offset);
      const bool rational = tag.type == 5;
      for (uint64_t v = 0; v < values * (rational ? 2 : 1); v++)
        tag.values.push_back(rational ? number(data + 4 * v, 4) : number(data + size * v, int(size)));
      page.order.push_back(uint16_t(number(e, 2)));
      page.tags[page.order.back()] = tag;
    }
    page.link_position = at + uint64_t(head) + count * uint64_t(entry);
    return page;
  }
};
