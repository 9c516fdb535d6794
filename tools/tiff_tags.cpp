// The tags of TIFF pages that the library passes over: listed here, so that convert can say what it leaves
// behind.
#include <algorithm>
#include <optional>

#include <qvimage/memory.h>

#include "document.hpp"
#include "file_bytes.hpp"
#include "text.hpp"
#include "tiff.hpp"

namespace tool {

namespace {

enum tag : uint16_t { photometric = 262, orientation = 274, colour_map = 320, extra_samples = 338 };
constexpr uint64_t photometric_rgb = 2;

struct known_tag {
  uint16_t number;
  const char *name;  // null: carried over, or true of the stored pixels only, or told by the order of pages
};

constexpr known_tag known_tags[] = {{254, nullptr},
                                    {255, nullptr},
                                    {256, nullptr},
                                    {257, nullptr},
                                    {258, nullptr},
                                    {259, nullptr},
                                    {262, nullptr},
                                    {266, nullptr},
                                    {269, "DocumentName"},
                                    {270, nullptr},
                                    {271, "Make"},
                                    {272, "Model"},
                                    {273, nullptr},
                                    {274, nullptr},
                                    {277, nullptr},
                                    {278, nullptr},
                                    {279, nullptr},
                                    {280, nullptr},
                                    {281, nullptr},
                                    {282, nullptr},
                                    {283, nullptr},
                                    {284, nullptr},
                                    {285, "PageName"},
                                    {288, nullptr},
                                    {289, nullptr},
                                    {292, nullptr},
                                    {293, nullptr},
                                    {296, nullptr},
                                    {297, nullptr},
                                    {301, "TransferFunction"},
                                    {305, nullptr},
                                    {306, nullptr},
                                    {315, "Artist"},
                                    {316, "HostComputer"},
                                    {317, nullptr},
                                    {318, "WhitePoint"},
                                    {319, "PrimaryChromaticities"},
                                    {320, nullptr},
                                    {330, "SubIFDs"},
                                    {338, "ExtraSamples"},
                                    {339, nullptr},
                                    {530, nullptr},
                                    {531, nullptr},
                                    {532, "ReferenceBlackWhite"},
                                    {700, "XMP"},
                                    {33432, nullptr},
                                    {33550, "GeoTIFF scale"},
                                    {33723, "IPTC"},
                                    {33922, "GeoTIFF tie points"},
                                    {34377, "Photoshop"},
                                    {34665, "EXIF"},
                                    {34675, "ICC profile"},
                                    {34735, "GeoKeys"},
                                    {34736, "GeoTIFF numbers"},
                                    {34737, "GeoTIFF texts"},
                                    {34853, "GPS"}};

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

// The directories of a file. Each page's place is found once.
class directories {
 public:
  // The file may begin inside another one.
  explicit directories(const std::string &path, uint64_t begin = 0) : file_(path, begin) {
    file_.big_endian = file_.byte(0) == 'M';
    if (file_.number(2, 2) == 43) {
      offset_ = count_ = 8;
      entry_ = 20;
    }
    places_.push_back(file_.number(offset_ == 8 ? 8 : 4, offset_));
  }

  std::vector<uint16_t> tags(int64_t page) {
    std::vector<uint16_t> numbers;
    for (uint64_t at_entry = first(page); at_entry + entry_ <= end(page); at_entry += entry_)
      numbers.push_back(static_cast<uint16_t>(file_.number(at_entry, 2)));
    return numbers;
  }

  std::optional<uint64_t> value(int64_t page, uint16_t tag) {
    const auto found = find(page, tag);
    return found ? std::optional(file_.number(found->place, integer_width(found->type))) : std::nullopt;
  }

  // All values of a tag of 16-bit numbers.
  std::vector<uint16_t> shorts(int64_t page, uint16_t tag) {
    std::vector<uint16_t> values;
    const auto found = find(page, tag);
    if (!found || integer_width(found->type) != 2) return values;
    for (uint64_t i = 0; i < found->count; i++)
      values.push_back(static_cast<uint16_t>(file_.number(found->place + 2 * i, 2)));
    return values;
  }

