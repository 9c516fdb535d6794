// Colour maps as palettes.
#include "files/tiff/colour_map.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/error.h>

#include "core/reason.hpp"

namespace qvim::tiff {

namespace {

// The file has all first components, then all second, then all third; entries have theirs side by side.
template <class T, class Value>
void interleave(array<uint8_t> &entries, uint64_t count, Value value) {
  for (uint64_t i = 0; i < 3 * count; i++) {
    const T component = T(value(i));
    std::memcpy(entries.data() + (i % count * 3 + i / count) * sizeof(T), &component, sizeof(T));
  }
}

}  // namespace

int32_t read_colour_map(bufio *file, const format &f, const page &p, const directory &d,
                        array<uint8_t> *entries) {
  const place &at = d.at[ColorMap];
  const int size = field_size(at.type);
  if (at.type != field::byte && at.type != field::short_ && at.type != field::long_)
    return because(QVERR_FORMAT, {"has values of type ", uint32_t(at.type), ", expected 1, 3 or 4"});
  file_array map(file, &f);
  map.assign(at);

  // Values have the map's depth, and are scaled to the page's. Maps of small values only were made by writers
  // that had the page's depth in mind; these are taken as they are.
  const int bits = p.bits()[0], map_bits = 8 * size;
  const auto scaled = [&](uint64_t i) {
    return map_bits >= bits ? map[i] >> (map_bits - bits) : map[i] << (bits - map_bits);
  };
  bool visible = false;
  for (uint64_t i = 0; i < at.count && !visible; i++) visible = scaled(i) != 0;
  const uint64_t highest = (uint64_t{1} << bits) - 1;
  const auto value = [&](uint64_t i) { return visible ? scaled(i) : std::min(map[i], highest); };

  const uint64_t count = at.count / 3;
  if (!entries->allocate(at.count * (bits <= 8 ? 1 : 2))) return QVERR_MEMORY;
  if (bits <= 8)
    interleave<uint8_t>(*entries, count, value);
  else
    interleave<uint16_t>(*entries, count, value);
  return bufio_err(file);
}

}  // namespace qvim::tiff
