#include <algorithm>
#include <cstdlib>

#include "../text.hpp"
#include "audit.hpp"

namespace tool {

namespace {

constexpr uint64_t file_header = 14;
constexpr uint32_t uncompressed = 0, bit_fields = 3;
constexpr uint64_t usual_header = 40, long_header = 108;

// Headers of any version from the usual one on begin alike.
struct header {
  header(audited_file &file, uint64_t at)
      : bytes(file.number(at, 4)),
        width(static_cast<int32_t>(file.number(at + 4, 4))),
        height(static_cast<int32_t>(file.number(at + 8, 4))),
        planes(static_cast<uint32_t>(file.number(at + 12, 2))),
        bits(static_cast<uint32_t>(file.number(at + 14, 2))),
        compression(static_cast<uint32_t>(file.number(at + 16, 4))),
        image_bytes(file.number(at + 20, 4)),
        colours_used(file.number(at + 32, 4)) {}

  bool has_palette() const { return bits <= 8; }
  uint64_t most_colours() const { return has_palette() ? uint64_t{1} << bits : 0; }
  uint64_t palette_bytes() const { return 4 * (colours_used != 0 ? colours_used : most_colours()); }
  // Masks stand behind the usual header, in the longer ones.
  uint64_t mask_bytes() const { return bytes == usual_header && compression == bit_fields ? 12 : 0; }
  bool is_coded() const { return compression != uncompressed && compression != bit_fields; }
  uint64_t picture_bytes() const {
    const uint64_t row = (static_cast<uint64_t>(std::llabs(width)) * bits + 31) / 32 * 4;
    uint64_t all;
    return __builtin_mul_overflow(row, static_cast<uint64_t>(std::llabs(height)), &all) ? UINT64_MAX : all;
  }

  uint64_t bytes;
  int64_t width, height;
  uint32_t planes, bits, compression;
  uint64_t image_bytes, colours_used;
};

}  // namespace

void audit_bmp(audited_file &file) {
  const auto number = [](uint64_t value) { return std::to_string(value); };
  const uint64_t told = file.number(2, 4), begin = file.number(10, 4);
  const header head(file, file_header);
  if (head.bytes < usual_header || head.width == 0 || head.height == 0) return;  // readers tell what it is
  if (told != 0 && told != file.size())
    file.tell(2, "the header tells of " + number(told) + " bytes, the file has " + number(file.size()));
  if (file.number(6, 4) != 0) file.tell(6, "reserved bytes are not zero");
  if (head.planes != 1) file.tell(26, number(head.planes) + " planes, not 1");
  if (head.has_palette() && head.colours_used > head.most_colours())
    file.tell(46,
              number(head.colours_used) + " colours, more than " + number(head.bits) + " bits tell apart");
  const uint64_t headers_end = file_header + head.bytes + head.mask_bytes();
  const uint64_t palette_end = headers_end + head.palette_bytes();
  if (begin < palette_end)
    file.tell(10, "pixels begin at byte " + number(begin) + ", inside the " +
                      (begin < headers_end ? "header" : "palette") + " that ends at byte " +
                      number(begin < headers_end ? headers_end : palette_end));
  if (head.is_coded()) return;
  const uint64_t picture = head.picture_bytes();
  if (head.image_bytes != 0 && head.image_bytes != picture)
    file.tell(34, "the header tells of " + number(head.image_bytes) + " bytes of pixels, rows have " +
                      number(picture));
  const bool ends_early = begin > file.size() || picture > file.size() - begin;
  if (ends_early && told > file.size()) return;  // the same fault again
  if (ends_early)
    file.tell(file.size(), "the file ends before the " + number(picture) +
                               " bytes of pixels that begin at byte " + number(begin));
  // Some fill files up to a multiple of 4; behind the pixels of the longest header may be a colour profile.
  else if (file.size() - begin - picture >= 4 && head.bytes <= long_header)
    file.tell_rest(begin + picture, "the pixels");
}

}  // namespace tool
