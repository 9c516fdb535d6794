// The colour map of a page from a palette image.
#include <qvimage/error.h>

#include "core/dimension.hpp"
#include "core/reason.hpp"
#include "files/rows/palette.hpp"
#include "files/tiff/writer.hpp"
#include "kernels/words.hpp"

namespace qvim::tiff {

namespace {

bool has_entries(const qvimage &palette, uint32_t count) {
  const int64_t width = width_of(palette.wind), height = height_of(palette.wind);
  return width > 0 && height > 0 && width * height >= count && palette.d.pixies >= 3;
}

// Fills the bits below the significant ones with copies of them, so that full scale means full scale to
// everyone, and the top bits are the palette's own.
uint32_t widened(uint32_t value, uint32_t significant, uint32_t width) {
  for (uint32_t have = significant; have < width; have *= 2) value |= value >> have;
  return value;
}

template <class T>
int32_t fill(page &p, qvimage *palette, uint32_t entries, bool exchanged) {
  // Before memory is taken for what the palette does not have.
  if (!has_entries(*palette, entries))
    return because(QVERR_USAGE, {"the palette has fewer than ", entries, " colours"});
  array<T> values;
  if (!values.allocate(3 * uint64_t(entries)) || !p.colours.allocate(3 * uint64_t(entries)))
    return QVERR_MEMORY;
  if (const int32_t code = read_entries(palette, sizeof(T), values.data(), entries); code < 0) return code;
  const bool integer = palette->f.flags & fact::integer;
  constexpr uint32_t width = 8 * sizeof(T);
  const uint32_t significant = integer && palette->d.i_bitsused > 0 ? uint32_t(palette->d.i_bitsused) : width;
  for (uint32_t i = 0; i < entries; i++)
    for (uint32_t c = 0; c < 3; c++)
      p.colours[uint64_t(c) * entries + i] =
          widened(values[3 * uint64_t(i) + (exchanged ? 2 - c : c)], significant, width);
  return 0;
}

}  // namespace

int32_t set_colours(page &p, qvimage *palette, uint32_t bits, bool exchanged) {
  if (bits > 30) return because(QVERR_USAGE, {"samples of ", bits, " bits have no colour map"});
  const uint32_t entries = 1u << bits;
  p.hold(ColorMap, 3 * uint64_t(entries));
  return bits <= 16 ? fill<uint16_t>(p, palette, entries, exchanged)
                    : fill<uint32_t>(p, palette, entries, exchanged);
}

}  // namespace qvim::tiff
