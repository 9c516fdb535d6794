// Data types, pixel hints and units with their names; builders of the description records.
#include <cstring>
#include <iterator>

#include <qvimage/data.h>

#include "core/dimension.hpp"
#include "core/pixel.hpp"

namespace {

using namespace qvim;

struct name {
  int32_t code;
  const char *text;
};

// Both tables stand in the order in which names are looked up: where a name belongs to two codes, the first
// answers.
constexpr name hint_names[] = {
    {QVIM_HINT_UNKNOWN, "Unknown"},
    {QVIM_HINT_GREY, "Grey scale monochrome"},
    {QVIM_HINT_BAYER, "Bayer RGB color"},
    {QVIM_HINT_INDEX, "Index into palette"},
    {QVIM_HINT_COMPLEX, "Complex numbers"},
    {QVIM_HINT_CBYCRY, "Cb Y Cr Y color"},
    {QVIM_HINT_YCBYCR, "Y Cb Y Cr color"},
    {QVIM_HINT_CRYCBY, "Cr Y Cb Y color"},
    {QVIM_HINT_YCRYCB, "Y Cr Y Cb color"},
    {QVIM_HINT_BGRG, "B G R G color"},
    {QVIM_HINT_RGGB, "R G G B color"},
    {QVIM_HINT_RGBG, "R G B G color"},
    {QVIM_HINT_BGR, "Blue Green Red color"},
    {QVIM_HINT_YCRCB, "Y Cr Cb Y Cr Cb color"},
    {QVIM_HINT_BSH, "Brightness Saturation Hue color"},
    {QVIM_HINT_RGB, "Red Green Blue color"},
    {QVIM_HINT_BGRPAD, "Blue Green Red Pad color"},
    {QVIM_HINT_YCRCBPAD, "Y Cr Cb Y Cr Cb Pad color"},
    {QVIM_HINT_RGBPAD, "Red Green Blue Pad color"},
    {QVIM_HINT_YIQ, "Y I Q color"},
    {QVIM_HINT_CMY, "Cyan Magenta Yellow color"},
    {QVIM_HINT_CMYK, "Cyan Magenta Yellow Black color"},
    {QVIM_HINT_BAYER4, "Bayer RGB color"},
};

constexpr name unit_names[] = {
    {QVIM_UNIT_UNKNOWN, "Unknown"},
    {QVIM_UNIT_RATIO, "Ratio"},
    {QVIM_UNIT_INCH, "Inch"},
    {QVIM_UNIT_FOOT, "Foot"},
    {QVIM_UNIT_METER, "Meter"},
    {QVIM_UNIT_MILLIMETER, "Millimeter"},
    {QVIM_UNIT_CENTIMETER, "Centimeter"},
    {QVIM_UNIT_SECOND, "Second"},
};

template <class Table>
const char *text_of(const Table &table, int32_t code) {
  for (const name &n : table)
    if (n.code == code) return n.text;
  return nullptr;
}

// Whatever the locale: in some, I and i are no pair.
constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }
bool is_same_name(const char *a, const char *b) {
  while (*a && lower(*a) == lower(*b)) a++, b++;
  return lower(*a) == lower(*b);
}

template <class Table>
int32_t code_of(const Table &table, const char *text) {
  if (text)
    for (const name &n : table)
      if (is_same_name(n.text, text)) return n.code;
  return -1;
}

template <class Record>
bool served_without_conversion(const Record *im, uint32_t datatype) {
  if (uint32_t(im->d.pixietype) != type_word(datatype).type()) return false;
  if (!is_integer(im->d.pixietype)) return true;
  if ((datatype & QVIM_SWAPPED) != im->d.i_endian) return false;
  if (im->d.i_bitsxsb == int32_t(all_bits_used)) return true;
  const uint32_t justified = datatype & justification;
  if (justified && !(justified & uint32_t(im->d.i_bitsxsb))) return false;
  if (im->d.i_dirtyread & QVIM_DIRTY && !(datatype & QVIM_DIRTY)) return false;
  return (im->d.i_dirtyrite & datatype) == (datatype & QVIM_DIRTY);
}

template <class First>
int32_t contiguous_selection(int32_t pixies, uint32_t mask, First *first) {
  if (pixies < 1 || mask == 0) return 0;
  const int low = __builtin_ctz(mask);
  const uint32_t run = mask >> low;
  if (run & (run + 1)) return 0;
  const int count = __builtin_popcount(run);
  if (low + count > pixies) return 0;
  if (first) *first = First(low);
  return count;
}

}  // namespace

