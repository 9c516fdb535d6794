// A page's directory in the file.
#include <qvimage/error.h>

#include "core/reason.hpp"
#include "files/stream/number_writer.hpp"
#include "files/tiff/writer.hpp"

namespace qvim::tiff {

namespace {

// The type in which a tag is written, given the page's values.
field type_of(const page &p, tag t) {
  switch (t) {
    case ImageWidth:
    case ImageLength: return p.width() >= 65536 || p.height() >= 65536 ? field::long_ : field::short_;
    case ColorMap: return p.count[ColorMap] > 3 * 65536 ? field::long_ : field::short_;
    default: return tags[t].written;
  }
}

// What the strip arrays are reserved as, until their values are known.
field reserved_type(const format &f) { return f.bigtiff ? field::long8 : field::long_; }

field entry_type(const tiffhandle &h, tag t) {
  return tags[t].what == kind::strips ? reserved_type(h.format) : type_of(h.page, t);
}

uint64_t value_bytes(const tiffhandle &h, tag t) {
  return h.page.count[t] * uint64_t(field_size(entry_type(h, t)));
}

bool is_inline(const format &f, uint64_t bytes) { return bytes <= uint64_t(f.offset_size()); }

void put_value(number_writer &out, const tiffhandle &h, tag t) {
  const page &p = h.page;
  const int size = field_size(type_of(p, t));
  switch (tags[t].what) {
    case kind::scalar: return out.put(p.scalar[t], size);
    case kind::per_sample:
      for (uint64_t i = 0; i < p.count[t]; i++) out.put(p.per_sample[per_sample_index(t)][i], size);
      return;
    case kind::constants:
      for (uint64_t i = 0; i < p.count[t]; i++) out.put(tags[t].initial, size);
      return;
    case kind::rational:
      for (uint32_t part : p.resolution[resolution_index(t)]) out.put(part, 4);
      return;
    case kind::text: {
      const array<char> &text = p.text[text_index(t)];
      for (uint64_t i = 0; i < p.count[t]; i++) out.put(i < text.size() ? uint8_t(text[i]) : 0, 1);
      return;
    }
    case kind::colours:
      for (uint64_t i = 0; i < p.count[t]; i++) out.put(p.colours[i], size);
      return;
    case kind::strips: return out.zeros(value_bytes(h, t));
  }
}

// An entry with its value, or with the place of its value, which is then counted into *values.
void put_entry(number_writer &out, const tiffhandle &h, tag t, uint64_t *values) {
  const uint64_t bytes = value_bytes(h, t);
  const int offset = h.format.offset_size();
  out.put(tags[t].id, 2);
  out.put(uint64_t(entry_type(h, t)), 2);
  out.put(h.page.count[t], offset);
  if (!is_inline(h.format, bytes)) {
    out.put(*values, offset);
    *values += bytes;
    return;
  }
  put_value(out, h, t);
  out.zeros(uint64_t(offset) - bytes);
}

uint64_t entry_count(const page &p) {
  uint64_t count = 0;
  for (bool present : p.present) count += present;
  return count;
}

bool any_wide(const array<uint64_t> &values) {
  for (uint64_t value : values)
    if (value > 0xFFFFFFFF) return true;
  return false;
}

// Rewrites the entry of a strip array with its values; the place reserved for them is as large or larger.
void rewrite_strips(tiffhandle &h, tag t, uint64_t entry, const array<uint64_t> &values, uint64_t reserved) {
  const field type = any_wide(values) ? field::long8 : field::long_;
  const int offset = h.format.offset_size();
  const uint64_t bytes = values.size() * uint64_t(field_size(type));
  number_writer out(h.file, h.format.order());
  h.file.pos = entry + 2;
  out.put(uint64_t(type), 2);
  out.put(h.page.count[t], offset);
  if (!is_inline(h.format, bytes)) {
    out.put(reserved, offset);
    h.file.pos = reserved;
  }
  for (uint64_t value : values) out.put(value, field_size(type));
  if (is_inline(h.format, bytes)) out.zeros(uint64_t(offset) - bytes);
}

}  // namespace

int32_t writer::begin() {
  if (step_ != step::set_up) return because(QVERR_USAGE, {"no page is set up"});
  step_ = step::directory;
  number_writer out(file, format.order());
  complete_ = file.filelen;
  file.pos = file.filelen;
  if (file.pos % 2) out.zeros(1);  // directories begin at even positions
  directory_ = file.pos;

  const uint64_t count = entry_count(page);
  next_link_ = directory_ + uint64_t(format.count_size()) + count * uint64_t(format.entry_size());
  uint64_t values = next_link_ + uint64_t(format.offset_size());
  out.put(count, format.count_size());
  for (int t = 0; t < tag_count; t++)
    if (page.present[t]) put_entry(out, *this, tag(t), &values);
  out.zeros(uint64_t(format.offset_size()));
  for (int t = 0; t < tag_count; t++)
    if (page.present[t] && !is_inline(format, value_bytes(*this, tag(t)))) put_value(out, *this, tag(t));
  return bufio_err(&file);
}

void writer::fill_in_strips() {
  uint64_t entry = directory_ + uint64_t(format.count_size());
  uint64_t value = next_link_ + uint64_t(format.offset_size());
  for (int t = 0; t < tag_count; t++) {
    if (!page.present[t]) continue;
    if (t == StripOffsets) rewrite_strips(*this, tag(t), entry, page.offsets, value);
    if (t == StripByteCounts) rewrite_strips(*this, tag(t), entry, page.byte_counts, value);
    entry += uint64_t(format.entry_size());
    if (const uint64_t bytes = value_bytes(*this, tag(t)); !is_inline(format, bytes)) value += bytes;
  }
}

int32_t writer::finish() {
  if (step_ != step::directory) return because(QVERR_USAGE, {"no page is begun"});
  for (uint32_t i = 0; i < bands_.count(); i++)
    if (!bands_[i].complete)
      return because(QVERR_USAGE, {"the page lacks the rows from ", bands_[i].first_row + 1, " on"});
  if (passes_classic_limit(format, file.filelen)) return classic_limit_passed();
  fill_in_strips();
  // The page is whole before anything points to it.
  bufio_flush(&file);
  if (bufio_err(&file) == 0) put_link(link_, directory_);
  if (const int32_t code = bufio_err(&file); code < 0) return code;
  link_ = next_link_;
  link_value_ = 0;
  complete_ = file.filelen;
  step_ = step::opened;
  return 0;
}

}  // namespace qvim::tiff
