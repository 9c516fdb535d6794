#include "colour_map.hpp"

#include <qvimage/memory.h>

#include "tiff_tags.hpp"

namespace tool {

deep_palette::deep_palette(const std::string &path, int64_t page) {
  constexpr uint16_t colour_map_tag = 320;
  // All first components, then all second, then all third.
  const std::vector<uint16_t> stored = tiff_tags(path, page).shorts(colour_map_tag);
  const size_t count = stored.size() / 3;
  for (size_t i = 0; i < 3 * count; i++) entries_.push_back(stored[i % 3 * count + i / 3]);
  const int32_t size[2] = {colours(), 1};
  qvimage_memory(&image_, entries_.data(), size, 0, QVIM_UINT16, 16, 3, QVIM_HINT_RGB, 0);
}

}  // namespace tool