extern "C" {

int32_t qvimdatasize(uint32_t type) {
  switch (type_word(type).type()) {
    case QVIM_UINT8: return 1;
    case QVIM_UINT16: return 2;
    case QVIM_UINT32:
    case QVIM_FLOAT32: return 4;
    case QVIM_UINT64:
    case QVIM_FLOAT64: return 8;
    default: return 0;
  }
}

int32_t qvimuintsizedata(int32_t bytes) {
  return bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8 ? bytes : 0;
}

int32_t qvimfloatsizedata(int32_t bytes) { return bytes == 4 ? QVIM_FLOAT32 : bytes == 8 ? QVIM_FLOAT64 : 0; }

int32_t qvimdatabittype(int32_t bits) {
  for (int32_t size = 1; size <= 8; size *= 2)
    if (bits <= 8 * size) return size;
  return 0;
}

uint32_t qvimtypemap(uint32_t type) { return type; }

int32_t qviminitdata(qvimagedata *data, int32_t pixietype, int32_t bitsused, int32_t pixies,
                     int32_t pixelhint) {
  std::memset(data, 0, sizeof *data);
  const int32_t size = size_of_type(pixietype);
  if (size == 0 || pixies < 1 || pixies > 32) return 0;
  if (is_integer(pixietype) && (bitsused < 0 || bitsused > 8 * size)) return 0;
  data->pixietype = pixietype;
  data->pixies = pixies;
  data->pixelhint = pixelhint;
  if (is_integer(pixietype)) {
    data->i_bitsused = bitsused ? bitsused : 8 * size;
    data->i_bitsxsb = data->i_bitsused == 8 * size ? int32_t(all_bits_used) : QVIM_LSB;
  } else {
    data->r_minvalue = 0.0f;
    data->r_maxvalue = 1.0f;
  }
  return 1;
}

void qviminithints(qvimagehints *hints, uint8_t widthunits, uint8_t heightunits, uint8_t depthunits,
                   float pixelwidth, float pixelheight, float pixeldepth) {
  *hints = {pixelwidth, pixelheight, pixeldepth, widthunits, heightunits, depthunits, 0};
}

int32_t qviminitfacts(qvimagefacts *facts, const qvimagedata *data) {
  facts->pixiesize = qvimdatasize(uint32_t(data->pixietype));
  facts->pixelsize = int32_t(uint32_t(data->pixies) * uint32_t(facts->pixiesize));
  facts->flags = uint8_t((facts->flags & ~(fact::integer | fact::real)) |
                         (is_integer(data->pixietype) ? fact::integer : 0) |
                         (is_real(data->pixietype) ? fact::real : 0));
  return facts->pixiesize;
}

int32_t qvimdatasupportedwoutconversion(const qvimage *image, uint32_t datatype) {
  return served_without_conversion(image, datatype);
}
int32_t qvim3datasupportedwoutconversion(const qvimage3 *image, uint32_t datatype) {
  return served_without_conversion(image, datatype);
}

int32_t qvimcolormap(int32_t pixies, uint32_t colourmask, int32_t *first) {
  return contiguous_selection(pixies, colourmask, first);
}
int32_t qvimcolormaps(int32_t pixies, uint32_t colourmask, uint16_t *first) {
  return contiguous_selection(pixies, colourmask, first);
}

int32_t qvimhintrgbtobgr(int32_t hint) {
  switch (hint) {
    case QVIM_HINT_RGB: return QVIM_HINT_BGR;
    case QVIM_HINT_BGR: return QVIM_HINT_RGB;
    case QVIM_HINT_RGBPAD: return QVIM_HINT_BGRPAD;
    case QVIM_HINT_BGRPAD: return QVIM_HINT_RGBPAD;
    default: return hint;
  }
}

const char *qvimhinttostring(int32_t hint) { return text_of(hint_names, hint); }
int32_t qvimstringtohint(const char *text) { return code_of(hint_names, text); }
const char *qvimunittostring(int32_t unit) { return text_of(unit_names, unit); }
int32_t qvimstringtounit(const char *text) { return code_of(unit_names, text); }

}  // extern "C"
