#include "tiff_diagnosis.hpp"

#include <algorithm>

#include <qvimage/error.h>

#include "failure.hpp"
#include "text.hpp"
#include "tiff_tags.hpp"

namespace tool {

namespace {

enum tag : uint16_t {
  compression = 259,
  samples_per_pixel = 277,
  strip_offsets = 273,
  planar_configuration = 284,
  predictor = 317,
  tile_width = 322,
  sample_format = 339
};

struct named_compression {
  uint64_t code;
  const char *name;
};

// What other programs write and this library does not read.
constexpr named_compression foreign[] = {{2, "CCITT RLE"},     {3, "CCITT Group 3"}, {4, "CCITT Group 4"},
                                         {6, "old JPEG"},      {7, "JPEG"},          {8, "Deflate"},
                                         {32946, "Deflate"},   {34712, "JPEG 2000"}, {34925, "LZMA"},
                                         {50000, "Zstandard"}, {50001, "WebP"},      {50002, "JPEG XL"}};

std::string number(uint64_t value) { return formatted("%llu", static_cast<unsigned long long>(value)); }

std::string why_broken(tiff_tags &tags) {
  if (tags.directory() == 0) return "the file ends its pages before this one";
  if (!tags.directory_is_whole())
    return "its directory at byte " + number(tags.directory()) + " does not fit into the file's " +
           number(tags.file_size()) + " bytes";
  if (tags.value(tile_width)) return "its pixels lie in tiles; only strips are read";
  if (tags.value(planar_configuration) == 2 && tags.value(samples_per_pixel) > 1)
    return "its samples lie in separate planes; only interleaved ones are read";
  if (!tags.value(strip_offsets)) return "it does not say where its pixels are";
  return "its directory contradicts itself or points outside the file";
}

std::string why_unsupported(tiff_tags &tags) {
  const uint64_t code = tags.value(compression).value_or(1);
  const auto known = std::ranges::find(foreign, code, &named_compression::code);
  if (known != std::end(foreign)) return std::string(known->name) + " compression is not read";
  if (tags.value(samples_per_pixel) > 4)
    return number(*tags.value(samples_per_pixel)) + " samples a pixel, more than 4";
  if (tags.value(sample_format) == 2) return "signed samples are not read";
  if (tags.value(predictor) > 2) return "predictor " + number(*tags.value(predictor)) + " is not read";
  return "compression " + number(code) + ", a sample format or a layout that is not read";
}

}  // namespace

std::string tiff_diagnosis(const std::string &path, int64_t page, int32_t code) {
  const std::string otherwise = system_detail(code, "it cannot be read");
  tiff_tags tags(path, page);
  switch (code) {
    case QVERR_FORMAT: return why_broken(tags);
    case QVERR_UNSUPPORTED: return why_unsupported(tags);
    case QVERR_MEMORY: return "it needs more memory than can be had";
    default: return otherwise;
  }
}

}  // namespace tool
