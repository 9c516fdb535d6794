// Palettes of image files.
#include "files/rows/palette.hpp"

#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/memory.h>
#include <qvimage/views.h>

#include "core/dimension.hpp"
#include "core/reason.hpp"
#include "kernels/words.hpp"

namespace qvim {

int32_t present_palette(qvimage *palette, int32_t bits, array<uint8_t> &entries) {
  const int32_t size[2] = {1 << bits, 1};
  qvimagedata data;
  qviminitdata(&data, qvimdatabittype(bits), bits, 3, QVIM_HINT_RGB);
  return qvimage_memdata(palette, entries.data(), entries.size(), size, 0, &data, nullptr, 0);
}

int32_t read_entries(qvimage *palette, uint32_t pixietype, void *entries, uint32_t count) {
  constexpr uint32_t three = 7;
  const uint32_t datatype = pixietype | QVIM_MSB;
  if (palette->d.pixies < 3)
    return because(QVERR_USAGE, {"the palette has ", palette->d.pixies, " components, not 3"});
  qvimage converter;
  qvimage *source = palette;
  if (source->ioset(source, QVIM_WRAP, datatype, three) <= 0) {
    // A palette of another data type; real values stand for fractions of full scale.
    const bool real = palette->f.flags & fact::real;
    if (const int32_t code = qvimage_converter(&converter, palette, nullptr, 0, 0, 0, real); code < 0)
      return code;
    source = &converter;
    const int32_t code = source->ioset(source, QVIM_WRAP, datatype, three);
    if (code <= 0) return within({"the palette"}, code < 0 ? code : int32_t{QVERR_USAGE});
  }
  const auto window = source->wind;
  const int64_t width = width_of(window);
  const auto too_few = [&] {
    return because(QVERR_USAGE, {"the palette has fewer than ", count, " colours"});
  };
  if (width < 1) return too_few();
  const uint32_t entry = 3 * uint32_t(qvimdatasize(pixietype));
  for (uint32_t done = 0; done < count;) {
    const uint32_t moved = source->ioread(source, 0, static_cast<uint8_t *>(entries) + uint64_t(done) * entry,
                                          count - done, int32_t(done % width), int32_t(done / width));
    if (moved == 0 || moved > count - done) return too_few();
    done += moved;
  }
  return 0;
}

}  // namespace qvim
