// Every writer of files, of a source that says anything of its pixels and its size: it answers a code, ends,
// and touches nothing but what is its own.
#include <algorithm>
#include <cstdlib>

#include <qvimage/qvimage.h>

#include "fuzz/credulous.hpp"
#include "fuzz/scratch_file.hpp"

namespace {

using qvim::three_d, qvim::two_d;

// Rows and planes cost time, and a source may have any number of them: the callback ends a file that is long.
constexpr int32_t enough = 20, stopped = 77;
int32_t stop_when_long(int64_t step, int64_t) { return step < enough ? 0 : stopped; }

qvimagefileinfo any_options(fuzz_input &from) {
  qvimagefileinfo o{};
  o.compression = from.one_of<uint32_t>({0, 1, 5, 32773, 32885, 33397, 3, 517});
  o.stripsize = from.up_to(3) ? from.up_to(9000) : ~uint64_t{0};
  o.version = from.up_to(1) ? 43 : 42;
  o.resunit = from.up_to(4);
  o.fts_layout = from.up_to(7);
  o.jpg_quality = int32_t(from.up_to(1100)) - 50;
  o.jpg_encodemode = from.up_to(1) ? 105 : uint16_t(from.byte());
  std::copy_n(from.up_to(1) ? "MJPG" : "DIB ", 4, o.avi_handler);
  o.avi_ratenum = from.up_to(60);
  o.avi_rateden = from.up_to(3);
  return o;
}

int32_t write(qvimage &im, qvimage *palette, const char *path, qvimagefileinfo &o, fuzz_input &from) {
  const uint32_t order = from.up_to(1);
  switch (from.up_to(5)) {
    case 0:
      return qvimage_tiffwrite(stop_when_long, &im, palette, path, "w+b", 0, 0, &o, order, order, order);
    case 1: return qvimage_pgmwrite(stop_when_long, &im, path, "w+b", 0, 0, &o, order, from.up_to(1));
    case 2:
      return qvimage_bmpwrite(stop_when_long, &im, palette, path, "w+b", 0, &o, order, order, from.up_to(1));
    case 3: return qvimage_fitswrite(stop_when_long, &im, 0, path, "w+b", 0, &o);
    case 4: return qvimage_filewrite(stop_when_long, &im, path, "w+b", 0);
    default: return qvimage_jpegwrite(nullptr, &im, path, nullptr, 0, nullptr, &o);
  }
}

int32_t write(qvimage3 &im, qvimage *palette, const char *path, qvimagefileinfo &o, fuzz_input &from) {
  const uint32_t order = from.up_to(1);
  switch (from.up_to(3)) {
    case 0:
      return qvimage3_tiffwrite(stop_when_long, &im, palette, path, "w+b", 0, 0, &o, order, order, order);
    case 1: return qvimage_pgmwriteseq(stop_when_long, &im, path, "w+b", 0, 0, &o, order, from.up_to(1));
    case 2: return qvimage3_fitswriteseq(stop_when_long, &im, 0, path, "w+b", 0, &o);
    default:
      return qvimage3_aviwrite(stop_when_long, &im, palette, path, "w+b", 0, &o, order, order, from.up_to(3));
  }
}

// Rows and places of strips cost memory, the planes of a volume are not told row by row, and a FITS file has
// a card for each.
template <class Window>
bool is_small(const Window &w) {
  const int64_t wide = std::abs(int64_t{w.se.x} - w.nw.x), high = std::abs(int64_t{w.se.y} - w.nw.y);
  if constexpr (requires { w.nw.z; })
    if (int64_t{w.se.z} - w.nw.z > 2000) return false;
  return wide <= 70000 && high <= 70000 && wide * high <= 200000;
}

template <class Dim>
void judge(fuzz_input &from) {
  static const scratch_file file;
  qvim::record<Dim> source;
  qvimage palette;
  credulous<Dim>::build(&source, from);
  credulous<two_d>::build(&palette, from);
  if (!is_small(source.wind) || !is_small(source.imdim)) return;
  qvimagefileinfo options = any_options(from);
  const int32_t code = write(source, from.up_to(1) ? &palette : nullptr, file.path().c_str(), options, from);
  require(code <= 0 || code == stopped);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz_input from(data, size);
  if (from.up_to(1))
    judge<two_d>(from);
  else
    judge<three_d>(from);
  return 0;
}