 private:
  struct entry {
    uint64_t type, count, place;  // where its values are
  };

  std::optional<entry> find(int64_t page, uint16_t tag) {
    for (uint64_t at_entry = first(page); at_entry + entry_ <= end(page); at_entry += entry_) {
      if (file_.number(at_entry, 2) != tag) continue;
      const entry found = {file_.number(at_entry + 2, 2), file_.number(at_entry + 4, offset_),
                           at_entry + 4 + offset_};
      const unsigned width = integer_width(found.type);
      if (width == 0 || found.count == 0 || found.count > file_.size()) return std::nullopt;
      return found.count * width <= offset_
                 ? found
                 : entry{found.type, found.count, file_.number(found.place, offset_)};
    }
    return std::nullopt;
  }

  uint64_t place(int64_t page) {
    while (static_cast<int64_t>(places_.size()) <= page)
      places_.push_back(file_.number(behind(places_.back()), offset_));
    return places_[static_cast<size_t>(page)];
  }
  uint64_t first(int64_t page) { return place(page) + count_; }
  uint64_t end(int64_t page) { return place(page) == 0 ? 0 : behind(place(page)); }

  // Where the link to the next one is.
  uint64_t behind(uint64_t directory) {
    if (directory == 0 || directory >= file_.size()) return file_.size();
    // Not more entries than fit into the file, so that the sum stays a position.
    return directory + count_ + std::min(file_.number(directory, count_), file_.size() / entry_ + 1) * entry_;
  }

  file_bytes file_;
  unsigned offset_ = 4, count_ = 2, entry_ = 12;  // bytes of an offset, a directory's count and an entry
  std::vector<uint64_t> places_;
};

// The colour map of a page as a palette image at its full depth. The library's palette images have the depth
// of the indices, so that a page of 4-bit indices would lose all but 16 levels of its colours.
struct deep_palette {
  explicit deep_palette(const std::vector<uint16_t> &stored) {
    // All first components, then all second, then all third.
    const size_t count = stored.size() / 3;
    for (size_t i = 0; i < 3 * count; i++) entries.push_back(stored[i % 3 * count + i / 3]);
    const int32_t size[2] = {static_cast<int32_t>(count), 1};
    qvimage_memory(&image, entries.data(), size, 0, QVIM_UINT16, 16, 3, QVIM_HINT_RGB, 0);
  }
  alignas(8) qvimage image;
  std::vector<uint16_t> entries;  // three of each colour
};

int orientation_of(directories &directories, int64_t page) {
  const uint64_t value = directories.value(page, orientation).value_or(1);
  return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
}

class extras : public page_extras {
 public:
  explicit extras(const std::string &path) : directories_(path) {}

  page_notes notes(int64_t page) override {
    page_notes notes;
    notes.orientation = orientation_of(directories_, page);
    notes.alpha = directories_.value(page, photometric) == photometric_rgb;
    for (const uint16_t number : directories_.tags(page)) {
      const auto known = std::ranges::find(known_tags, number, &known_tag::number);
      if (known == std::end(known_tags)) {
        notes.lost.push_back(formatted("tag %d", number));
      } else if (known->name != nullptr &&
                 (number != extra_samples || directories_.value(page, number) != 0)) {
        notes.lost.push_back(known->name);
      }
    }
    return notes;
  }

  void refine(tool::page &opened, int64_t page) override {
    if (!opened.has_palette) return;
    const auto deep = std::make_shared<deep_palette>(directories_.shorts(page, colour_map));
    if (deep->image.imdim.se.x != opened.palette.imdim.se.x) return;
    opened.palette = deep->image;
    opened.kept = deep;
  }

 private:
  directories directories_;
};

}  // namespace

int orientation_in(const std::string &path, uint64_t position) {
  directories directories(path, position);
  return orientation_of(directories, 0);
}

std::unique_ptr<page_extras> tiff_extras(const std::string &path) { return std::make_unique<extras>(path); }

}  // namespace tool
