// TIFF files built tag by tag, without the library: either byte order, classic or BigTIFF, samples of any
// depth, and every mistake that a test wants in them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "tests/files/codec/slow_coders.hpp"
#include "tests/files/tiff/frame.hpp"

namespace tiff_test {

using bytes = std::vector<uint8_t>;

struct tag_values {
  uint16_t type;
  std::vector<uint64_t> values;   // rationals: the denominator in the high half
  uint64_t count = ~uint64_t{0};  // another count than there are values
};

struct page_spec {
  uint32_t width = 7, height = 5, bits = 8, samples = 1;
  uint32_t photometric = 1, compression = 1, rows_per_strip = 2;
  bool is_float = false, differenced = false;
  uint64_t seed = 1;
  std::map<uint16_t, tag_values> tags{};  // beside those of the fields above, or in their place
  std::vector<uint16_t> without{};        // tags left out
  // The sample that the page stores; by default noise.
  std::function<uint64_t(uint32_t x, uint32_t y, uint32_t s)> stored{};

  uint64_t sample(uint32_t x, uint32_t y, uint32_t s) const {
    const uint64_t mask = bits == 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1;
    if (stored) return stored(x, y, s) & mask;
    uint64_t v = (seed << 40) + (uint64_t{y} << 24) + (uint64_t{x} << 4) + s;
    v = (v ^ v >> 31) * 0x9E3779B97F4A7C15u;
    v = (v ^ v >> 29) * 0xBF58476D1CE4E5B9u;
    return (v >> 7 ^ v << 13) & mask;
  }
};

// One strip's rows, compressed.
using compressor = std::function<bytes(const page_spec &, const bytes &rows, size_t row_bytes)>;

class builder {
 public:
  explicit builder(bool big_endian = false, bool bigtiff = false)
      : big_endian_(big_endian), bigtiff_(bigtiff) {
    file_ = {uint8_t(big_endian ? 'M' : 'I'), uint8_t(big_endian ? 'M' : 'I')};
    put(bigtiff ? 43 : 42, 2);
    if (bigtiff) {
      put(8, 2);
      put(0, 2);
    }
    link_ = file_.size();
    put(0, offset_size());
  }

  // Appends a page: strips, then its directory.
  builder &page(const page_spec &p, const compressor &compress = nullptr) {
    std::map<uint16_t, tag_values> tags = p.tags;
    const auto add = [&](uint16_t id, uint16_t type, std::vector<uint64_t> values) {
      if (!tags.count(id)) tags[id] = {type, std::move(values)};
    };
    add(256, p.width > 0xFFFF ? 4 : 3, {p.width});
    add(257, p.height > 0xFFFF ? 4 : 3, {p.height});
    add(258, 3, std::vector<uint64_t>(p.samples, p.bits));
    add(259, 3, {p.compression});
    add(262, 3, {p.photometric});
    add(277, 3, {p.samples});
    add(278, 4, {p.rows_per_strip});
    if (p.is_float) add(339, 3, std::vector<uint64_t>(p.samples, 3));
    if (p.differenced) add(317, 3, {2});
    if (!tags.count(273)) {
      std::vector<uint64_t> offsets, counts;
      for (uint32_t y = 0; y < p.height; y += std::min(p.rows_per_strip, p.height)) {
        const uint32_t rows = std::min(p.rows_per_strip, p.height - y);
        bytes strip;
        for (uint32_t r = 0; r < rows; r++) {
          const bytes row = encode_row(p, y + r);
          strip.insert(strip.end(), row.begin(), row.end());
        }
        if (compress) strip = compress(p, strip, strip.size() / rows);
        offsets.push_back(file_.size());
        counts.push_back(strip.size());
        file_.insert(file_.end(), strip.begin(), strip.end());
      }
      add(273, bigtiff_ ? 16 : 4, offsets);
      add(279, 4, counts);
    }
    for (const uint16_t id : p.without) tags.erase(id);
    return directory(tags);
  }

