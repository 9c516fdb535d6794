// Coding of pictures in bands, and their joining.
#include "files/jpeg/writer.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/error.h>

#include "core/dimension.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/stream/bufio.hpp"

namespace qvim::jpeg {

writer::~writer() {
  for (band *b : bands) owned<band> freed(b);
}

namespace {

// Of four pixies the first three are written.
bool is_served(const qvimagedata &d) {
  return d.pixietype == QVIM_UINT8 && d.i_bitsused == 8 && (d.pixies == 1 || d.pixies == 3 || d.pixies == 4);
}
uint32_t components_of(const qvimagedata &d) { return d.pixies == 1 ? 1 : 3; }

// The most negative of two results; without one, the first that is not 0: a callback's answer.
int32_t stronger(int32_t a, int32_t b) { return a < 0 || b < 0 ? std::min(a, b) : a ? a : b; }

}  // namespace

int32_t writer::set_form(const qvimage &image, const qvimagefileinfo *options) {
  const int64_t across = width_of(image.wind), down = height_of(image.wind);
  if (across < 1 || down < 1 || across > highest_side || down > highest_side)
    return because(QVERR_USAGE, {"JPEG has 1 to ", highest_side, " pixels a side: ", across, " x ", down});
  const qvimagedata &d = image.d;
  if (!is_served(d))
    return because(QVERR_DATATYPE,
                   {"JPEG has 1 or 3 components of 8 bits, not ", d.pixies, " of ", d.i_bitsused});
  width = uint32_t(across);
  height = uint32_t(down);
  components = components_of(d);
  is_integer = options && options->jpg_encodemode == integer_mode;

  const int32_t quality = quality_of(options);
  scale_table(luminance_quantisation, quality, quantisation[0]);
  scale_table(chrominance_quantisation, quality, quantisation[1]);
  for (int slot : {0, 1}) {
    set_divisors(quantisation[slot], divisors[slot]);
    set_steps(quantisation[slot], integer_steps[slot]);
  }
  codes[0].set(huffCodeLumaDC, huffSizeLumaDC, huffCodeLumaAC, huffSizeLumaAC);
  codes[1].set(huffCodeChromaDC, huffSizeChromaDC, huffCodeChromaAC, huffSizeChromaAC);
  return 0;
}

int32_t writer::make_bands(uint32_t count, const uint32_t *first_rows) {
  if (count > 1 && !first_rows) return QVERR_USAGE;
  if (!bands.allocate_zeroed(count)) return QVERR_MEMORY;
  for (uint32_t i = 0; i < count; i++) {
    bands[i] = make_owned<band>().release();
    if (!bands[i]) return QVERR_MEMORY;
    band &b = *bands[i];
    const uint32_t first = i ? first_rows[i - 1] : 0;
    if (first % block_side || (i && first < bands[i - 1]->first_row))
      return because(QVERR_USAGE, {"band ", i + 1, " begins at row ", first + 1});
    b.first_row = b.next_row = std::min(first, height);
    b.end_row = height;
    b.has_predictors = first == 0;
    if (i) bands[i - 1]->end_row = b.first_row;
  }
  for (uint32_t i = 0; i < count; i++) {
    band &b = *bands[i];
    if (b.first_row == b.end_row) continue;
    if (!b.lines.allocate_zeroed(block_side * pitch())) return QVERR_MEMORY;
    if (i == 0) continue;
    if (const int32_t code = bufio_init(&b.memory, nullptr, nullptr, 0, BUFIO_MEMORY); code < 0) return code;
    b.bits.open(&b.memory, false);
  }
  return 0;
}

int32_t writer::open(const char *path, const char *fopenmode, int64_t bufsize, output_file::way how) {
  if (const int32_t code = output.open(path, fopenmode, bufsize, how); code < 0) return code;
  bufio_ptr2truncate(&file, 0);  // a file opened for update is written anew
  open(&file);
  return 0;
}

void writer::open(bufio *callers) {
  out = callers;
  bands[0]->bits.open(out, true);
}

// Is this the picture that the file was begun for?
int32_t writer::check(const qvimage &image) const {
  const bool same_size = width_of(image.wind) == width && height_of(image.wind) == height;
  const qvimagedata &d = image.d;
  if (!same_size) return because(QVERR_USAGE, {"the image has another size than the file"});
  if (!is_served(d) || components_of(d) != components)
    return because(QVERR_DATATYPE, {"the image has other pixels than the file"});
  return 0;
}

// Eight rows from there on; below the picture its last row once more.
int32_t writer::fetch(band &b, image_rows &image, uint32_t row) const {
  const uint32_t rows = std::min(block_side, height - row);
  for (uint32_t i = 0; i < rows; i++)
    if (const int32_t code = image.fetch(b.lines.data() + i * pitch(), row + i); code != 0) return code;
  for (uint32_t i = rows; i < block_side; i++)
    std::memcpy(b.lines.data() + i * pitch(), b.lines.data() + (rows - 1) * pitch(), pitch());
  return 0;
}

void writer::transform(const band &b, uint32_t first, uint32_t count, block *blocks) const {
  const uint8_t *const lines = b.lines.data() + uint64_t(first) * block_side * components;
  if (is_integer && components == 1)
    in_use(in_integers).forward_grey(lines, pitch(), count, &integer_steps[0], blocks);
  else if (is_integer)
    in_use(in_integers).forward_rgb(lines, pitch(), count, &integer_steps[0], &integer_steps[1], blocks);
  else if (components == 1)
    in_use(in_floats).forward_grey(lines, pitch(), count, &divisors[0], blocks);
  else
    in_use(in_floats).forward_rgb(lines, pitch(), count, &divisors[0], &divisors[1], blocks);
}

// The DC coefficients of the MCU before the band's first one, which another band codes.
int32_t writer::find_predictors(band &b, image_rows &image) const {
  if (const int32_t code = fetch(b, image, b.first_row - block_side); code < 0) return code;
  block last[most_components];
  transform(b, mcus() - 1, 1, last);
  for (uint32_t i = 0; i < components; i++) b.predictors[i] = last[i].at[0];
  b.has_predictors = true;
  return 0;
}

int32_t writer::encode_group(band &b) const {
  const code_tables *const tables[most_components] = {&codes[0], &codes[1], &codes[1]};
  block blocks[mcus_at_once * most_components];
  for (uint32_t mcu = 0; mcu < mcus(); mcu += mcus_at_once) {
    const uint32_t count = std::min(mcus_at_once, mcus() - mcu);
    transform(b, mcu, count, blocks);
    if (!in_use(block_writers).write(b.bits, blocks, count, components, tables, b.predictors))
      return QVERR_CODING;
  }
  return 0;
}

int32_t writer::encode(uint32_t number, const progress &told, qvimage &image, uint32_t first, uint32_t end) {
  band &b = *bands[number];
  if (const int32_t code = check(image); code < 0) return code;
  if (first >= end) return 0;
  if (first != b.next_row || end > b.end_row || (end % block_side && end != height))
    return because(QVERR_USAGE,
                   {"rows ", first + 1, " to ", end, " are not the next ones of band ", number + 1});
  image_rows rows(image, {});  // they are told of by eights
  int32_t code = rows.set_up(0, int32_t(components));
  if (code == 0 && !b.has_predictors) code = find_predictors(b, rows);
  while (code == 0 && b.next_row < end) {
    code = told(b.next_row, end);
    if (code == 0) code = fetch(b, rows, b.next_row);
    if (code == 0) code = encode_group(b);
    if (code == 0) code = bufio_err(b.bits.stream());
    if (code == 0) b.next_row = std::min(b.next_row + block_side, height);
  }
  return code;
}

int32_t writer::finish(int32_t error) {
  int32_t result = std::min(error, 0);
  for (const band *b : bands) result = stronger(result, b->result);
  for (const band *b : bands)
    if (result == 0 && b->next_row != b->end_row)
      result = because(QVERR_USAGE, {"rows from ", b->next_row + 1, " on are missing"});
  if (result == 0) result = join();
  if (out != &file) return result;
  if (result == 0) return output.keep();
  output.drop();
  return result;
}

// The bands' data behind each other, and the file's end.
int32_t writer::join() {
  bit_writer &bits = bands[0]->bits;
  int32_t result = 0;
  for (uint32_t i = 1; i < bands.size(); i++) {
    if (!bands[i]->bits.stream()) continue;
    bits.append(bands[i]->bits);
    result = worst(result, bufio_err(&bands[i]->memory));
  }
  bits.finish();
  put_end();
  return worst(result, bufio_err(out));
}

}  // namespace qvim::jpeg
