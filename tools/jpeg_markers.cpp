// The segments of JPEG files that the library passes over: listed here, so that convert can say what it
// leaves behind.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "document.hpp"
#include "jpeg.hpp"
#include "tiff.hpp"

namespace tool {

namespace {

using namespace std::string_view_literals;

constexpr int start_of_scan = 0xDA, first_application = 0xE0, last_application = 0xEF;

struct known_segment {
  int marker;
  std::string_view begins_with;
  const char *name;  // null: carried over
};

constexpr known_segment known_segments[] = {{0xE0, "JFIF\0"sv, nullptr},
                                            {0xE0, "JFXX\0"sv, "thumbnail"},
                                            {0xE1, "Exif\0\0"sv, "EXIF"},
                                            {0xE1, "http://ns.adobe.com/"sv, "XMP"},
                                            {0xE2, "ICC_PROFILE\0"sv, "ICC profile"},
                                            {0xED, "Photoshop "sv, "Photoshop"},
                                            {0xEE, "Adobe"sv, nullptr}};
constexpr std::string_view exif = "Exif\0\0"sv;

struct close_file {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

class extras : public page_extras {
 public:
  explicit extras(const std::string &path) : path_(path) {
    const std::unique_ptr<std::FILE, close_file> file(std::fopen(path.c_str(), "rb"));
    // A segment is at least two bytes, so that this ends with the file.
    for (long at = 2; file != nullptr;) {
      unsigned char head[24] = {};
      if (std::fseek(file.get(), at, SEEK_SET) != 0 || std::fread(head, 1, sizeof head, file.get()) < 4)
        return;
      const int marker = head[1], length = head[2] << 8 | head[3];
      if (head[0] != 0xFF || marker == start_of_scan || length < 2) return;
      if (marker >= first_application && marker <= last_application)
        note(marker, {reinterpret_cast<const char *>(head) + 4, sizeof head - 4}, at + 4);
      at += 2 + length;
    }
  }

  page_notes notes(int64_t) override { return notes_; }
  void refine(tool::page &, int64_t) override {}

 private:
  void note(int marker, std::string_view begin, long at) {
    const auto known = std::ranges::find_if(known_segments, [&](const known_segment &segment) {
      return segment.marker == marker && begin.starts_with(segment.begins_with);
    });
    if (known == std::end(known_segments)) {
      notes_.lost.push_back("segment APP" + std::to_string(marker - first_application));
    } else if (known->name != nullptr) {
      notes_.lost.push_back(known->name);
    }
    if (begin.starts_with(exif))
      notes_.orientation = orientation_in(path_, static_cast<uint64_t>(at) + exif.size());
  }

  const std::string path_;
  page_notes notes_;
};

}  // namespace

std::unique_ptr<page_extras> jpeg_extras(const std::string &path) { return std::make_unique<extras>(path); }

}  // namespace tool