  builder &append_bytes(const bytes &data) {
    file_.insert(file_.end(), data.begin(), data.end());
    return *this;
  }

  builder &directory(const std::map<uint16_t, tag_values> &tags) {
    if (file_.size() % 2) file_.push_back(0);
    patch(link_, file_.size(), offset_size());
    directories.push_back(file_.size());
    const size_t entry = bigtiff_ ? 20 : 12, begin = file_.size() + (bigtiff_ ? 8 : 2);
    put(tags.size(), bigtiff_ ? 8 : 2);
    file_.resize(begin + tags.size() * entry);
    link_ = file_.size();
    links_.push_back(link_);
    put(0, offset_size());
    size_t at = begin;
    for (const auto &[id, tag] : tags) {
      bytes value;
      for (const uint64_t v : tag.values) {
        if (tag.type != 5) append(value, v, size_of(tag.type));
        if (tag.type == 5) append(value, v & 0xFFFFFFFF, 4), append(value, v >> 32, 4);
      }
      patch(at, id, 2);
      patch(at + 2, tag.type, 2);
      patch(at + 4, tag.count == ~uint64_t{0} ? tag.values.size() : tag.count, offset_size());
      const size_t place = at + 4 + size_t(offset_size());
      if (value.size() <= size_t(offset_size())) {
        std::copy(value.begin(), value.end(), file_.begin() + std::ptrdiff_t(place));
      } else {
        patch(place, file_.size(), offset_size());
        file_.insert(file_.end(), value.begin(), value.end());
      }
      at += entry;
    }
    return *this;
  }

  // The link of the last directory, of any, and of the header.
  builder &link_to(uint64_t offset) { return patch(link_, offset, offset_size()), *this; }
  builder &link_from(size_t page, uint64_t offset) {
    return patch(links_[page], offset, offset_size()), *this;
  }
  builder &first_link_to(uint64_t offset) { return patch(bigtiff_ ? 8 : 4, offset, offset_size()), *this; }

  const bytes &file() const { return file_; }
  std::vector<uint64_t> directories;

  // A row in the file: whole bytes in the file's order, other depths as one stream of bits from the high end.
  bytes encode_row(const page_spec &p, uint32_t y) const {
    std::vector<uint64_t> values;
    for (uint32_t x = 0; x < p.width; x++)
      for (uint32_t s = 0; s < p.samples; s++) values.push_back(p.sample(x, y, s));
    if (p.differenced) values = differences(values, int(p.samples), int(p.bits));
    // The predictive coder's samples: one byte, or two with the low one first.
    const bool whole = p.compression == 32885;
    return packed_row(values, int(whole ? (p.bits + 7) / 8 * 8 : p.bits), big_endian_ && !whole);
  }

  int offset_size() const { return bigtiff_ ? 8 : 4; }
  static int size_of(uint16_t type) {
    static const int sizes[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 1, 1, 8, 8, 8};
    return type < std::size(sizes) ? sizes[type] : 1;
  }

 private:
  void append(bytes &to, uint64_t v, int size) const {
    for (int i = 0; i < size; i++) to.push_back(uint8_t(v >> 8 * (big_endian_ ? size - 1 - i : i)));
  }
  void put(uint64_t v, int size) { append(file_, v, size); }
  void patch(size_t at, uint64_t v, int size) {
    bytes value;
    append(value, v, size);
    std::copy(value.begin(), value.end(), file_.begin() + std::ptrdiff_t(at));
  }

  bool big_endian_, bigtiff_;
  bytes file_;
  size_t link_;
  std::vector<size_t> links_;
};

inline bytes pack_bits(const page_spec &, const bytes &rows, size_t row) { return slow::pack(rows, row); }
inline bytes lzw(const page_spec &, const bytes &rows, size_t) { return slow::lzw_encoder().encode(rows); }

}  // namespace tiff_test
