// The rows of a picture, read, inverted and written: by the record's slots, as C code does it, and by runs.
// The check compares what the compilers make of the two.
#include <qvimage/qvimage.hpp>

constexpr uint32_t type = QVIM_UINT16 | QVIM_LSB;

extern "C" uint64_t invert_by_hand(qvimage *im, uint16_t *line) {
  if (im->ioset(im, QVIM_XSCAN, type, 1) <= 0) return 0;
  const int32_t width = im->wind.se.x - im->wind.nw.x, height = im->wind.se.y - im->wind.nw.y;
  uint64_t written = 0;
  for (int32_t y = 0; y < height; y++) {
    const uint32_t moved = im->ioread(im, 0, line, static_cast<uint32_t>(width), 0, y);
    im->iowait(im, 0, line);
    for (uint32_t x = 0; x < moved; x++) line[x] = static_cast<uint16_t>(~line[x]);
    written += im->iorite(im, 0, line, moved, 0, y);
    im->iowait(im, 0, line);
  }
  return written;
}

extern "C" uint64_t invert_by_runs(qv::image *im, uint16_t *line) {
  const auto rows = im->access<uint16_t>(qv::low_end, 1);
  if (!rows) return 0;
  const int32_t width = im->width(), height = im->height();
  uint64_t written = 0;
  for (int32_t y = 0; y < height; y++) {
    const auto row = rows->read({line, static_cast<size_t>(width)}, 0, y);
    for (uint16_t &v : row) v = static_cast<uint16_t>(~v);
    written += rows->write(row, 0, y);
  }
  return written;
}
